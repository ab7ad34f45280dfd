#include "elements/ElementBase.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/WidgetElementBase.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>

#include <functional>
#include <memory>

using namespace Orvex;

namespace {

// Counts its hooks and, unlike widget elements, does not pass a raise on to its parent.
class HookElement : public ElementBase
{
public:
    using ElementBase::ElementBase;

    const WindowElement* windowElement() const override { return nullptr; }
    WindowElement* windowElement() override { return nullptr; }

    int raises = 0;
    int lowers = 0;
    std::function<void()> whenRaised;

protected:
    void onRaise() override
    {
        ++raises;
        if (whenRaised)
            whenRaised();
    }
    void onLower() override { ++lowers; }
};

class ChainElement : public WidgetElementBase
{
public:
    using WidgetElementBase::WidgetElementBase;

    void highlight(size_t) override {}

    int raises = 0;
    int lowers = 0;

protected:
    void onRaise() override
    {
        ++raises;
        WidgetElementBase::onRaise();
    }
    void onLower() override
    {
        ++lowers;
        WidgetElementBase::onLower();
    }
};

QStringList s_messages;

void recordMessage(QtMsgType a_type, const QMessageLogContext&, const QString& a_message)
{
    s_messages << QStringLiteral("%1 %2").arg(a_type == QtDebugMsg ? "debug" : "other", a_message);
}

} // namespace

class TestElementBase : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        ElementBaseDelayQueue::instance()->flush();
        QCoreApplication::sendPostedEvents();
    }

    void copiesTakeDataButNeverAnId()
    {
        auto source = std::make_unique<HookElement>();
        source->setName(QStringLiteral("Width"));
        source->setAnnotation(QStringLiteral("Image width"));
        source->setElementPath({QStringLiteral("Camera"), QStringLiteral("Width")});
        const quint64 sourceId = source->id();

        HookElement copy(source.get(), nullptr);
        QCOMPARE(QStringList({copy.name(), copy.annotation(), copy.elementPath().join('/')}),
                 QStringList({"Width", "Image width", "Camera/Width"}));
        // Ids count up from whatever the tests before made.
        QCOMPARE(copy.id(), sourceId + 1);
        QCOMPARE(ElementBase::findById(sourceId), source.get());

        source.reset();
        QVERIFY(!ElementBase::findById(sourceId));
        HookElement later;
        QVERIFY(later.id() > copy.id());
        QVERIFY(!ElementBase::findById(0));
        QVERIFY(!ElementBase::findById(later.id() + 1));
    }

    void idPropertyRekeysRegistry_data()
    {
        QTest::addColumn<QString>("target");
        QTest::newRow("unused id") << "unused";
        QTest::newRow("zero") << "zero";
        QTest::newRow("id of another living element") << "other";
        QTest::newRow("same id") << "same";
    }

    // The registry follows the new id; the counter never hands it out again; a former holder of a shared
    // id does not take the entry with it.
    void idPropertyRekeysRegistry()
    {
        QFETCH(QString, target);
        auto element = std::make_unique<HookElement>();
        auto other = std::make_unique<HookElement>();
        const quint64 oldId = element->id();
        const quint64 newId = target == "unused"  ? other->id() + 1000
                              : target == "zero"  ? 0
                              : target == "other" ? other->id()
                                                  : oldId;

        QVERIFY(element->setProperty("id", QVariant::fromValue(newId)));
        QCOMPARE(element->id(), newId);
        QVERIFY(newId == oldId || !ElementBase::findById(oldId));
        other.reset();
        QCOMPARE(ElementBase::findById(newId), newId ? static_cast<ElementBase*>(element.get()) : nullptr);
        HookElement next;
        QVERIFY(next.id() > newId);
        element.reset();
        QVERIFY(!ElementBase::findById(newId));
    }

    // Active means raised with every ancestor element raised; a non-element parent ends the chain.
    void isActiveFollowsAncestors()
    {
        QObject window;
        HookElement root(&window);
        HookElement mid(&root);
        HookElement leaf(&mid);
        root.raise();
        leaf.raise();
        QVERIFY(root.isActive() && !leaf.isActive());
        mid.raise();
        QVERIFY(leaf.isActive());
        root.lower();
        QVERIFY(!leaf.isActive() && leaf.isRaised());
    }

    void raiseChainStopsAtRaisedAncestor_data()
    {
        QTest::addColumn<QString>("raisedBefore");
        QTest::addColumn<QList<int>>("hookCalls");
        QTest::addColumn<QString>("raisedAfter");
        QTest::newRow("nothing raised") << "" << QList<int>{1, 1, 1} << "rml";
        QTest::newRow("root raised") << "r" << QList<int>{0, 1, 1} << "rml";
        QTest::newRow("middle raised") << "m" << QList<int>{0, 0, 1} << "ml";
        QTest::newRow("leaf raised") << "l" << QList<int>{0, 0, 0} << "l";
    }

    // Raising a widget element raises its parents up to the first one already raised; lowering stays put.
    void raiseChainStopsAtRaisedAncestor()
    {
        QFETCH(QString, raisedBefore);
        QFETCH(QList<int>, hookCalls);
        QFETCH(QString, raisedAfter);
        HookElement root;
        ChainElement mid(nullptr, &root);
        ChainElement leaf(nullptr, &mid);

        leaf.raise();
        if (!raisedBefore.contains('r'))
            root.lower();
        if (!raisedBefore.contains('m'))
            mid.lower();
        if (!raisedBefore.contains('l'))
            leaf.lower();
        root.raises = mid.raises = leaf.raises = 0;
        root.lowers = mid.lowers = leaf.lowers = 0;

        leaf.raise();
        QCOMPARE((QList<int>{root.raises, mid.raises, leaf.raises}), hookCalls);
        QCOMPARE(QString(root.isRaised() ? "r" : "") + (mid.isRaised() ? "m" : "") +
                     (leaf.isRaised() ? "l" : ""),
                 raisedAfter);
        leaf.lower();
        leaf.lower();
        QCOMPARE((QList<int>{root.lowers, mid.lowers, leaf.lowers}), (QList<int>{0, 0, 1}));
    }

    void delayedOperationsKeepOrder_data()
    {
        QTest::addColumn<bool>("raisedBefore");
        QTest::addColumn<QString>("operations");
        QTest::addColumn<bool>("raisedAfter");
        QTest::addColumn<int>("raises");
        QTest::addColumn<int>("lowers");
        QTest::newRow("raise then lower") << false << "RL" << false << 1 << 1;
        QTest::newRow("lower then raise") << false << "LR" << true << 1 << 0;
        QTest::newRow("lower then raise a raised one") << true << "LR" << true << 1 << 1;
    }

    // Nothing acts until the event loop runs; then everything one event queued acts in order.
    void delayedOperationsKeepOrder()
    {
        QFETCH(bool, raisedBefore);
        QFETCH(QString, operations);
        QFETCH(bool, raisedAfter);
        QFETCH(int, raises);
        QFETCH(int, lowers);
        HookElement element;
        if (raisedBefore)
            element.raise();
        element.raises = 0;

        for (QChar operation : operations)
            operation == 'R' ? element.raiseLater() : element.lowerLater();
        QCOMPARE(element.raises + element.lowers, 0);
        QCOMPARE(element.isRaised(), raisedBefore);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(element.isRaised(), raisedAfter);
        QCOMPARE((QList<int>{element.raises, element.lowers}), (QList<int>{raises, lowers}));
    }

    void enqueueDuringFlushStartsOneMorePass()
    {
        ElementBaseDelayQueue* queue = ElementBaseDelayQueue::instance();
        QSignalSpy flushRequests(queue, &ElementBaseDelayQueue::doFlushOps);
        HookElement first;
        HookElement second;
        HookElement third;
        first.whenRaised = [&] {
            second.raiseLater();
            third.raiseLater();
        };

        first.raiseLater();
        third.lowerLater();
        QCOMPARE(flushRequests.count(), 1);
        QCoreApplication::sendPostedEvents();
        QVERIFY(first.isRaised() && !second.isRaised());
        QCOMPARE(flushRequests.count(), 2);
        QCoreApplication::sendPostedEvents();
        QVERIFY(second.isRaised() && third.isRaised());
        QCoreApplication::sendPostedEvents();
        QCOMPARE(flushRequests.count(), 2);

        // A direct flush leaves nothing for the queued one.
        first.lowerLater();
        queue->flush();
        QVERIFY(!first.isRaised());
        first.raise();
        QCoreApplication::sendPostedEvents();
        QCOMPARE(first.lowers, 1);
    }

    // Elements destroyed while queued, null targets and unknown operations are passed over, the
    // unknown ones with a debug message; the rest still run.
    void queueSkipsWhatItCannotRun()
    {
        ElementBaseDelayQueue* queue = ElementBaseDelayQueue::instance();
        auto doomed = std::make_unique<HookElement>();
        HookElement target;
        HookElement survivor;
        doomed->raiseLater();
        queue->enqueue(ElementBaseDelayQueue::OperationRaise, nullptr);
        queue->enqueue(2, &target);
        queue->enqueue(-1, &target);
        survivor.raiseLater();
        doomed.reset();
        s_messages.clear();
        const QtMessageHandler previous = qInstallMessageHandler(recordMessage);
        QCoreApplication::sendPostedEvents();
        qInstallMessageHandler(previous);
        QCOMPARE(target.raises + target.lowers, 0);
        QVERIFY(survivor.isRaised());
        QCOMPARE(s_messages, QStringList({"debug Unknown operation type with ID = 2.",
                                          "debug Unknown operation type with ID = -1."}));
    }
};

QTEST_GUILESS_MAIN(TestElementBase)
#include "tst_elementbase.moc"
