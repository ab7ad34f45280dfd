#include "ElementBase.h"
#include "ElementBaseDelayQueue.h"
#include "WidgetElementBase.h"

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

struct LogRecord
{
    QString message;
    QString file;
    int line = 0;
    QString function;
};
LogRecord s_logRecord;

void recordUnknownOperation(QtMsgType, const QMessageLogContext& a_context, const QString& a_message)
{
    if (a_message.startsWith(QLatin1String("Unknown operation type")))
        s_logRecord = {a_message, QString::fromLatin1(a_context.file), a_context.line,
                       QString::fromLatin1(a_context.function)};
}

} // namespace

class TestElementBase : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void copiesTakeDataButNeverAnId();
    void idPropertyRekeysRegistry_data();
    void idPropertyRekeysRegistry();
    void propertiesThroughMetaObject();
    void isActiveFollowsAncestors_data();
    void isActiveFollowsAncestors();
    void raiseChainStopsAtRaisedAncestor_data();
    void raiseChainStopsAtRaisedAncestor();
    void delayedOperationsKeepOrder_data();
    void delayedOperationsKeepOrder();
    void enqueueDuringFlushStartsOneMorePass();
    void destroyedElementsAreSkipped();
    void unknownOperationIsLoggedAndSkipped_data();
    void unknownOperationIsLoggedAndSkipped();
};

void TestElementBase::initTestCase()
{
    HookElement first;
    QCOMPARE(first.id(), quint64(1));
    QCOMPARE(ElementBase::findById(1), &first);
    QCOMPARE(ElementBaseDelayQueue::instance(), ElementBaseDelayQueue::instance());
    QCOMPARE(ElementBaseDelayQueue::instance()->parent(), QCoreApplication::instance());
}

void TestElementBase::cleanup()
{
    ElementBaseDelayQueue::instance()->flush();
    QCoreApplication::sendPostedEvents();
}

void TestElementBase::copiesTakeDataButNeverAnId()
{
    auto source = std::make_unique<HookElement>();
    source->setName(QStringLiteral("Width"));
    source->setAnnotation(QStringLiteral("Image width"));
    source->setElementPath({QStringLiteral("Camera"), QStringLiteral("Width")});
    const quint64 sourceId = source->id();

    HookElement copy(source.get(), nullptr);
    QCOMPARE(copy.name(), source->name());
    QCOMPARE(copy.annotation(), source->annotation());
    QCOMPARE(copy.elementPath(), source->elementPath());
    QVERIFY(copy.id() > sourceId);
    QCOMPARE(ElementBase::findById(sourceId), source.get());

    HookElement fresh(nullptr, nullptr);
    QVERIFY(fresh.name().isEmpty() && fresh.elementPath().isEmpty());

    source.reset();
    QVERIFY(!ElementBase::findById(sourceId));
    HookElement later;
    QVERIFY(later.id() > fresh.id());
    QVERIFY(!ElementBase::findById(0));
    QVERIFY(!ElementBase::findById(later.id() + 1));
}

void TestElementBase::idPropertyRekeysRegistry_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("unused id") << "unused";
    QTest::newRow("zero") << "zero";
    QTest::newRow("id of another living element") << "other";
    QTest::newRow("same id") << "same";
}

void TestElementBase::idPropertyRekeysRegistry()
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
    QCOMPARE(element->property("id").value<quint64>(), newId);
    if (newId != oldId)
        QVERIFY(!ElementBase::findById(oldId));
    if (newId != 0)
        QCOMPARE(ElementBase::findById(newId), element.get());

    // The former holder of a shared id must not take the entry with it.
    other.reset();
    if (newId != 0)
        QCOMPARE(ElementBase::findById(newId), element.get());

    HookElement next;
    QVERIFY(next.id() > newId);

    element.reset();
    if (newId != 0)
        QVERIFY(!ElementBase::findById(newId));
}

void TestElementBase::propertiesThroughMetaObject()
{
    HookElement element;
    const QStringList path{QStringLiteral("Camera"), QStringLiteral("Mode"), QStringLiteral("Gain")};
    QVERIFY(element.setProperty("name", QStringLiteral("Gain")));
    QVERIFY(element.setProperty("annotation", QStringLiteral("Analog gain")));
    QVERIFY(element.setProperty("elementPath", path));
    QCOMPARE(element.name(), QStringLiteral("Gain"));
    QCOMPARE(element.property("annotation").toString(), QStringLiteral("Analog gain"));
    QCOMPARE(element.property("elementPath").toStringList(), path);

    QVERIFY(!element.setProperty("isActive", true));
    QCOMPARE(element.property("isActive").toBool(), false);
    element.raise();
    QCOMPARE(element.property("isActive").toBool(), true);
}

void TestElementBase::isActiveFollowsAncestors_data()
{
    QTest::addColumn<bool>("rootRaised");
    QTest::addColumn<bool>("midRaised");
    QTest::addColumn<bool>("leafRaised");
    QTest::newRow("all raised") << true << true << true;
    QTest::newRow("root lowered") << false << true << true;
    QTest::newRow("middle lowered") << true << false << true;
    QTest::newRow("leaf lowered") << true << true << false;
}

void TestElementBase::isActiveFollowsAncestors()
{
    QFETCH(bool, rootRaised);
    QFETCH(bool, midRaised);
    QFETCH(bool, leafRaised);
    QObject window;
    HookElement root(&window);
    HookElement mid(&root);
    HookElement leaf(&mid);
    if (rootRaised)
        root.raise();
    if (midRaised)
        mid.raise();
    if (leafRaised)
        leaf.raise();

    QCOMPARE(leaf.isActive(), rootRaised && midRaised && leafRaised);
    QCOMPARE(root.isActive(), rootRaised);

    root.lower();
    QVERIFY(!leaf.isActive());
    root.raise();
    QCOMPARE(leaf.isActive(), midRaised && leafRaised);
}

void TestElementBase::raiseChainStopsAtRaisedAncestor_data()
{
    QTest::addColumn<QString>("raisedBefore");
    QTest::addColumn<QList<int>>("hookCalls");
    QTest::addColumn<QString>("raisedAfter");
    QTest::newRow("nothing raised") << "" << QList<int>{1, 1, 1} << "rml";
    QTest::newRow("root raised") << "r" << QList<int>{0, 1, 1} << "rml";
    QTest::newRow("middle raised") << "m" << QList<int>{0, 0, 1} << "ml";
    QTest::newRow("leaf raised") << "l" << QList<int>{0, 0, 0} << "l";
}

void TestElementBase::raiseChainStopsAtRaisedAncestor()
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
    QCOMPARE(root.lowers + mid.lowers + leaf.lowers, 3 - raisedBefore.size());
    root.raises = mid.raises = leaf.raises = 0;

    leaf.raise();
    QCOMPARE((QList<int>{root.raises, mid.raises, leaf.raises}), hookCalls);
    QCOMPARE(root.isRaised(), raisedAfter.contains('r'));
    QCOMPARE(mid.isRaised(), raisedAfter.contains('m'));
    QVERIFY(leaf.isRaised());

    root.lowers = mid.lowers = leaf.lowers = 0;
    leaf.lower();
    leaf.lower();
    QCOMPARE(leaf.lowers, 1);
    QCOMPARE(root.lowers + mid.lowers, 0);
}

void TestElementBase::delayedOperationsKeepOrder_data()
{
    QTest::addColumn<bool>("raisedBefore");
    QTest::addColumn<QString>("operations");
    QTest::addColumn<bool>("raisedAfter");
    QTest::addColumn<int>("raises");
    QTest::addColumn<int>("lowers");
    QTest::newRow("raise then lower") << false << "RL" << false << 1 << 1;
    QTest::newRow("lower then raise") << false << "LR" << true << 1 << 0;
    QTest::newRow("lower then raise a raised one") << true << "LR" << true << 1 << 1;
    QTest::newRow("raise twice then lower") << false << "RRL" << false << 1 << 1;
}

void TestElementBase::delayedOperationsKeepOrder()
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
    QCOMPARE(element.raises, raises);
    QCOMPARE(element.lowers, lowers);
}

void TestElementBase::enqueueDuringFlushStartsOneMorePass()
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
    QVERIFY(first.isRaised());
    QVERIFY(!second.isRaised());
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

void TestElementBase::destroyedElementsAreSkipped()
{
    auto doomed = std::make_unique<HookElement>();
    HookElement survivor;
    doomed->raiseLater();
    ElementBaseDelayQueue::instance()->enqueue(ElementBaseDelayQueue::OperationRaise, nullptr);
    survivor.raiseLater();
    doomed.reset();

    QCoreApplication::sendPostedEvents();
    QVERIFY(survivor.isRaised());
}

void TestElementBase::unknownOperationIsLoggedAndSkipped_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("next after lower") << 2;
    QTest::newRow("negative") << -1;
    QTest::newRow("large") << 1000000;
}

void TestElementBase::unknownOperationIsLoggedAndSkipped()
{
    QFETCH(int, type);
    ElementBaseDelayQueue* queue = ElementBaseDelayQueue::instance();
    HookElement target;
    HookElement next;
    const QString expected = QStringLiteral("Unknown operation type with ID = %1.").arg(type);

    queue->enqueue(type, &target);
    queue->enqueue(ElementBaseDelayQueue::OperationRaise, &next);
    QTest::ignoreMessage(QtDebugMsg, qPrintable(expected));
    queue->flush();
    QCOMPARE(target.raises + target.lowers, 0);
    QVERIFY(next.isRaised());

    s_logRecord = {};
    const QtMessageHandler previous = qInstallMessageHandler(recordUnknownOperation);
    queue->enqueue(type, &target);
    queue->flush();
    qInstallMessageHandler(previous);
    QCOMPARE(s_logRecord.message, expected);
    QCOMPARE(s_logRecord.file, QStringLiteral("ElementBaseDelayQueue"));
    QCOMPARE(s_logRecord.line, 63);
    QCOMPARE(s_logRecord.function,
             QStringLiteral("void __thiscall Orvex::ElementBaseDelayQueue::flush(void)"));
}

QTEST_GUILESS_MAIN(TestElementBase)
#include "tst_elementbase.moc"
