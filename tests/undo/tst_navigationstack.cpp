#include "TestElement.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/NavigationStack.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QPointer>
#include <QSignalSpy>
#include <QStyle>
#include <QtTest>

#include <limits>

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
        if (!element && !m_deleted.contains(a_name))
            element = new TestElement(a_name, &m_log, m_mode);
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

// <name> visit, < back, > forward, -<name> delete the element, #<n> setIndex(n), e<n> visits e0 to e<n-1>
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
        else if (step.startsWith(QLatin1Char('e')))
            for (int i = 0; i < step.mid(1).toInt(); ++i)
                a_stack.recordVisit(a_elements.get(QStringLiteral("e%1").arg(i)));
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

        const auto row = [](const char* a_tag, const char* a_script, const char* a_entries, int a_index,
                            bool a_back, bool a_forward) {
            QTest::newRow(a_tag) << a_script << a_entries << a_index << a_back << a_forward;
        };
        row("nothing visited", "", "", -1, false, false);
        row("same element twice", "a a", "a", 0, false, false);
        row("same element after another", "a b a", "a b a", 2, true, false);
        row("back twice", "a b c < <", "a b c", 0, false, true);
        row("back and forward", "a b c < < >", "a b c", 1, true, true);
        row("forward at the end", "a b > >", "a b", 1, true, false);
        row("visit after back drops the forward entries", "a b c < d", "a b d", 2, true, false);
        row("the raise that back causes comes back as a visit", "a b c < b", "a b c", 1, true, true);
        row("back skips deleted entries", "a b c d -b -c <", "a - - d", 0, false, true);
        row("forward skips deleted entries", "a b c d < < < -b -c >", "a - - d", 3, true, false);
        row("nothing live behind", "a b c -a -b", "- - c", 2, false, false);
        row("back away from a deleted current entry", "a b c -c <", "a b -", 1, true, false);
        row("a deleted element seen twice", "a b a c -a < <", "- b - c", 1, false, true);
        row("visit after the current entry was deleted", "a b -b c", "a - c", 2, true, false);
        row("setIndex", "a b c d #1", "a b c d", 1, true, true);
    }

    // Going back or forward when it is not possible changes nothing.
    void history()
    {
        QFETCH(QString, script);
        QFETCH(QString, expectedEntries);
        QFETCH(int, expectedIndex);
        QFETCH(bool, expectedBack);
        QFETCH(bool, expectedForward);

        Elements elements;
        NavigationStack stack;
        run(stack, elements, script);
        QCOMPARE(entries(stack), expectedEntries);
        QCOMPARE(stack.index(), expectedIndex);

        QSignalSpy enabledSpy(&stack, &NavigationStack::actionEnabled);
        QSignalSpy stateSpy(&stack, &NavigationStack::stateChanged);
        stack.emit_actionEnabled();
        QCOMPARE(enabledSpy, (QList<QVariantList>{{expectedBack, expectedForward}}));
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

        QTest::newRow("live entry") << "a b c" << qulonglong(0) << true << 0;
        QTest::newRow("deleted entry") << "a b c -a" << qulonglong(0) << false << 2;
        QTest::newRow("past the end") << "a b c" << qulonglong(3) << false << 2;
        QTest::newRow("far past the end")
            << "a b c" << qulonglong(std::numeric_limits<size_t>::max()) << false << 2;
        QTest::newRow("empty history") << "" << qulonglong(0) << false << -1;
    }

    // A refused index changes nothing, announces nothing and raises nothing.
    void setIndexResult()
    {
        QFETCH(QString, script);
        QFETCH(qulonglong, target);
        QFETCH(bool, expectedResult);
        QFETCH(int, expectedIndex);

        Elements elements;
        NavigationStack stack;
        run(stack, elements, script);
        QSignalSpy stateSpy(&stack, &NavigationStack::stateChanged);
        QSignalSpy enabledSpy(&stack, &NavigationStack::actionEnabled);
        QCOMPARE(stack.setIndex(static_cast<size_t>(target)), expectedResult);
        QCOMPARE(stack.index(), expectedIndex);
        QCOMPARE(stateSpy.count() + enabledSpy.count(), expectedResult ? 2 : 0);
        ElementBaseDelayQueue::instance()->flush();
        QCOMPARE(elements.log().isEmpty(), !expectedResult);
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
        elements.log().clear();

        QSignalSpy stateSpy(&stack, &NavigationStack::stateChanged);
        QSignalSpy enabledSpy(&stack, &NavigationStack::actionEnabled);
        stack.back();
        QCOMPARE(stack.index(), 0);
        QCOMPARE(stateSpy.count(), 1);
        QCOMPARE(enabledSpy, (QList<QVariantList>{{false, true}}));
        // Nothing acts until the event that caused the switch has been handled.
        QVERIFY(elements.log().isEmpty());
        QTRY_COMPARE(elements.log(), (QStringList{"lower b", "raise a"}));
        QVERIFY(a->isRaised() && !b->isRaised());

        // The element raised by the switch reports itself as visited; that must not add an entry.
        stack.recordVisit(a);
        QCOMPARE(stack.count(), 2);

        elements.log().clear();
        stack.forward();
        stack.setIndex(0);
        elements.remove(QStringLiteral("b"));
        ElementBaseDelayQueue::instance()->flush();
        QCOMPARE(elements.log(), (QStringList{"lower a", "raise a"}));
        QCOMPARE(a->raises(), 2);
    }

    void maxDepth_data()
    {
        QTest::addColumn<int>("depthBefore");
        QTest::addColumn<int>("visits");
        QTest::addColumn<int>("backs");
        QTest::addColumn<int>("depthAfter");
        QTest::addColumn<QString>("expectedEntries");

        QTest::newRow("visit over depth 3") << 3 << 4 << 0 << -1 << "e1 e2 e3";
        QTest::newRow("lowered with the index in the middle") << 1000 << 10 << 2 << 5 << "e5 e6 e7 e8 e9";
        QTest::newRow("lowered below the current position") << 1000 << 10 << 8 << 5 << "e1 e2 e3 e4 e5";
        QTest::newRow("lowered at the oldest entry") << 1000 << 6 << 5 << 2 << "e0 e1";
        QTest::newRow("raised") << 3 << 3 << 1 << 10 << "e0 e1 e2";
    }

    // Older entries go first, newer ones only so that the current entry stays.
    void maxDepth()
    {
        QFETCH(int, depthBefore);
        QFETCH(int, visits);
        QFETCH(int, backs);
        QFETCH(int, depthAfter);
        QFETCH(QString, expectedEntries);

        Elements elements;
        NavigationStack stack;
        QCOMPARE(stack.maxDepth(), 1000);
        stack.setMaxDepth(depthBefore);
        run(stack, elements, QStringLiteral("e%1 ").arg(visits) + QStringLiteral("< ").repeated(backs));
        const TestElement* current = elements.get(QStringLiteral("e%1").arg(visits - 1 - backs));
        QSignalSpy enabledSpy(&stack, &NavigationStack::actionEnabled);
        if (depthAfter >= 0)
            stack.setMaxDepth(depthAfter);
        QCOMPARE(enabledSpy.count(), depthAfter >= 0 ? 1 : 0);
        QCOMPARE(entries(stack), expectedEntries);
        QCOMPARE(stack.elementAt(stack.index()), current);
    }

    void historyMenu_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("expected"); // per entry: position, "<" behind, ">" ahead, "*" current

        QTest::newRow("empty") << ""
                               << "";
        QTest::newRow("three at the start") << "e3 #0"
                                            << "2> 1> 0*";
        QTest::newRow("fifteen, index 1") << "e15 #1"
                                          << "11> 10> 9> 8> 7> 6> 5> 4> 3> 2> 1* 0<";
        QTest::newRow("thirty at the start")
            << "e30 #0"
            << "19> 18> 17> 16> 15> 14> 13> 12> 11> 10> 9> 8> 7> 6> 5> 4> 3> 2> 1> 0*";
        QTest::newRow("thirty at the end")
            << "e30"
            << "29* 28< 27< 26< 25< 24< 23< 22< 21< 20< 19< 18< 17< 16< 15< 14< 13< 12< 11< 10<";
        QTest::newRow("forty, index 20")
            << "e40 #20"
            << "30> 29> 28> 27> 26> 25> 24> 23> 22> 21> 20* 19< 18< 17< 16< 15< 14< 13< 12< 11<";
        QTest::newRow("deleted entries left out") << "e6 #3 -e1 -e4"
                                                  << "5> 3* 2< 0<";
    }

    // Newest first, at most twenty entries around the current one, which is checked and bold; the
    // others carry an arrow towards it. Entries are named after the elements above them too.
    void historyMenu()
    {
        QFETCH(QString, script);
        QFETCH(QString, expected);

        Elements elements;
        NavigationStack stack;
        run(stack, elements, script);
        QMenu menu;
        stack.fillHistoryMenu(&menu);

        const QImage behind = iconImage(menu.style()->standardIcon(QStyle::SP_ArrowLeft));
        const QImage ahead = iconImage(menu.style()->standardIcon(QStyle::SP_ArrowRight));
        QVERIFY(!behind.isNull() && behind != ahead);
        QStringList found;
        for (const QAction* entry : menu.actions()) {
            const int position = entry->data().toInt();
            const QString kind = entry->icon().isNull()               ? "*"
                                 : iconImage(entry->icon()) == behind ? "<"
                                 : iconImage(entry->icon()) == ahead  ? ">"
                                                                      : "?";
            found << QString::number(position) + kind;
            QCOMPARE(entry->text(), QStringLiteral("Camera > Mode > e%1").arg(position));
            QVERIFY(entry->isCheckable() && entry->actionGroup() == menu.actions().first()->actionGroup());
            QVERIFY(entry->actionGroup()->isExclusive());
            QCOMPARE(entry->isChecked(), kind == "*");
            QCOMPARE(entry->font().weight() == 75, kind == "*");
        }
        QCOMPARE(found.join(' '), expected);
    }

    void historyMenuTextAndSelection()
    {
        Elements elements;
        NavigationStack stack;
        QObject owner;
        QPointer<TestElement> plain = new TestElement(QStringLiteral("plain"), nullptr, &owner);
        auto* camera = new TestElement(QStringLiteral("Camera"), nullptr, &owner);
        const QString longName(70, QLatin1Char('n'));
        stack.recordVisit(plain);
        stack.recordVisit(new TestElement(longName, nullptr, camera));
        stack.recordVisit(elements.get(QStringLiteral("last")));

        QMenu menu;
        stack.fillHistoryMenu(&menu);
        const QList<QAction*> actions = menu.actions();
        QCOMPARE(actions.size(), 3);
        const QString deepText = QStringLiteral("Camera > ") + longName;
        QCOMPARE(QStringList({actions.at(1)->text(), actions.at(1)->toolTip(), actions.at(2)->text()}),
                 QStringList({deepText.left(61) + "...", deepText, "plain"}));

        actions.at(2)->trigger();
        QCOMPARE(stack.index(), 0);
        actions.at(1)->trigger();
        QCOMPARE(stack.index(), 1);
        // A stale menu entry whose element has gone since the menu was filled selects nothing.
        delete plain.data();
        actions.at(2)->trigger();
        QCOMPARE(stack.index(), 1);
        // Only integer data selects a position.
        QAction textData(QStringLiteral("text"));
        textData.setData(QStringLiteral("2"));
        connect(&textData, &QAction::triggered, &stack, &NavigationStack::onNavigateSelection);
        textData.trigger();
        QCOMPARE(stack.index(), 1);
        actions.at(0)->trigger();
        QCOMPARE(stack.index(), 2);
    }
};

QTEST_MAIN(TestNavigationStack)
#include "tst_navigationstack.moc"
