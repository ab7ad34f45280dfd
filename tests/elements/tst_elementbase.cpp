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

    void raiseAndLower_data()
    {
        // On a root r (which keeps a raise to itself), its child m and grandchild l (which pass a raise on
        // to their parents): "X+" and "X-" raise and lower now, "X>" and "X<" later, "run" runs the
        // event loop, "|" starts counting the hooks afresh, "=" notes the state: the raised, the
        // active (raised with every ancestor raised), and the raise and lower hook calls of r, m, l.
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("states");
        QTest::newRow("raise climbs to the root") << "l+ r- m- l- | l+ ="
                                                  << "rml/rml 111/000";
        QTest::newRow("stops at a raised root") << "l+ m- l- | l+ ="
                                                << "rml/rml 011/000";
        QTest::newRow("stops at a raised parent") << "l+ r- l- | l+ ="
                                                  << "ml/- 001/000";
        QTest::newRow("raised leaf") << "l+ r- m- | l+ ="
                                     << "l/- 000/000";
        QTest::newRow("lowering stays put") << "l+ | l- l- ="
                                            << "rm/rm 000/001";
        QTest::newRow("active needs every ancestor raised") << "l+ m- = m+ ="
                                                            << "rl/r 111/010 rml/rml 121/010";
        // Nothing acts until the event loop runs; then everything one event queued acts in order.
        QTest::newRow("raise then lower later") << "r> r< = run ="
                                                << "-/- 000/000 -/- 100/100";
        QTest::newRow("lower then raise later") << "r< r> = run ="
                                                << "-/- 000/000 r/r 100/000";
        QTest::newRow("lower then raise a raised one") << "r+ | r< r> run ="
                                                       << "r/r 100/100";
    }

    void raiseAndLower()
    {
        QFETCH(QString, steps);
        QFETCH(QString, states);
        HookElement root;
        ChainElement mid(nullptr, &root);
        ChainElement leaf(nullptr, &mid);
        const QList<ElementBase*> elements{&root, &mid, &leaf};
        const auto hooks = [&](bool a_raises) {
            return QStringLiteral("%1%2%3")
                .arg(a_raises ? root.raises : root.lowers)
                .arg(a_raises ? mid.raises : mid.lowers)
                .arg(a_raises ? leaf.raises : leaf.lowers);
        };
        QStringList noted;
        for (const QString& step : steps.split(' ')) {
            if (step == "run") {
                QCoreApplication::sendPostedEvents();
            } else if (step == "|") {
                root.raises = mid.raises = leaf.raises = root.lowers = mid.lowers = leaf.lowers = 0;
            } else if (step == "=") {
                QString raised, active;
                for (int i = 0; i < 3; ++i) {
                    raised += elements[i]->isRaised() ? QStringLiteral("rml").mid(i, 1) : QString();
                    active += elements[i]->isActive() ? QStringLiteral("rml").mid(i, 1) : QString();
                }
                noted << QStringLiteral("%1/%2 %3/%4")
                             .arg(raised.isEmpty() ? "-" : raised, active.isEmpty() ? "-" : active,
                                  hooks(true), hooks(false));
            } else {
                ElementBase* element = elements[QString("rml").indexOf(step[0])];
                const char operation = step[1].toLatin1();
                operation == '+'   ? element->raise()
                : operation == '-' ? element->lower()
                : operation == '>' ? element->raiseLater()
                                   : element->lowerLater();
            }
        }
        QCOMPARE(noted.join(' '), states);
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
