#include "ElementFixtures.h"
#include "FileFixtures.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/NavigationStack.h"
#include "elements/UndoRedoStack.h"
#include "undo/ActionBase.h"
#include "undo/ActionBatch.h"
#include "undo/ActionStack.h"
#include "undo/HistoryMenu.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QPointer>
#include <QSignalSpy>
#include <QStyle>
#include <QtTest>

#include <functional>

using Orvex::ActionBase;
using Orvex::ActionStack;
using Orvex::HistoryMenu;
using Orvex::NavigationStack;
using TestElement = OrvexTest::RecordingElement;

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

    Result m_undoResult = Done;
    Result m_redoResult = Done;
    // Runs at the start of every undo and redo body.
    std::function<void()> m_hook;
    int m_bodyCalls = 0;

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
            m_document->faults += m_document->applied != a_from;
            m_document->applied = a_to;
        }
        return a_result;
    }

    Document* m_document;
    QString m_name;
    QStringList m_before;
};

TestAction* actionAt(const ActionStack& a_stack, int a_position)
{
    return static_cast<TestAction*>(a_stack.actionAt(a_position).data());
}

// Runs the steps of a_script (tests/undo/data/actionstack-scenarios.txt explains them).
void run(ActionStack& a_stack, Document& a_document, const QString& a_script, QStringList* a_notes = nullptr)
{
    for (const QString& step : a_script.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const QChar kind = step.at(0);
        const QString rest = step.mid(1);
        if (kind == 'p')
            a_stack.push(QSharedPointer<TestAction>::create(&a_document,
                                                            QStringLiteral("a%1").arg(a_document.made++)));
        else if (kind == 'u')
            a_stack.unapply();
        else if (kind == 'r')
            a_stack.reapply();
        else if (kind == 's')
            a_stack.setOffsetFromInitial(0);
        else if (kind == 'x')
            a_stack.markSavedStateUnreachable();
        else if (kind == 'i')
            a_stack.setIndex(rest.toInt());
        else if (kind == 'd')
            a_stack.setMaxDepth(rest.toInt());
        else if (kind == '(')
            a_stack.openBatch(rest);
        else if (kind == ')')
            a_stack.closeBatch();
        else if (kind == '?' && a_notes)
            *a_notes << QString::number(a_stack.index());
        else if (kind == 'h')
            actionAt(a_stack, rest.section(':', 0, 0).toInt())->m_hook = [&a_stack, rest] {
                // Pushes that the stack drops must not touch the document either.
                static Document other;
                run(a_stack, other, rest.section(':', 1).replace(',', ' '));
            };
        for (int index = a_stack.count(); kind == '*' && a_notes && index >= 0; --index) {
            a_stack.setIndex(index);
            *a_notes << (a_stack.isStateChanged() ? "c" : "s");
        }
        for (int i = 0; (kind == 'U' || kind == 'R') && i < rest.size(); ++i)
            (kind == 'U' ? actionAt(a_stack, i)->m_undoResult : actionAt(a_stack, i)->m_redoResult) =
                static_cast<ActionBase::Result>(rest.at(i).digitValue());
    }
}

// Elements made on first mention by name, under a camera and a mode (menu entries name them too); all of
// them share one raise/lower log.
class Elements
{
public:
    TestElement* get(const QString& a_name)
    {
        QPointer<TestElement>& element = m_elements[a_name];
        if (!element && !m_deleted.contains(a_name))
            element = new TestElement(a_name, &m_log, &m_mode);
        return element;
    }
    void remove(const QString& a_name)
    {
        delete m_elements.value(a_name).data();
        m_deleted << a_name;
    }
    QStringList& log() { return m_log; }

private:
    QStringList m_log;
    TestElement m_camera{QStringLiteral("Camera"), &m_log};
    TestElement m_mode{QStringLiteral("Mode"), &m_log, &m_camera};
    QMap<QString, QPointer<TestElement>> m_elements;
    QStringList m_deleted;
};

// Runs the steps of a_script (tests/undo/data/navigation-history.txt explains them).
void run(NavigationStack& a_stack, Elements& a_elements, const QString& a_script,
         QStringList* a_notes = nullptr)
{
    QMenu menu;
    const QImage behind = menu.style()->standardIcon(QStyle::SP_ArrowLeft).pixmap(16).toImage();
    for (const QString& step : a_script.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (step == QLatin1String("m")) {
            menu.clear();
            a_stack.fillHistoryMenu(&menu);
            for (const QAction* entry : menu.actions())
                *a_notes << entry->text() + (entry->icon().isNull()                         ? "*"
                                             : entry->icon().pixmap(16).toImage() == behind ? "<"
                                                                                            : ">");
        } else if (step == QLatin1String("l")) {
            *a_notes << '(' + a_elements.log().join(", ") + ')';
            a_elements.log().clear();
        } else if (step.startsWith(QLatin1Char('M')))
            menu.actions().at(step.mid(1).toInt())->trigger();
        else if (step.startsWith(QLatin1Char('+')))
            a_elements.get(step.mid(1))->raise();
        else if (step == QLatin1String("w"))
            QCoreApplication::processEvents();
        else if (step == QLatin1String("<"))
            a_stack.back();
        else if (step == QLatin1String(">"))
            a_stack.forward();
        else if (step.startsWith(QLatin1Char('-')))
            a_elements.remove(step.mid(1));
        else if (step.startsWith(QLatin1Char('#')))
            a_stack.setIndex(static_cast<size_t>(step.mid(1).toULongLong()));
        else if (step.startsWith(QLatin1String("max")))
            a_stack.setMaxDepth(step.mid(3).toInt());
        else if (step.startsWith(QLatin1Char('e')))
            for (int i = 0; i < step.mid(1).toInt(); ++i)
                a_stack.recordVisit(a_elements.get(QStringLiteral("e%1").arg(i)));
        else
            a_stack.recordVisit(a_elements.get(step));
    }
}

// The entries ("-" for a deleted element) with the current one in brackets.
QString entries(const NavigationStack& a_stack)
{
    QStringList names;
    for (int i = 0; i < a_stack.count(); ++i) {
        const QString name = a_stack.elementAt(i) ? a_stack.elementAt(i)->name() : QStringLiteral("-");
        names << (i == a_stack.index() ? '[' + name + ']' : name);
    }
    return names.join(QLatin1Char(' '));
}

} // namespace

// The undo history (action stack) and the navigation history, and the history menu they share.
class TestHistories : public QObject
{
    Q_OBJECT

private slots:
    void actionResults_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/undo/data/actionstack-results.txt"),
                                {"call", "expected"});
    }

    // Only Done flips the applied flag; the body runs only when the action is not already in the asked state.
    void actionResults()
    {
        QFETCH(QByteArray, call);
        QFETCH(QByteArray, expected);

        Document document;
        TestAction action(&document, QStringLiteral("a"));
        if (call.at(2) == '0')
            action.unapply();
        action.m_undoResult = action.m_redoResult = static_cast<ActionBase::Result>(call.at(4) - '0');
        action.m_bodyCalls = 0;
        QSignalSpy spy(&action, &ActionBase::stateChanged);
        const int result = call.at(0) == 'u' ? action.unapply() : action.reapply();
        QCOMPARE(QStringLiteral("%1 %2 %3 %4")
                     .arg(result)
                     .arg(action.isApplied())
                     .arg(action.m_bodyCalls)
                     .arg(spy.count()),
                 QString::fromUtf8(expected));
    }

    void scenario_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/undo/data/actionstack-scenarios.txt"),
                                {"script", "expected"});
    }

    // Every step is checked against the states the actions were made for.
    void scenario()
    {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, expected);

        Document document;
        ActionStack stack;
        QSignalSpy enabledSpy(&stack, &ActionStack::actionEnabled);
        QStringList notes;
        run(stack, document, QString::fromUtf8(script), &notes);
        QStringList actions;
        for (int i = 0; i < stack.count(); ++i)
            actions << stack.actionAt(i)->description();
        actions.insert(stack.index(), QStringLiteral("^"));
        QVERIFY(!enabledSpy.isEmpty());
        const QString outcome =
            QStringLiteral("%1 (%2%3%4) %5")
                .arg(actions.join(' '), stack.isStateChanged() ? "changed" : "saved",
                     enabledSpy.last().at(0).toBool() ? " undo" : "",
                     enabledSpy.last().at(1).toBool() ? " redo" : "", document.applied.join(' '));
        QCOMPARE(((notes.isEmpty() ? QString() : notes.join(' ') + ": ") + outcome).trimmed(),
                 QString::fromUtf8(expected));
        // Go-on markers keep their applied flag, so the states they replay on are not tracked.
        if (!QString::fromUtf8(script).contains(QRegularExpression(QStringLiteral("[UR]\\d*2"))))
            QCOMPARE(document.faults, 0);
    }

    // A batch goes on past a failing member and counts as done.
    void batchPassesFailingMember()
    {
        Document document;
        Orvex::ActionBatch batch;
        for (int i = 0; i < 3; ++i)
            batch.append(QSharedPointer<TestAction>::create(&document, QStringLiteral("a%1").arg(i)));
        static_cast<TestAction*>(batch.actions().at(1).data())->m_undoResult = ActionBase::Failed;
        const auto applied = [&batch] {
            QString flags;
            for (const auto& action : batch.actions())
                flags += action->isApplied() ? '1' : '0';
            return flags;
        };
        QCOMPARE(batch.unapply(), ActionBase::Done);
        QCOMPARE(applied(), "010");
        QCOMPARE(batch.reapply(), ActionBase::Done);
        QCOMPARE(applied(), "111");
    }

    // Elements raised by one action are raised before the next action runs.
    void setIndexFlushesDelayQueue()
    {
        Document document;
        Orvex::UndoRedoStack stack;
        QStringList log;
        TestElement first(QStringLiteral("first"), &log);
        TestElement second(QStringLiteral("second"), &log);
        run(stack, document, QStringLiteral("p p i0"));
        actionAt(stack, 0)->m_hook = [&]() { first.raiseLater(); };
        actionAt(stack, 1)->m_hook = [&]() { log << "second action", second.raiseLater(); };
        stack.setIndex(2);
        QCOMPARE(log, (QStringList{"raise first", "second action", "raise second"}));
    }

    // Entries lead to the index before their action (undo) or after it (redo); the current state sits
    // between them, checked and bold. Texts are cut after 64 characters; tool tips hold the whole
    // description, escaped. Entries share one exclusive group, also when a cleared menu is filled again.
    // Only integer data selects a position.
    void undoMenu()
    {
        Document document;
        ActionStack stack;
        run(stack, document, QStringLiteral("p p p i1"));
        actionAt(stack, 1)->setDescription(QString(100, 'x'));
        actionAt(stack, 2)->setDescription(QStringLiteral("\"<&>\" ") + QString(100, 'x'));
        QMenu menu;
        stack.fillHistoryMenu(&menu);
        menu.clear();
        stack.fillHistoryMenu(&menu);
        QCOMPARE(menu.findChildren<QActionGroup*>().size(), 1);
        QVERIFY(menu.findChild<QActionGroup*>()->isExclusive());
        QStringList entries;
        for (const QAction* entry : menu.actions())
            entries << QStringLiteral("%1 > %2 %3 %4%5%6%7")
                           .arg(entry->text(), entry->data().toString(), entry->toolTip())
                           .arg(entry->isChecked())
                           .arg(entry->font().bold())
                           .arg(entry->icon().isNull())
                           .arg(entry->isCheckable() &&
                                entry->actionGroup() == menu.findChild<QActionGroup*>());
        const auto tip = [](const QString& a_prefix, const QString& a_text) {
            return "<dl><dt><b>" + a_prefix + ": </b></dt><dd>" + a_text + "</dd></dl>";
        };
        QCOMPARE(entries,
                 (QStringList{
                     "Redo: \"<&>\" " + QString(30, 'x') + "..." + QString(61, 'x') + " > 3 " +
                         tip("Redo", "&quot;&lt;&amp;&gt;&quot; " + QString(100, 'x')) + " 0001",
                     "Redo: " + QString(100, 'x') + " > 2 " + tip("Redo", QString(100, 'x')) + " 0001",
                     "Current State >  Current State 1111", "Undo: a0 > 0 " + tip("Undo", "a0") + " 0001"}));

        menu.actions().at(0)->trigger();
        QCOMPARE(document.applied, (QStringList{"a0", "a1", "a2"}));
        menu.actions().at(3)->setData(QStringLiteral("1"));
        menu.actions().at(3)->trigger();
        menu.actions().at(2)->trigger();
        QCOMPARE(stack.index(), 3);
        QCOMPARE(document.faults, 0);
    }

    void historySpan_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/undo/data/history-spans.txt"), {"history", "expected"});
    }

    // Twenty entries at most, up to ten of them beyond the current one, and a full menu whenever the
    // history allows.
    void historySpan()
    {
        QFETCH(QByteArray, history);
        QFETCH(QByteArray, expected);
        const auto [first, last] =
            HistoryMenu::span(history.split(' ').at(0).toInt(), history.split(' ').at(1).toInt());
        QCOMPARE(QByteArray::number(first) + ' ' + QByteArray::number(last), expected);
    }

    void navigation_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/undo/data/navigation-history.txt"),
                                {"script", "expected"});
    }

    // Going back or forward when it is not possible changes nothing and announces nothing.
    void navigation()
    {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, expected);

        Elements elements;
        NavigationStack stack;
        QStringList notes;
        run(stack, elements, QString::fromUtf8(script), &notes);
        QSignalSpy enabledSpy(&stack, &NavigationStack::actionEnabled);
        QSignalSpy stateSpy(&stack, &NavigationStack::stateChanged);
        stack.emit_actionEnabled();
        QVERIFY(enabledSpy.count() == 1);
        const QString notesText = notes.isEmpty() ? QString() : notes.join(", ") + ": ";
        const QString flags =
            QStringLiteral(" %1%2").arg(enabledSpy.at(0).at(0).toInt()).arg(enabledSpy.at(0).at(1).toInt());
        QCOMPARE((notesText + entries(stack) + flags).trimmed(), QString::fromUtf8(expected));
        if (!stack.canGoBack())
            stack.back();
        if (!stack.canGoForward())
            stack.forward();
        QCOMPARE((notesText + entries(stack) + flags).trimmed(), QString::fromUtf8(expected));
        QCOMPARE(stateSpy.count(), 0);
    }
};

QTEST_MAIN(TestHistories)
#include "tst_histories.moc"
