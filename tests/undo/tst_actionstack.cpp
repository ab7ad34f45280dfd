#include "TestElement.h"
#include "elements/UndoRedoStack.h"
#include "undo/ActionBase.h"
#include "undo/ActionBatch.h"
#include "undo/ActionStack.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QSignalSpy>
#include <QtTest>

#include <climits>
#include <functional>

using Orvex::ActionBase;
using Orvex::ActionBatch;
using Orvex::ActionStack;

namespace {

// What the test actions edit: the names of the applied actions in the order they were applied. Each
// action remembers the document as it was before its change and counts a fault whenever it is redone or
// undone on any other state, so a stack that replays actions out of order cannot go unnoticed.
struct Document
{
    QStringList applied;
    int faults = 0;
    int made = 0;
};

class TestAction : public ActionBase
{
public:
    TestAction(Document* a_document, const QString& a_name)
        : m_document(a_document), m_name(a_name), m_before(a_document->applied)
    {
        setDescription(a_name);
        m_document->applied.append(a_name);
    }

    void setResults(Result a_undo, Result a_redo)
    {
        m_undoResult = a_undo;
        m_redoResult = a_redo;
    }
    // Runs at the start of every undo and redo body.
    void setHook(std::function<void()> a_hook) { m_hook = std::move(a_hook); }
    Result undoResult() const { return m_undoResult; }
    Result redoResult() const { return m_redoResult; }
    int bodyCalls() const { return m_bodyCalls; }

protected:
    Result onUnapply() override { return run(m_undoResult, m_before + QStringList{m_name}, m_before); }
    Result onReapply() override { return run(m_redoResult, m_before, m_before + QStringList{m_name}); }

private:
    Result run(Result a_result, const QStringList& a_from, const QStringList& a_to)
    {
        ++m_bodyCalls;
        if (m_hook)
            m_hook();
        if (a_result == Done || a_result == DoneGoOn) {
            if (m_document->applied != a_from)
                ++m_document->faults;
            m_document->applied = a_to;
        }
        return a_result;
    }

    Document* m_document;
    QString m_name;
    QStringList m_before;
    Result m_undoResult = Done;
    Result m_redoResult = Done;
    std::function<void()> m_hook;
    int m_bodyCalls = 0;
};

QSharedPointer<TestAction> pushAction(ActionStack& a_stack, Document& a_document)
{
    const auto action =
        QSharedPointer<TestAction>::create(&a_document, QStringLiteral("a%1").arg(a_document.made++));
    a_stack.push(action);
    return action;
}

QSharedPointer<TestAction> actionAt(const ActionStack& a_stack, int a_position)
{
    return a_stack.actionAt(a_position).dynamicCast<TestAction>();
}

// p push, u undo, r redo, s saved, x saved state unreachable, i<n> setIndex(n), d<n> setMaxDepth(n),
// U<digits> and R<digits> the results of the undo and redo bodies per position, ? note the index,
// (<description> open a batch, ) close one.
void run(ActionStack& a_stack, Document& a_document, const QString& a_script, QStringList* a_notes = nullptr)
{
    for (const QString& step : a_script.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const QString rest = step.mid(1);
        if (step == QLatin1String("p")) {
            pushAction(a_stack, a_document);
        } else if (step == QLatin1String("u")) {
            a_stack.unapply();
        } else if (step == QLatin1String("r")) {
            a_stack.reapply();
        } else if (step == QLatin1String("s")) {
            a_stack.setOffsetFromInitial(0);
        } else if (step == QLatin1String("x")) {
            a_stack.markSavedStateUnreachable();
        } else if (step.startsWith(QLatin1Char('i'))) {
            a_stack.setIndex(rest.toInt());
        } else if (step.startsWith(QLatin1Char('d'))) {
            a_stack.setMaxDepth(rest.toInt());
        } else if (step.startsWith(QLatin1Char('('))) {
            a_stack.openBatch(rest);
        } else if (step == QLatin1String(")")) {
            a_stack.closeBatch();
        } else if (step == QLatin1String("?") && a_notes) {
            *a_notes << QString::number(a_stack.index());
        } else if (step.startsWith(QLatin1Char('U')) || step.startsWith(QLatin1Char('R'))) {
            for (int i = 0; i < rest.size(); ++i) {
                const auto action = actionAt(a_stack, i);
                const auto result = static_cast<ActionBase::Result>(rest.at(i).digitValue());
                step.startsWith(QLatin1Char('U')) ? action->setResults(result, action->redoResult())
                                                  : action->setResults(action->undoResult(), result);
            }
        } else {
            QFAIL(qPrintable(QStringLiteral("unknown step ") + step));
        }
    }
}

QStringList firstNames(int a_count)
{
    QStringList names;
    for (int i = 0; i < a_count; ++i)
        names << QStringLiteral("a%1").arg(i);
    return names;
}

QImage iconImage(const QIcon& a_icon)
{
    return a_icon.pixmap(24, 24).toImage();
}

} // namespace

class TestActionStack : public QObject
{
    Q_OBJECT

private slots:
    void actionResults_data()
    {
        QTest::addColumn<bool>("undo");
        QTest::addColumn<bool>("startApplied");
        QTest::addColumn<int>("bodyResult");
        QTest::addColumn<int>("expectedResult");
        QTest::addColumn<bool>("expectedApplied");

        QTest::newRow("undo done") << true << true << 1 << 1 << false;
        QTest::newRow("undo done, go on") << true << true << 2 << 2 << true;
        QTest::newRow("undo when undone") << true << false << 1 << 0 << false;
        QTest::newRow("redo done") << false << false << 1 << 1 << true;
        QTest::newRow("redo failed") << false << false << 3 << 3 << false;
        QTest::newRow("redo when applied") << false << true << 1 << 0 << true;
    }

    // Only Done flips the applied flag; the body runs only when the action is not already in the asked state.
    void actionResults()
    {
        QFETCH(bool, undo);
        QFETCH(bool, startApplied);
        QFETCH(int, bodyResult);
        QFETCH(int, expectedResult);
        QFETCH(bool, expectedApplied);

        Document document;
        TestAction action(&document, QStringLiteral("a"));
        if (!startApplied)
            QCOMPARE(action.unapply(), ActionBase::Done);
        const auto result = static_cast<ActionBase::Result>(bodyResult);
        action.setResults(result, result);
        const int callsBefore = action.bodyCalls();
        QSignalSpy spy(&action, &ActionBase::stateChanged);

        QCOMPARE(int(undo ? action.unapply() : action.reapply()), expectedResult);
        QCOMPARE(action.isApplied(), expectedApplied);
        QCOMPARE(action.bodyCalls() - callsBefore, startApplied == undo ? 1 : 0);
        QCOMPARE(spy.count(), expectedApplied == startApplied ? 0 : 1);
        QVERIFY(spy.isEmpty() || spy.at(0).at(0).toBool() == expectedApplied);
    }

    void scenario_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* a_tag, const QString& a_script, const char* a_expected) {
            QTest::newRow(a_tag) << a_script << QString(a_expected);
        };
        row("undo on an empty stack", "u", "| (saved) ");
        row("undo after two pushes and a save", "p p s u", "a0 | a1 (changed undo redo) a0");
        row("redo back to the save", "p p s u r", "a0 a1 | (saved undo) a0 a1");
        row("saved before anything", "s p p u u", "| a0 a1 (saved redo) ");
        row("round trip through setIndex", "p p p s i0 i3", "a0 a1 a2 | (saved undo) a0 a1 a2");
        row("saved in the middle", "p p p u s i3 i2", "a0 a1 | a2 (saved undo redo) a0 a1");
        row("saving again after losing the save", "p p s u p s u r", "a0 a2 | (saved undo) a0 a2");
        row("push from the saved state, undone", "p s p u u r p u", "a0 | a2 (saved undo redo) a0");
        row("push drops the redo tail", "p p u u p", "a2 | (changed undo) a2");
        // The oldest actions go so that maxDepth remain, even applied ones; what is kept still replays.
        row("fourth push over depth 3", "d3 p p p p i3 i0 i3", "a1 a2 a3 | (changed undo) a0 a1 a2 a3");
        row("lowered with the index in the middle", "p p p p p p p p p p u u u u d5 i5 i0 i1",
            "a5 | a6 a7 a8 a9 (changed undo redo) a0 a1 a2 a3 a4 a5");
        row("lowered below the applied ones", "p p p p p p p p p p u u u u u u u u d5",
            "| a5 a6 a7 a8 a9 (changed redo) a0 a1");
        row("raised", "d3 p p p u d10 i3 i0 i2", "a0 a1 | a2 (changed undo redo) a0 a1");
        row("lowered to nothing", "p p p u d0", "| (changed) a0 a1");
        // Only the outermost close pushes: nothing, the single member itself, or one batch named by the
        // outermost open or after its members.
        row("empty batch", "p p u ( )", "a0 | a1 (changed undo redo) a0");
        row("open batch", "p p u (Paste p p", "a0 | a1 (changed undo redo) a0 a2 a3");
        row("batch of one", "p p u (Paste p ) u r", "a0 a2 | (changed undo) a0 a2");
        row("batch of two", "p p u ( p p ) u r", "a0 a2; a3 | (changed undo) a0 a2 a3");
        row("nested batches", "p p u (Paste (inner p p (x p ) ) ) u r",
            "a0 Paste | (changed undo) a0 a2 a3 a4");
        // A failing action (3) is passed and stops the stack; go-on results (2) carry undo and redo on.
        // Go-on actions are markers whose applied flag does not move, so a redo that meets one it
        // already counts as applied stops there. The state at index 4 is the saved one.
        const QString saved = QStringLiteral("p p p p s ");
        row("undo of a failing action", saved + "U1113 u", "a0 a1 a2 | a3 (changed undo redo) a0 a1 a2 a3");
        row("undo chain into a failing action", saved + "U1132 u",
            "a0 a1 | a2 a3 (changed undo redo) a0 a1 a2");
        row("redo of a failing action", saved + "i0 R3111 r", "a0 | a1 a2 a3 (changed undo redo) ");
        row("redo chain into a failing action", saved + "i0 R2311 r", "a0 a1 | a2 a3 (changed undo redo) a0");
        row("setIndex back into a failing action", saved + "U1311 i0",
            "a0 | a1 a2 a3 (changed undo redo) a0 a1");
        row("setIndex on into a failing action", saved + "i0 R1131 i4",
            "a0 a1 a2 | a3 (changed undo redo) a0 a1");
        row("undo of go-on actions to the start", saved + "U2222 u", "| a0 a1 a2 a3 (changed redo) ");
        row("go-on actions both ways", saved + "U1221 R1221 u ? u ? r ? r ? u ?",
            "3 0 1 2 0: | a0 a1 a2 a3 (changed redo) ");
    }

    // Every step is checked against the states the actions were made for; the outcome reads
    // "<actions, with | at the index> (<saved or changed> <undo and redo possible>) <applied>".
    void scenario()
    {
        QFETCH(QString, script);
        QFETCH(QString, expected);

        Document document;
        ActionStack stack;
        QCOMPARE(stack.maxDepth(), 1000);
        QSignalSpy enabledSpy(&stack, &ActionStack::actionEnabled);
        QStringList notes;
        run(stack, document, script, &notes);
        QStringList actions;
        for (int i = 0; i < stack.count(); ++i)
            actions << stack.actionAt(i)->description();
        actions.insert(stack.index(), QStringLiteral("|"));
        QVERIFY(!enabledSpy.isEmpty());
        const QString outcome =
            QStringLiteral("%1 (%2%3%4) %5")
                .arg(actions.join(' '), stack.isStateChanged() ? "changed" : "saved",
                     enabledSpy.last().at(0).toBool() ? " undo" : "",
                     enabledSpy.last().at(1).toBool() ? " redo" : "", document.applied.join(' '));
        QCOMPARE((notes.isEmpty() ? QString() : notes.join(' ') + ": ") + outcome, expected);
        // Go-on markers keep their applied flag, so the states they replay on are not tracked.
        if (!script.contains(QRegularExpression(QStringLiteral("[UR]\\d*2"))))
            QCOMPARE(document.faults, 0);
    }

    // No sequence of undos, redos, jumps or further pushes reaches the saved state again.
    void savedStateUnreachable()
    {
        for (const char* script : {"p p s u p", "p p p s u u p p", "p p s u p u u p", "p p p s u x"}) {
            Document document;
            ActionStack stack;
            run(stack, document, script);
            for (int index = 0; index <= stack.count(); ++index) {
                stack.setIndex(index);
                QVERIFY2(stack.isStateChanged(), qPrintable(QStringLiteral("at index %1").arg(index)));
            }
            while (stack.index() > 0) {
                stack.unapply();
                QVERIFY(stack.isStateChanged());
            }
            run(stack, document, QStringLiteral("p u"));
            QVERIFY2(stack.isStateChanged(), script);
            QCOMPARE(document.faults, 0);
        }
    }

    void offsetSetterReturnsOldValue()
    {
        Document document;
        ActionStack stack;
        run(stack, document, QStringLiteral("p p"));
        QSignalSpy stateSpy(&stack, &ActionStack::stateChanged);
        QCOMPARE(stack.setOffsetFromInitial(0), 2);
        QCOMPARE(stack.markSavedStateUnreachable(), 0);
        QCOMPARE(stack.markSavedStateUnreachable(), INT_MIN);
        QCOMPARE(stateSpy.count(), 2);
        run(stack, document, QStringLiteral("u p"));
        QCOMPARE(stack.offsetFromInitial(), INT_MIN);
        stack.setOffsetFromInitial(0);
        QVERIFY(!stack.isStateChanged());
    }

    void batchReportsDoneWhateverItsMembersDo()
    {
        Document document;
        ActionBatch batch;
        for (int i = 0; i < 3; ++i)
            batch.append(QSharedPointer<TestAction>::create(&document, QStringLiteral("a%1").arg(i)));
        batch.actions().at(1).staticCast<TestAction>()->setResults(ActionBase::Failed, ActionBase::Failed);
        const auto applied = [&batch] {
            QList<bool> flags;
            for (const auto& action : batch.actions())
                flags << action->isApplied();
            return flags;
        };
        QCOMPARE(batch.unapply(), ActionBase::Done);
        QCOMPARE(applied(), (QList<bool>{false, true, false}));
        QCOMPARE(batch.reapply(), ActionBase::Done);
        QCOMPARE(applied(), (QList<bool>{true, true, true}));
    }

    // The current index, one below 0 and one above the count change nothing and run nothing.
    void setIndexIgnored()
    {
        for (int target : {2, -1, 4}) {
            Document document;
            ActionStack stack;
            run(stack, document, QStringLiteral("p p p u"));
            QSignalSpy stateSpy(&stack, &ActionStack::stateChanged);
            QSignalSpy enabledSpy(&stack, &ActionStack::actionEnabled);
            stack.setIndex(target);
            QCOMPARE(stack.index(), 2);
            QCOMPARE(stateSpy.count() + enabledSpy.count(), 0);
            QCOMPARE(actionAt(stack, 0)->bodyCalls() + actionAt(stack, 1)->bodyCalls() +
                         actionAt(stack, 2)->bodyCalls(),
                     1);
        }
    }

    void busyDropsReentry_data()
    {
        QTest::addColumn<QString>("reentry");
        QTest::addColumn<QString>("trigger");
        QTest::addColumn<int>("expectedIndex");

        QTest::newRow("push from an undo") << "p"
                                           << "u" << 2;
        QTest::newRow("push from a setIndex") << "p"
                                              << "i0" << 0;
        QTest::newRow("undo from an undo") << "u"
                                           << "u" << 2;
        QTest::newRow("setIndex from a redo") << "i0"
                                              << "u r" << 3;
        QTest::newRow("push from the action's own signal") << "signal"
                                                           << "u" << 2;
    }

    // While actions run, pushes, undos, redos and jumps from within them are dropped.
    void busyDropsReentry()
    {
        QFETCH(QString, reentry);
        QFETCH(QString, trigger);
        QFETCH(int, expectedIndex);

        Document document;
        ActionStack stack;
        run(stack, document, QStringLiteral("p p p"));
        const auto top = actionAt(stack, 2);
        Document other;
        if (reentry == QLatin1String("signal")) {
            connect(top.data(), &ActionBase::stateChanged, this, [&]() { pushAction(stack, other); });
        } else {
            top->setHook([&]() {
                QVERIFY(stack.isBusy());
                run(stack, other, reentry);
            });
        }
        run(stack, document, trigger);

        QCOMPARE(stack.index(), expectedIndex);
        QCOMPARE(stack.count(), 3);
        QVERIFY(!stack.isBusy());
        QCOMPARE(document.applied, firstNames(expectedIndex));
        QCOMPARE(document.faults, 0);
    }

    void setIndexFlushesDelayQueue()
    {
        Document document;
        Orvex::UndoRedoStack stack;
        TestElement first(QStringLiteral("first"));
        TestElement second(QStringLiteral("second"));
        run(stack, document, QStringLiteral("p p i0"));
        bool firstRaisedBeforeSecondAction = false;
        actionAt(stack, 0)->setHook([&]() { first.raiseLater(); });
        actionAt(stack, 1)->setHook([&]() {
            firstRaisedBeforeSecondAction = first.isRaised();
            second.raiseLater();
        });
        stack.setIndex(2);
        QVERIFY(firstRaisedBeforeSecondAction);
        QVERIFY(second.isRaised());
    }

    void historyMenu_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("expectedFirst");
        QTest::addColumn<int>("expectedLast");

        QTest::newRow("empty") << 0 << 0 << -1 << 0;
        QTest::newRow("one undone") << 1 << 0 << 0 << 0;
        QTest::newRow("three, index 1") << 3 << 1 << 2 << 0;
        QTest::newRow("fifteen, index 2") << 15 << 2 << 11 << 0;
        QTest::newRow("twenty, nothing applied") << 20 << 0 << 19 << 0;
        QTest::newRow("twenty-five, all applied") << 25 << 25 << 24 << 5;
        QTest::newRow("forty, index 35") << 40 << 35 << 39 << 20;
    }

    // Newest first, at most twenty entries around the index; the current state goes right after the
    // last redo entry. Entries carry the index they lead to, their icon and one exclusive group.
    void historyMenu()
    {
        QFETCH(int, count);
        QFETCH(int, index);
        QFETCH(int, expectedFirst);
        QFETCH(int, expectedLast);

        Document document;
        ActionStack stack;
        run(stack, document, QStringLiteral("p ").repeated(count) + QStringLiteral("i%1").arg(index));
        QMenu menu;
        stack.fillHistoryMenu(&menu);

        const QString current = QStringLiteral("Current State");
        QStringList expected;
        for (int position = expectedFirst; position >= expectedLast; --position) {
            if (position == index - 1)
                expected << current;
            expected << QString(position >= index ? "Redo: a%1 > %2" : "Undo: a%1 > %2")
                            .arg(position)
                            .arg(position >= index ? position + 1 : position);
        }
        if (index == 0 && count > 0)
            expected << current;

        const QImage undoImage = iconImage(QIcon(QStringLiteral(":/icons/Undo.png")));
        const QImage redoImage = iconImage(QIcon(QStringLiteral(":/icons/Redo.png")));
        QVERIFY(!undoImage.isNull() && undoImage != redoImage);
        QStringList entries;
        for (const QAction* entry : menu.actions()) {
            const bool isCurrent = entry->text() == current;
            entries << (isCurrent ? current : entry->text() + " > " + entry->data().toString());
            QVERIFY(entry->actionGroup() && entry->actionGroup() == menu.actions().first()->actionGroup());
            QVERIFY(entry->isCheckable() && entry->actionGroup()->isExclusive());
            QCOMPARE(entry->isChecked(), isCurrent);
            QCOMPARE(entry->font().weight() == 75, isCurrent);
            QVERIFY(isCurrent ||
                    iconImage(entry->icon()) == (entry->text().startsWith("Redo") ? redoImage : undoImage));
        }
        QCOMPARE(entries, expected);
    }

    void historyMenuText_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("expectedText");
        QTest::addColumn<QString>("expectedToolTip");

        const QString x61 = QString(61, QLatin1Char('x'));
        QTest::newRow("64 characters") << x61 + "abc" << x61 + "abc"
                                       << "<dl><dt><b>Undo: </b></dt><dd>" + x61 + "abc</dd></dl>";
        QTest::newRow("65 characters") << x61 + "abcd" << x61 + "..."
                                       << "<dl><dt><b>Undo: </b></dt><dd>" + x61 + "abcd</dd></dl>";
        QTest::newRow("markup")
            << "Value set (\"<&>\")"
            << "Value set (\"<&>\")"
            << "<dl><dt><b>Undo: </b></dt><dd>Value set (&quot;&lt;&amp;&gt;&quot;)</dd></dl>";
    }

    // Texts are cut after 64 characters; tool tips hold the whole description, escaped.
    void historyMenuText()
    {
        QFETCH(QString, description);
        QFETCH(QString, expectedText);
        QFETCH(QString, expectedToolTip);

        Document document;
        ActionStack stack;
        pushAction(stack, document)->setDescription(description);
        pushAction(stack, document)->setDescription(description);
        stack.unapply();
        QMenu menu;
        stack.fillHistoryMenu(&menu);
        const QList<QAction*> entries = menu.actions();
        QCOMPARE(entries.size(), 3);
        QCOMPARE(
            QStringList({entries.at(0)->text(), entries.at(0)->toolTip(), entries.at(2)->text(),
                         entries.at(2)->toolTip()}),
            QStringList({"Redo: " + expectedText, QString(expectedToolTip).replace("<b>Undo: ", "<b>Redo: "),
                         "Undo: " + expectedText, expectedToolTip}));
    }

    void historyMenuSelection()
    {
        Document document;
        ActionStack stack;
        run(stack, document, QStringLiteral("p p p p p i3"));
        QMenu menu;
        const auto entry = [&menu](const QString& a_text) -> QAction* {
            for (QAction* action : menu.actions()) {
                if (action->text() == a_text)
                    return action;
            }
            return nullptr;
        };

        stack.fillHistoryMenu(&menu);
        entry(QStringLiteral("Undo: a0"))->trigger();
        QCOMPARE(stack.index(), 0);
        QVERIFY(document.applied.isEmpty());

        menu.clear();
        stack.fillHistoryMenu(&menu);
        QCOMPARE(menu.findChildren<QActionGroup*>().size(), 1);
        entry(QStringLiteral("Redo: a4"))->trigger();
        QCOMPARE(document.applied, firstNames(5));

        // Only integer data selects a position.
        QAction* redoMiddle = entry(QStringLiteral("Redo: a2"));
        redoMiddle->setData(QStringLiteral("1"));
        redoMiddle->trigger();
        entry(QStringLiteral("Current State"))->trigger();
        stack.onApplySelection();
        QCOMPARE(stack.index(), 5);
        QCOMPARE(document.faults, 0);
    }
};

QTEST_MAIN(TestActionStack)
#include "tst_actionstack.moc"
