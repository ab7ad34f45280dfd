#include "ActionBase.h"
#include "ActionBatch.h"
#include "ActionStack.h"
#include "TestElement.h"

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
    void setUndoHook(std::function<void()> a_hook) { m_undoHook = std::move(a_hook); }
    void setRedoHook(std::function<void()> a_hook) { m_redoHook = std::move(a_hook); }
    int bodyCalls() const { return m_bodyCalls; }

protected:
    Result onUnapply() override
    {
        return run(m_undoHook, m_undoResult, m_before + QStringList{m_name}, m_before);
    }
    Result onReapply() override
    {
        return run(m_redoHook, m_redoResult, m_before, m_before + QStringList{m_name});
    }

private:
    Result run(const std::function<void()>& a_hook, Result a_result, const QStringList& a_from,
               const QStringList& a_to)
    {
        ++m_bodyCalls;
        if (a_hook)
            a_hook();
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
    std::function<void()> m_undoHook;
    std::function<void()> m_redoHook;
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

// p push, u undo, r redo, s saved, x saved state unreachable, i<n> setIndex(n)
void run(ActionStack& a_stack, Document& a_document, const QString& a_script)
{
    for (const QString& step : a_script.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (step == QLatin1String("p"))
            pushAction(a_stack, a_document);
        else if (step == QLatin1String("u"))
            a_stack.unapply();
        else if (step == QLatin1String("r"))
            a_stack.reapply();
        else if (step == QLatin1String("s"))
            a_stack.setOffsetFromInitial(0);
        else if (step == QLatin1String("x"))
            a_stack.markSavedStateUnreachable();
        else if (step.startsWith(QLatin1Char('i')))
            a_stack.setIndex(step.mid(1).toInt());
        else
            QFAIL(qPrintable(QStringLiteral("unknown step ") + step));
    }
}

QStringList firstNames(int a_count)
{
    QStringList names;
    for (int i = 0; i < a_count; ++i)
        names << QStringLiteral("a%1").arg(i);
    return names;
}

// Result codes per stack position, one digit each ("1123"); positions left out keep Done.
void setResults(const ActionStack& a_stack, const QString& a_undo, const QString& a_redo)
{
    const auto code = [](const QString& a_codes, int a_position) {
        return static_cast<ActionBase::Result>(
            a_position < a_codes.size() ? a_codes.at(a_position).digitValue() : 1);
    };
    for (int i = 0; i < a_stack.count(); ++i)
        actionAt(a_stack, i)->setResults(code(a_undo, i), code(a_redo, i));
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
        QTest::newRow("undo nothing to do") << true << true << 0 << 0 << true;
        QTest::newRow("undo failed") << true << true << 3 << 3 << true;
        QTest::newRow("undo when undone") << true << false << 1 << 0 << false;
        QTest::newRow("redo done") << false << false << 1 << 1 << true;
        QTest::newRow("redo done, go on") << false << false << 2 << 2 << false;
        QTest::newRow("redo nothing to do") << false << false << 0 << 0 << false;
        QTest::newRow("redo failed") << false << false << 3 << 3 << false;
        QTest::newRow("redo when applied") << false << true << 1 << 0 << true;
    }

    void actionResults()
    {
        QFETCH(bool, undo);
        QFETCH(bool, startApplied);
        QFETCH(int, bodyResult);
        QFETCH(int, expectedResult);
        QFETCH(bool, expectedApplied);

        Document document;
        TestAction action(&document, QStringLiteral("a"));
        QVERIFY(action.isApplied());
        if (!startApplied)
            QCOMPARE(action.unapply(), ActionBase::Done);
        const auto result = static_cast<ActionBase::Result>(bodyResult);
        action.setResults(result, result);
        const int callsBefore = action.bodyCalls();
        QSignalSpy spy(&action, &ActionBase::stateChanged);

        ActionBase::Result returned = ActionBase::Nothing;
        QVERIFY(QMetaObject::invokeMethod(&action, undo ? "unapply" : "reapply", Qt::DirectConnection,
                                          Q_RETURN_ARG(Orvex::ActionBase::Result, returned)));

        QCOMPARE(int(returned), expectedResult);
        QCOMPARE(action.isApplied(), expectedApplied);
        // The body only runs when the action is not already in the asked state.
        QCOMPARE(action.bodyCalls() - callsBefore, startApplied == undo ? 1 : 0);
        QCOMPARE(spy.count(), expectedApplied == startApplied ? 0 : 1);
        if (!spy.isEmpty())
            QCOMPARE(spy.at(0).at(0).toBool(), expectedApplied);
    }

    void savedState_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<int>("expectedIndex");
        QTest::addColumn<bool>("expectedChanged");
        QTest::addColumn<bool>("expectedUndo");
        QTest::addColumn<bool>("expectedRedo");

        QTest::newRow("undo on an empty stack") << "u" << 0 << false << false << false;
        QTest::newRow("push") << "p" << 1 << true << true << false;
        QTest::newRow("undo after two pushes and a save") << "p p s u" << 1 << true << true << true;
        QTest::newRow("redo back to the save") << "p p s u r" << 2 << false << true << false;
        QTest::newRow("undo back to the save") << "p p s p u" << 2 << false << true << true;
        QTest::newRow("saved before anything") << "s p p u u" << 0 << false << false << true;
        QTest::newRow("round trip through setIndex") << "p p p s i0 i3" << 3 << false << true << false;
        QTest::newRow("setIndex away from the save") << "p p p s i1" << 1 << true << true << true;
        QTest::newRow("saved in the middle") << "p p p u s i3 i2" << 2 << false << true << true;
        QTest::newRow("saving again after losing the save")
            << "p p s u p s u r" << 2 << false << true << false;
        QTest::newRow("undo past the save and redo to it")
            << "p p p s u u u r r r" << 3 << false << true << false;
        QTest::newRow("push from the saved state, undone") << "p s p u u r p u" << 1 << false << true << true;
        QTest::newRow("push drops the redo tail") << "p p u u p" << 1 << true << true << false;
    }

    void savedState()
    {
        QFETCH(QString, script);
        QFETCH(int, expectedIndex);
        QFETCH(bool, expectedChanged);
        QFETCH(bool, expectedUndo);
        QFETCH(bool, expectedRedo);

        Document document;
        ActionStack stack;
        QSignalSpy enabledSpy(&stack, &ActionStack::actionEnabled);
        run(stack, document, script);

        QCOMPARE(stack.index(), expectedIndex);
        QCOMPARE(stack.property("isStateChanged").toBool(), expectedChanged);
        QCOMPARE(document.applied.size(), expectedIndex);
        QCOMPARE(document.faults, 0);
        QVERIFY(!enabledSpy.isEmpty());
        QCOMPARE(enabledSpy.last().at(0).toBool(), expectedUndo);
        QCOMPARE(enabledSpy.last().at(1).toBool(), expectedRedo);
    }

    void savedStateUnreachable_data()
    {
        QTest::addColumn<QString>("script");

        QTest::newRow("undo past the save, then push") << "p p s u p";
        QTest::newRow("two undos past the save, then two pushes") << "p p p s u u p p";
        QTest::newRow("undo to the start past the save, then push") << "p p s u u p";
        QTest::newRow("three undos past the save, then push") << "p p p p s u u u p";
        QTest::newRow("push after the loss, then more undos") << "p p s u p u u p";
        QTest::newRow("marked unreachable") << "p p s x";
        QTest::newRow("marked unreachable in the middle") << "p p p s u x";
    }

    void savedStateUnreachable()
    {
        QFETCH(QString, script);

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
        pushAction(stack, document);
        stack.unapply();
        QVERIFY(stack.isStateChanged());
        QCOMPARE(document.faults, 0);
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
        QVERIFY(stack.setProperty("offsetFromInitial", 0));
        QVERIFY(!stack.isStateChanged());
    }

    void maxDepth_data()
    {
        QTest::addColumn<int>("depthBefore");
        QTest::addColumn<int>("pushes");
        QTest::addColumn<int>("undos");
        QTest::addColumn<int>("depthAfter");
        QTest::addColumn<int>("expectedCount");
        QTest::addColumn<int>("expectedIndex");
        QTest::addColumn<QString>("expectedOldest");
        QTest::addColumn<bool>("replays");

        QTest::newRow("fourth push over depth 3") << 3 << 4 << 0 << -1 << 3 << 3 << "a1" << true;
        QTest::newRow("many pushes over depth 3") << 3 << 10 << 0 << -1 << 3 << 3 << "a7" << true;
        QTest::newRow("lowered with the index in the middle")
            << 1000 << 10 << 4 << 5 << 5 << 1 << "a5" << true;
        QTest::newRow("lowered with the index at the end") << 1000 << 10 << 0 << 4 << 4 << 4 << "a6" << true;
        // The oldest go even when they are the applied ones; the index cannot fall below the start.
        QTest::newRow("lowered below the applied ones") << 1000 << 10 << 8 << 5 << 5 << 0 << "a5" << false;
        QTest::newRow("lowered with nothing applied") << 1000 << 6 << 6 << 2 << 2 << 0 << "a4" << false;
        QTest::newRow("raised") << 3 << 3 << 1 << 10 << 3 << 2 << "a0" << true;
        QTest::newRow("lowered to nothing") << 1000 << 3 << 1 << 0 << 0 << 0 << "" << true;
    }

    void maxDepth()
    {
        QFETCH(int, depthBefore);
        QFETCH(int, pushes);
        QFETCH(int, undos);
        QFETCH(int, depthAfter);
        QFETCH(int, expectedCount);
        QFETCH(int, expectedIndex);
        QFETCH(QString, expectedOldest);
        QFETCH(bool, replays);

        Document document;
        ActionStack stack;
        QCOMPARE(stack.maxDepth(), 1000);
        stack.setMaxDepth(depthBefore);
        run(stack, document, QStringLiteral("p ").repeated(pushes) + QStringLiteral("u ").repeated(undos));
        QSignalSpy enabledSpy(&stack, &ActionStack::actionEnabled);
        if (depthAfter >= 0) {
            QVERIFY(stack.setProperty("maxDepth", depthAfter));
            QCOMPARE(enabledSpy.count(), 1);
            QCOMPARE(enabledSpy.at(0).at(0).toBool(), expectedIndex >= 1);
            QCOMPARE(enabledSpy.at(0).at(1).toBool(), expectedCount > expectedIndex);
        }

        QCOMPARE(stack.count(), expectedCount);
        QCOMPARE(stack.index(), expectedIndex);
        QCOMPARE(stack.actionAt(0) ? stack.actionAt(0)->description() : QString(), expectedOldest);
        if (!replays)
            return;
        // What is kept must still replay on the states it was made for.
        const QStringList current = document.applied;
        run(stack, document, QStringLiteral("i%1 i0 i%2").arg(stack.count()).arg(expectedIndex));
        QCOMPARE(document.applied, current);
        QCOMPARE(document.faults, 0);
    }

    void batches_data()
    {
        QTest::addColumn<int>("members");
        QTest::addColumn<int>("nesting");
        QTest::addColumn<QString>("batchDescription");
        QTest::addColumn<QString>("expectedDescription");

        QTest::newRow("empty") << 0 << 1 << QString() << QString();
        QTest::newRow("one") << 1 << 1 << "Paste"
                             << "a2";
        QTest::newRow("two") << 2 << 1 << QString() << "a2; a3";
        QTest::newRow("three, named") << 3 << 1 << "Paste"
                                      << "Paste";
        QTest::newRow("nested") << 3 << 3 << "Paste"
                                << "Paste";
        QTest::newRow("nested, empty") << 0 << 2 << "Paste" << QString();
    }

    void batches()
    {
        QFETCH(int, members);
        QFETCH(int, nesting);
        QFETCH(QString, batchDescription);
        QFETCH(QString, expectedDescription);

        Document document;
        ActionStack stack;
        run(stack, document, QStringLiteral("p p u"));
        const QStringList before = document.applied;
        QSignalSpy stateSpy(&stack, &ActionStack::stateChanged);
        QSignalSpy enabledSpy(&stack, &ActionStack::actionEnabled);

        for (int i = 0; i < nesting; ++i)
            stack.openBatch(i == 0 ? batchDescription : QStringLiteral("inner"));
        QList<QSharedPointer<TestAction>> pushed;
        for (int i = 0; i < members; ++i)
            pushed << pushAction(stack, document);
        for (int i = 0; i < nesting; ++i) {
            QVERIFY(stack.isBatchOpen());
            QCOMPARE(stack.count(), 2);
            QCOMPARE(stack.index(), 1);
            QCOMPARE(stateSpy.count() + enabledSpy.count(), 0);
            stack.closeBatch();
        }
        QVERIFY(!stack.isBatchOpen());

        QCOMPARE(stack.count(), 2);
        QCOMPARE(stack.index(), members == 0 ? 1 : 2);
        QCOMPARE(stateSpy.count(), members == 0 ? 0 : 1);
        if (members == 0)
            return;
        const QSharedPointer<ActionBase> top = stack.actionAt(1);
        QCOMPARE(top->description(), expectedDescription);
        if (members == 1)
            QVERIFY(top == pushed.first());
        else
            QCOMPARE(top.dynamicCast<ActionBatch>()->count(), members);

        stack.unapply();
        QCOMPARE(document.applied, before);
        stack.reapply();
        QCOMPARE(document.applied.size(), before.size() + members);
        QCOMPARE(document.faults, 0);
    }

    void batchReportsDoneWhateverItsMembersDo()
    {
        Document document;
        ActionBatch batch;
        for (int i = 0; i < 3; ++i)
            batch.append(QSharedPointer<TestAction>::create(&document, QStringLiteral("a%1").arg(i)));
        const auto failing = batch.actions().at(1).staticCast<TestAction>();
        failing->setResults(ActionBase::Failed, ActionBase::Failed);

        QCOMPARE(batch.unapply(), ActionBase::Done);
        QCOMPARE(batch.actions().at(0)->isApplied(), false);
        QCOMPARE(failing->isApplied(), true);
        QCOMPARE(batch.actions().at(2)->isApplied(), false);
        QCOMPARE(batch.reapply(), ActionBase::Done);
        QCOMPARE(batch.actions().at(0)->isApplied(), true);
    }

    void setIndexIgnored_data()
    {
        QTest::addColumn<int>("target");

        QTest::newRow("current index") << 2;
        QTest::newRow("negative") << -1;
        QTest::newRow("above the count") << 4;
    }

    void setIndexIgnored()
    {
        QFETCH(int, target);

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

    // A failing action (3) is passed and stops the stack; go-on results (2) carry undo and redo on.
    // Go-on actions are markers whose applied flag does not move, so a redo that meets one it already
    // counts as applied stops there.
    void resultsSteerTheStack_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("undoResults");
        QTest::addColumn<QString>("redoResults");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QList<int>>("expectedIndexes");

        QTest::newRow("undo of a failing action") << ""
                                                  << "1113"
                                                  << ""
                                                  << "u" << QList<int>{3};
        QTest::newRow("undo chain into a failing action") << ""
                                                          << "1132"
                                                          << ""
                                                          << "u" << QList<int>{2};
        QTest::newRow("redo of a failing action") << "i0"
                                                  << ""
                                                  << "3111"
                                                  << "r" << QList<int>{1};
        QTest::newRow("redo chain into a failing action") << "i0"
                                                          << ""
                                                          << "2311"
                                                          << "r" << QList<int>{2};
        QTest::newRow("setIndex back into a failing action") << ""
                                                             << "1311"
                                                             << ""
                                                             << "i0" << QList<int>{1};
        QTest::newRow("setIndex on into a failing action") << "i0"
                                                           << ""
                                                           << "1131"
                                                           << "i4" << QList<int>{3};
        QTest::newRow("undo through go-on actions") << ""
                                                    << "1221"
                                                    << ""
                                                    << "u u" << QList<int>{3, 0};
        QTest::newRow("undo of go-on actions to the start") << ""
                                                            << "2222"
                                                            << ""
                                                            << "u" << QList<int>{0};
        QTest::newRow("redo through go-on actions") << "i0"
                                                    << ""
                                                    << "1221"
                                                    << "r r" << QList<int>{1, 4};
        QTest::newRow("redo of go-on actions to the end") << "i0"
                                                          << ""
                                                          << "2222"
                                                          << "r" << QList<int>{4};
        QTest::newRow("go-on actions both ways") << ""
                                                 << "1221"
                                                 << "1221"
                                                 << "u u r r u" << QList<int>{3, 0, 1, 2, 0};
    }

    void resultsSteerTheStack()
    {
        QFETCH(QString, setup);
        QFETCH(QString, undoResults);
        QFETCH(QString, redoResults);
        QFETCH(QString, steps);
        QFETCH(QList<int>, expectedIndexes);

        Document document;
        ActionStack stack;
        run(stack, document, QStringLiteral("p p p p s ") + setup);
        setResults(stack, undoResults, redoResults);
        const QStringList stepList = steps.split(QLatin1Char(' '));
        for (int i = 0; i < stepList.size(); ++i) {
            run(stack, document, stepList.at(i));
            QCOMPARE(stack.index(), expectedIndexes.at(i));
            QCOMPARE(stack.offsetFromInitial(), expectedIndexes.at(i) - 4);
            QCOMPARE(stack.isStateChanged(), expectedIndexes.at(i) != 4);
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
        const std::function<void()> hook = [&]() {
            QVERIFY(stack.isBusy());
            run(stack, other, reentry);
        };
        if (reentry == QLatin1String("signal")) {
            connect(top.data(), &ActionBase::stateChanged, this, [&]() { pushAction(stack, other); });
        } else {
            top->setUndoHook(hook);
            top->setRedoHook(hook);
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
        ActionStack stack;
        TestElement first(QStringLiteral("first"));
        TestElement second(QStringLiteral("second"));
        run(stack, document, QStringLiteral("p p i0"));
        bool firstRaisedBeforeSecondAction = false;
        actionAt(stack, 0)->setRedoHook([&]() { first.raiseLater(); });
        actionAt(stack, 1)->setRedoHook([&]() {
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
        QTest::newRow("one applied") << 1 << 1 << 0 << 0;
        QTest::newRow("one undone") << 1 << 0 << 0 << 0;
        QTest::newRow("three, index 1") << 3 << 1 << 2 << 0;
        QTest::newRow("fifteen, index 2") << 15 << 2 << 11 << 0;
        QTest::newRow("fifteen, all applied") << 15 << 15 << 14 << 0;
        QTest::newRow("twenty, nothing applied") << 20 << 0 << 19 << 0;
        QTest::newRow("twenty-five, nothing applied") << 25 << 0 << 19 << 0;
        QTest::newRow("twenty-five, all applied") << 25 << 25 << 24 << 5;
        QTest::newRow("forty, index 3") << 40 << 3 << 19 << 0;
        QTest::newRow("forty, index 20") << 40 << 20 << 29 << 10;
        QTest::newRow("forty, index 35") << 40 << 35 << 39 << 20;
    }

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

        // Newest first; the current state goes right after the last redo entry.
        const QString current = QStringLiteral("Current State");
        QStringList expectedTexts;
        QVariantList expectedData;
        for (int position = expectedFirst; position >= expectedLast; --position) {
            if (position == index - 1) {
                expectedTexts << current;
                expectedData << QVariant();
            }
            const bool redo = position >= index;
            expectedTexts << (redo ? QStringLiteral("Redo: a%1") : QStringLiteral("Undo: a%1")).arg(position);
            expectedData << QVariant(redo ? position + 1 : position);
        }
        if (index == 0 && count > 0) {
            expectedTexts << current;
            expectedData << QVariant();
        }
        const QList<QAction*> entries = menu.actions();
        QCOMPARE(entries.size(), expectedTexts.size());
        if (entries.isEmpty())
            return;

        const QImage undoImage = iconImage(QIcon(QStringLiteral(":/icons/Undo.png")));
        const QImage redoImage = iconImage(QIcon(QStringLiteral(":/icons/Redo.png")));
        QVERIFY(!undoImage.isNull());
        QVERIFY(undoImage != redoImage);
        QActionGroup* group = entries.first()->actionGroup();
        QVERIFY(group && group->isExclusive());
        for (int row = 0; row < entries.size(); ++row) {
            const QAction* entry = entries.at(row);
            const bool isCurrent = entry->text() == current;
            QCOMPARE(entry->text(), expectedTexts.at(row));
            QCOMPARE(entry->actionGroup(), group);
            QVERIFY(entry->isCheckable());
            QCOMPARE(entry->isChecked(), isCurrent);
            QCOMPARE(entry->font().weight() == 75, isCurrent);
            if (isCurrent)
                continue;
            QCOMPARE(entry->data(), expectedData.at(row));
            QCOMPARE(iconImage(entry->icon()),
                     entry->text().startsWith(QLatin1String("Redo")) ? redoImage : undoImage);
        }
    }

    void historyMenuText_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("expectedText");
        QTest::addColumn<QString>("expectedToolTip");

        const QString x61 = QString(61, QLatin1Char('x'));
        QTest::newRow("short") << "Mode deleted (M1)"
                               << "Mode deleted (M1)"
                               << "<dl><dt><b>Undo: </b></dt><dd>Mode deleted (M1)</dd></dl>";
        QTest::newRow("64 characters") << x61 + "abc" << x61 + "abc"
                                       << "<dl><dt><b>Undo: </b></dt><dd>" + x61 + "abc</dd></dl>";
        QTest::newRow("65 characters") << x61 + "abcd" << x61 + "..."
                                       << "<dl><dt><b>Undo: </b></dt><dd>" + x61 + "abcd</dd></dl>";
        QTest::newRow("markup")
            << "Value set (\"<&>\")"
            << "Value set (\"<&>\")"
            << "<dl><dt><b>Undo: </b></dt><dd>Value set (&quot;&lt;&amp;&gt;&quot;)</dd></dl>";
        QTest::newRow("long markup") << x61 + "<&><&>" << x61 + "..."
                                     << "<dl><dt><b>Undo: </b></dt><dd>" + x61 +
                                            "&lt;&amp;&gt;&lt;&amp;&gt;</dd></dl>";
    }

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
        QCOMPARE(entries.at(2)->text(), QStringLiteral("Undo: ") + expectedText);
        QCOMPARE(entries.at(2)->toolTip(), expectedToolTip);
        QCOMPARE(entries.at(0)->text(), QStringLiteral("Redo: ") + expectedText);
        QCOMPARE(entries.at(0)->toolTip(),
                 QString(expectedToolTip).replace(QStringLiteral("<b>Undo: "), QStringLiteral("<b>Redo: ")));
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
        QCOMPARE(stack.index(), 5);
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
