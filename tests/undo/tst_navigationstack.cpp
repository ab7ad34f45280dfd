#include "ElementBaseDelayQueue.h"
#include "NavigationStack.h"
#include "TestElement.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QPointer>
#include <QSignalSpy>
#include <QStyle>
#include <QtTest>

#include <limits>
#include <memory>
#include <vector>

using Orvex::ElementBaseDelayQueue;
using Orvex::NavigationStack;

namespace {

// Elements made on first mention by name; all of them share one raise/lower log.
class Elements
{
public:
    TestElement* get(const QString& a_name)
    {
        QPointer<TestElement>& element = m_elements[a_name];
        if (!element && !m_deleted.contains(a_name)) {
            element = new TestElement(a_name, &m_log, m_mode);
        }
        return element;
    }

    void remove(const QString& a_name)
    {
        delete m_elements.value(a_name).data();
        m_deleted << a_name;
    }

    QStringList& log() { return m_log; }

private:
    QObject m_owner;
    // Entries are named after the elements above them as well.
    TestElement* m_camera = new TestElement(QStringLiteral("Camera"), nullptr, &m_owner);
    TestElement* m_mode = new TestElement(QStringLiteral("Mode"), nullptr, m_camera);
    QStringList m_log;
    QMap<QString, QPointer<TestElement>> m_elements;
    QStringList m_deleted;
};

// <name> visit, < back, > forward, -<name> delete the element, #<n> setIndex(n)
void run(NavigationStack& a_stack, Elements& a_elements, const QString& a_script)
{
    for (const QString& step : a_script.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (step == QLatin1String("<"))
            a_stack.back();
        else if (step == QLatin1String(">"))
            a_stack.forward();
        else if (step.startsWith(QLatin1Char('-')))
            a_elements.remove(step.mid(1));
        else if (step.startsWith(QLatin1Char('#')))
            a_stack.setIndex(step.mid(1).toUInt());
        else
            a_stack.recordVisit(a_elements.get(step));
    }
}

QString entries(const NavigationStack& a_stack)
{
    QStringList names;
    for (int i = 0; i < a_stack.count(); ++i)
        names << (a_stack.elementAt(i) ? a_stack.elementAt(i)->name() : QStringLiteral("-"));
    return names.join(QLatin1Char(' '));
}

QString numbered(int a_number)
{
    return QStringLiteral("e%1").arg(a_number);
}

QImage iconImage(const QIcon& a_icon)
{
    return a_icon.pixmap(16, 16).toImage();
}

} // namespace

class TestNavigationStack : public QObject
{
    Q_OBJECT

private slots:
    void history_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("expectedEntries");
        QTest::addColumn<int>("expectedIndex");
        QTest::addColumn<bool>("expectedBack");
        QTest::addColumn<bool>("expectedForward");

        QTest::newRow("nothing visited") << ""
                                         << "" << -1 << false << false;
        QTest::newRow("one visit") << "a"
                                   << "a" << 0 << false << false;
        QTest::newRow("same element twice") << "a a"
                                            << "a" << 0 << false << false;
        QTest::newRow("same element after another") << "a b a"
                                                    << "a b a" << 2 << true << false;
        QTest::newRow("same element twice at the end") << "a b b"
                                                       << "a b" << 1 << true << false;
        QTest::newRow("back twice") << "a b c < <"
                                    << "a b c" << 0 << false << true;
        QTest::newRow("back with nothing behind") << "a < <"
                                                  << "a" << 0 << false << false;
        QTest::newRow("back and forward") << "a b c < < >"
                                          << "a b c" << 1 << true << true;
        QTest::newRow("forward at the end") << "a b > >"
                                            << "a b" << 1 << true << false;
        QTest::newRow("visit after back drops the forward entries") << "a b c < d"
                                                                    << "a b d" << 2 << true << false;
        QTest::newRow("visit after two backs") << "a b c < < d"
                                               << "a d" << 1 << true << false;
        QTest::newRow("the raise that back causes comes back as a visit") << "a b c < b"
                                                                          << "a b c" << 1 << true << true;
        QTest::newRow("back skips deleted entries") << "a b c d -b -c <"
                                                    << "a - - d" << 0 << false << true;
        QTest::newRow("forward skips deleted entries") << "a b c d < < < -b -c >"
                                                       << "a - - d" << 3 << true << false;
        QTest::newRow("nothing live behind") << "a b c -a -b"
                                             << "- - c" << 2 << false << false;
        QTest::newRow("back with nothing live behind") << "a b c -a -b <"
                                                       << "- - c" << 2 << false << false;
        QTest::newRow("back away from a deleted current entry") << "a b c -c <"
                                                                << "a b -" << 1 << true << false;
        QTest::newRow("a deleted element seen twice") << "a b a c -a < <"
                                                      << "- b - c" << 1 << false << true;
        QTest::newRow("visit after the current entry was deleted") << "a b -b c"
                                                                   << "a - c" << 2 << true << false;
        QTest::newRow("setIndex") << "a b c d #1"
                                  << "a b c d" << 1 << true << true;
    }

    void history()
    {
        QFETCH(QString, script);
        QFETCH(QString, expectedEntries);
        QFETCH(int, expectedIndex);
        QFETCH(bool, expectedBack);
        QFETCH(bool, expectedForward);

        Elements elements;
        NavigationStack stack;
        QCOMPARE(stack.index(), -1);
        run(stack, elements, script);

        QCOMPARE(entries(stack), expectedEntries);
        QCOMPARE(stack.index(), expectedIndex);
        QCOMPARE(stack.property("index").toInt(), expectedIndex);

        QSignalSpy enabledSpy(&stack, &NavigationStack::actionEnabled);
        stack.emit_actionEnabled();
        QCOMPARE(enabledSpy.count(), 1);
        QCOMPARE(enabledSpy.at(0).at(0).toBool(), expectedBack);
        QCOMPARE(enabledSpy.at(0).at(1).toBool(), expectedForward);

        // Going back or forward when it is not possible changes nothing.
        QSignalSpy stateSpy(&stack, &NavigationStack::stateChanged);
        if (!expectedBack)
            stack.back();
        if (!expectedForward)
            stack.forward();
        QCOMPARE(stack.index(), expectedIndex);
        QCOMPARE(stateSpy.count(), 0);
    }

    void setIndexResult_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<qulonglong>("target");
        QTest::addColumn<bool>("expectedResult");
        QTest::addColumn<int>("expectedIndex");

        QTest::newRow("live entry behind") << "a b c" << qulonglong(0) << true << 0;
        QTest::newRow("live entry ahead") << "a b c < <" << qulonglong(2) << true << 2;
        QTest::newRow("deleted entry") << "a b c -a" << qulonglong(0) << false << 2;
        QTest::newRow("past the end") << "a b c" << qulonglong(3) << false << 2;
        QTest::newRow("far past the end")
            << "a b c" << qulonglong(std::numeric_limits<size_t>::max()) << false << 2;
        QTest::newRow("empty history") << "" << qulonglong(0) << false << -1;
    }

    void setIndexResult()
    {
        QFETCH(QString, script);
        QFETCH(qulonglong, target);
        QFETCH(bool, expectedResult);
        QFETCH(int, expectedIndex);

        Elements elements;
        NavigationStack stack;
        run(stack, elements, script);
        const int before = stack.index();
        QSignalSpy stateSpy(&stack, &NavigationStack::stateChanged);
        QSignalSpy enabledSpy(&stack, &NavigationStack::actionEnabled);

        bool result = false;
        QVERIFY(QMetaObject::invokeMethod(&stack, "setIndex", Qt::DirectConnection,
                                          Q_RETURN_ARG(bool, result),
                                          Q_ARG(size_t, static_cast<size_t>(target))));

        QCOMPARE(result, expectedResult);
        QCOMPARE(stack.index(), expectedIndex);
        QCOMPARE(stateSpy.count(), expectedResult ? 1 : 0);
        QCOMPARE(enabledSpy.count(), expectedResult ? 1 : 0);
        if (!expectedResult) {
            QCOMPARE(stack.index(), before);
            ElementBaseDelayQueue::instance()->flush();
            QVERIFY(elements.log().isEmpty());
        }
    }

    void raiseAndLowerAfterFlush()
    {
        Elements elements;
        NavigationStack stack;
        TestElement* a = elements.get(QStringLiteral("a"));
        TestElement* b = elements.get(QStringLiteral("b"));
        stack.recordVisit(a);
        stack.recordVisit(b);
        b->raise();
        QCOMPARE(elements.log(), QStringList{QStringLiteral("raise b")});
        elements.log().clear();

        QSignalSpy stateSpy(&stack, &NavigationStack::stateChanged);
        QSignalSpy enabledSpy(&stack, &NavigationStack::actionEnabled);
        stack.back();
        QCOMPARE(stack.index(), 0);
        QCOMPARE(stateSpy.count(), 1);
        QCOMPARE(enabledSpy.count(), 1);
        QCOMPARE(enabledSpy.at(0).at(0).toBool(), false);
        QCOMPARE(enabledSpy.at(0).at(1).toBool(), true);
        // Nothing acts until the event that caused the switch has been handled.
        QVERIFY(elements.log().isEmpty());
        QTRY_COMPARE(elements.log(), (QStringList{QStringLiteral("lower b"), QStringLiteral("raise a")}));
        QVERIFY(a->isRaised());
        QVERIFY(!b->isRaised());

        // The element raised by the switch reports itself as visited; that must not add an entry.
        stack.recordVisit(a);
        QCOMPARE(stack.count(), 2);

        elements.log().clear();
        stack.forward();
        ElementBaseDelayQueue::instance()->flush();
        QCOMPARE(elements.log(), (QStringList{QStringLiteral("lower a"), QStringLiteral("raise b")}));

        elements.log().clear();
        stack.setIndex(0);
        elements.remove(QStringLiteral("b"));
        ElementBaseDelayQueue::instance()->flush();
        QCOMPARE(elements.log(), QStringList{QStringLiteral("raise a")});
        QCOMPARE(a->raises(), 2);
        QCOMPARE(a->lowers(), 1);
    }

    void maxDepth_data()
    {
        QTest::addColumn<int>("depthBefore");
        QTest::addColumn<int>("visits");
        QTest::addColumn<int>("backs");
        QTest::addColumn<int>("depthAfter");
        QTest::addColumn<int>("expectedCount");
        QTest::addColumn<QString>("expectedOldest");

        QTest::newRow("visit over depth 3") << 3 << 4 << 0 << -1 << 3 << "e1";
        QTest::newRow("many visits over depth 3") << 3 << 10 << 0 << -1 << 3 << "e7";
        QTest::newRow("lowered with the index in the middle") << 1000 << 10 << 2 << 5 << 5 << "e5";
        QTest::newRow("lowered to keep from the current entry on") << 1000 << 10 << 4 << 5 << 5 << "e5";
        QTest::newRow("lowered below the current position") << 1000 << 10 << 8 << 5 << 5 << "e1";
        QTest::newRow("lowered at the oldest entry") << 1000 << 6 << 5 << 2 << 2 << "e0";
        QTest::newRow("raised") << 3 << 3 << 1 << 10 << 3 << "e0";
    }

    void maxDepth()
    {
        QFETCH(int, depthBefore);
        QFETCH(int, visits);
        QFETCH(int, backs);
        QFETCH(int, depthAfter);
        QFETCH(int, expectedCount);
        QFETCH(QString, expectedOldest);

        Elements elements;
        NavigationStack stack;
        QCOMPARE(stack.maxDepth(), 1000);
        stack.setMaxDepth(depthBefore);
        for (int i = 0; i < visits; ++i)
            stack.recordVisit(elements.get(numbered(i)));
        for (int i = 0; i < backs; ++i)
            stack.back();
        const TestElement* current = elements.get(numbered(visits - 1 - backs));
        QCOMPARE(stack.elementAt(stack.index()), current);

        if (depthAfter >= 0) {
            QSignalSpy enabledSpy(&stack, &NavigationStack::actionEnabled);
            QVERIFY(stack.setProperty("maxDepth", depthAfter));
            QCOMPARE(stack.maxDepth(), depthAfter);
            QCOMPARE(enabledSpy.count(), 1);
        }

        QCOMPARE(stack.count(), expectedCount);
        QCOMPARE(stack.elementAt(0)->name(), expectedOldest);
        QCOMPARE(stack.elementAt(stack.index()), current);
    }

    void historyMenu_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("index");
        QTest::addColumn<QList<int>>("deleted");
        QTest::addColumn<int>("expectedFirst");
        QTest::addColumn<int>("expectedLast");

        QTest::newRow("empty") << 0 << -1 << QList<int>{} << -1 << 0;
        QTest::newRow("one") << 1 << 0 << QList<int>{} << 0 << 0;
        QTest::newRow("three at the end") << 3 << 2 << QList<int>{} << 2 << 0;
        QTest::newRow("three at the start") << 3 << 0 << QList<int>{} << 2 << 0;
        QTest::newRow("fifteen, index 1") << 15 << 1 << QList<int>{} << 11 << 0;
        QTest::newRow("thirty at the start") << 30 << 0 << QList<int>{} << 19 << 0;
        QTest::newRow("thirty at the end") << 30 << 29 << QList<int>{} << 29 << 10;
        QTest::newRow("forty, index 20") << 40 << 20 << QList<int>{} << 30 << 11;
        QTest::newRow("deleted entries left out") << 6 << 3 << QList<int>{1, 4} << 5 << 0;
    }

    void historyMenu()
    {
        QFETCH(int, count);
        QFETCH(int, index);
        QFETCH(QList<int>, deleted);
        QFETCH(int, expectedFirst);
        QFETCH(int, expectedLast);

        Elements elements;
        NavigationStack stack;
        for (int i = 0; i < count; ++i)
            stack.recordVisit(elements.get(numbered(i)));
        if (index >= 0)
            QVERIFY(stack.setIndex(static_cast<size_t>(index)));
        for (int position : deleted)
            elements.remove(numbered(position));

        QMenu menu;
        stack.fillHistoryMenu(&menu);
        const QList<QAction*> actions = menu.actions();

        std::vector<int> expectedPositions;
        for (int position = expectedFirst; position >= expectedLast; --position) {
            if (!deleted.contains(position))
                expectedPositions.push_back(position);
        }
        QCOMPARE(actions.size(), int(expectedPositions.size()));
        if (actions.isEmpty())
            return;

        const QImage behind = iconImage(menu.style()->standardIcon(QStyle::SP_ArrowLeft));
        const QImage ahead = iconImage(menu.style()->standardIcon(QStyle::SP_ArrowRight));
        QVERIFY(!behind.isNull());
        QVERIFY(behind != ahead);
        QActionGroup* group = actions.first()->actionGroup();
        QVERIFY(group);
        QVERIFY(group->isExclusive());
        for (int row = 0; row < actions.size(); ++row) {
            const QAction* entry = actions.at(row);
            const int position = expectedPositions.at(row);
            QCOMPARE(entry->text(), QStringLiteral("Camera > Mode > ") + numbered(position));
            QCOMPARE(entry->data(), QVariant(position));
            QCOMPARE(entry->actionGroup(), group);
            QVERIFY(entry->isCheckable());
            QCOMPARE(entry->isChecked(), position == index);
            QCOMPARE(entry->font().weight() == 75, position == index);
            if (position < index)
                QCOMPARE(iconImage(entry->icon()), behind);
            else if (position > index)
                QCOMPARE(iconImage(entry->icon()), ahead);
            else
                QVERIFY(entry->icon().isNull());
        }
    }

    void historyMenuTextAndSelection()
    {
        Elements elements;
        NavigationStack stack;
        QObject owner;
        QPointer<TestElement> plain = new TestElement(QStringLiteral("plain"), nullptr, &owner);
        auto* camera = new TestElement(QStringLiteral("Camera"), nullptr, &owner);
        const QString longName(70, QLatin1Char('n'));
        auto* deep = new TestElement(longName, nullptr, camera);
        stack.recordVisit(plain);
        stack.recordVisit(deep);
        stack.recordVisit(elements.get(QStringLiteral("last")));

        QMenu menu;
        stack.fillHistoryMenu(&menu);
        const QList<QAction*> actions = menu.actions();
        QCOMPARE(actions.size(), 3);
        const QString deepText = QStringLiteral("Camera > ") + longName;
        QCOMPARE(actions.at(1)->text(), deepText.left(61) + QStringLiteral("..."));
        QCOMPARE(actions.at(1)->toolTip(), deepText);
        QCOMPARE(actions.at(2)->text(), QStringLiteral("plain"));

        actions.at(2)->trigger();
        QCOMPARE(stack.index(), 0);
        actions.at(1)->trigger();
        QCOMPARE(stack.index(), 1);

        // A stale menu entry whose element has gone since the menu was filled selects nothing.
        delete plain.data();
        actions.at(2)->trigger();
        QCOMPARE(stack.index(), 1);

        QAction textData(QStringLiteral("text"));
        textData.setData(QStringLiteral("2"));
        connect(&textData, &QAction::triggered, &stack, &NavigationStack::onNavigateSelection);
        textData.trigger();
        QCOMPARE(stack.index(), 1);
        QAction numberData(QStringLiteral("number"));
        numberData.setData(2);
        connect(&numberData, &QAction::triggered, &stack, &NavigationStack::onNavigateSelection);
        numberData.trigger();
        QCOMPARE(stack.index(), 2);
    }
};

QTEST_MAIN(TestNavigationStack)
#include "tst_navigationstack.moc"
