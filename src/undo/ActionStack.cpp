#include "undo/ActionStack.h"

#include "undo/ActionBatch.h"
#include "undo/HistoryMenu.h"

#include <QAction>
#include <QIcon>
#include <QScopedValueRollback>
#include <QStringList>

#include <climits>

// The icons are compiled into the static GUI library, so nothing registers them unless asked to;
// Q_INIT_RESOURCE must be used outside any namespace.
static void initUndoResources()
{
    Q_INIT_RESOURCE(undo);
}

namespace Orvex {

namespace {

constexpr int UnreachableOffset = INT_MIN;

} // namespace

ActionStack::ActionStack(QObject* a_parent) : QObject(a_parent)
{
    static const bool resourcesReady = (initUndoResources(), true);
    Q_UNUSED(resourcesReady)
}

ActionStack::~ActionStack() = default;

int ActionStack::setOffsetFromInitial(int a_offset)
{
    const int old = m_offsetFromInitial;
    m_offsetFromInitial = a_offset;
    if (old != a_offset)
        emit stateChanged();
    return old;
}

int ActionStack::markSavedStateUnreachable()
{
    return setOffsetFromInitial(UnreachableOffset);
}

void ActionStack::setMaxDepth(int a_maxDepth)
{
    m_maxDepth = qMax(0, a_maxDepth);
    // While actions run, the running loop owns the positions; the next push trims instead.
    if (!m_busy)
        trimToMaxDepth();
    emitActionEnabled();
}

void ActionStack::push(const QSharedPointer<ActionBase>& a_action)
{
    if (!a_action || m_busy)
        return;
    Q_ASSERT(!a_action->parent());
    if (m_batch) {
        m_batch->append(a_action);
        return;
    }
    m_actions.erase(m_actions.begin() + m_index, m_actions.end());
    m_actions.append(a_action);
    m_index = m_actions.size();
    if (m_offsetFromInitial != UnreachableOffset) {
        // A negative offset means the saved state lay in the redo tail just dropped; a distance larger
        // than the whole history keeps any sequence of undos from reporting it as reached.
        if (m_offsetFromInitial < 0)
            m_offsetFromInitial = m_actions.size() + 1;
        else
            ++m_offsetFromInitial;
    }
    trimToMaxDepth();
    emitActionEnabled();
    emit stateChanged();
}

void ActionStack::openBatch(const QString& a_description)
{
    if (m_busy)
        return;
    if (m_batchDepth++ > 0)
        return;
    m_batch = QSharedPointer<ActionBatch>::create();
    m_batch->setDescription(a_description);
}

void ActionStack::closeBatch()
{
    if (m_busy || m_batchDepth == 0)
        return;
    if (--m_batchDepth > 0)
        return;
    QSharedPointer<ActionBatch> batch;
    batch.swap(m_batch);
    if (batch->count() >= 2) {
        if (batch->description().isEmpty()) {
            QStringList descriptions;
            for (const QSharedPointer<ActionBase>& action : batch->actions())
                descriptions << action->description();
            batch->setDescription(descriptions.join(QStringLiteral("; ")));
        }
        push(batch);
    } else if (batch->count() == 1) {
        push(batch->actions().constFirst());
    }
}

void ActionStack::fillHistoryMenu(QMenu* a_menu)
{
    if (!a_menu || m_actions.isEmpty())
        return;
    // The current state lies just after the last applied action.
    const auto [first, last] = HistoryMenu::span(m_actions.size(), m_index - 1);
    HistoryMenu menu(a_menu, QStringLiteral("ActionStackHistoryGroup"));
    if (m_undoIcon.isNull()) {
        m_undoIcon = QIcon(QStringLiteral(":/icons/Undo.png"));
        m_redoIcon = QIcon(QStringLiteral(":/icons/Redo.png"));
    }

    bool currentAdded = false;
    const auto addCurrentState = [&]() {
        HistoryMenu::markCurrent(menu.addEntry(QIcon(), QStringLiteral("Current State"), QString()));
        currentAdded = true;
    };

    for (int position = first; position >= last; --position) {
        if (position == m_index - 1)
            addCurrentState();
        const bool redo = position >= m_index;
        const QString prefix = redo ? QStringLiteral("Redo: ") : QStringLiteral("Undo: ");
        const QString description = m_actions.at(position)->description();
        QAction* entry =
            menu.addEntry(redo ? m_redoIcon : m_undoIcon, prefix + HistoryMenu::shortened(description),
                          QStringLiteral("<dl><dt><b>") + prefix + QStringLiteral("</b></dt><dd>") +
                              description.toHtmlEscaped() + QStringLiteral("</dd></dl>"));
        entry->setData(redo ? position + 1 : position);
        connect(entry, &QAction::triggered, this, &ActionStack::onApplySelection);
    }
    if (!currentAdded)
        addCurrentState();
}

void ActionStack::onApplySelection()
{
    const auto* action = qobject_cast<const QAction*>(sender());
    if (action && action->data().userType() == QMetaType::Int)
        setIndex(action->data().toInt());
}

void ActionStack::unapply()
{
    if (m_busy)
        return;
    const QScopedValueRollback<bool> busy(m_busy, true);
    bool ran = false;
    while (m_index > 0) {
        ran = true;
        --m_index;
        stepOffset(-1);
        if (m_actions.at(m_index)->unapply() != ActionBase::DoneGoOn)
            break;
    }
    if (ran)
        emit stateChanged();
    emitActionEnabled();
}

void ActionStack::reapply()
{
    if (m_busy)
        return;
    const QScopedValueRollback<bool> busy(m_busy, true);
    bool ran = false;
    while (m_index < m_actions.size()) {
        ran = true;
        const ActionBase::Result result = m_actions.at(m_index)->reapply();
        ++m_index;
        stepOffset(1);
        if (result != ActionBase::DoneGoOn)
            break;
    }
    if (ran)
        emit stateChanged();
    emitActionEnabled();
}

// Every action passed counts as a step, also one that failed: the stack moves past it and stops, so
// that undo and redo stay possible around a command whose element is gone.
void ActionStack::setIndex(int a_index)
{
    if (a_index < 0 || a_index > m_actions.size() || a_index == m_index || m_busy)
        return;
    const QScopedValueRollback<bool> busy(m_busy, true);
    bool stopped = false;
    while (m_index < a_index) {
        const ActionBase::Result result = m_actions.at(m_index)->reapply();
        ++m_index;
        stepOffset(1);
        afterStep();
        if (result == ActionBase::Failed) {
            stopped = true;
            break;
        }
    }
    while (!stopped && m_index > a_index) {
        --m_index;
        stepOffset(-1);
        const ActionBase::Result result = m_actions.at(m_index)->unapply();
        afterStep();
        if (result == ActionBase::Failed)
            break;
    }
    emit stateChanged();
    emitActionEnabled();
}

// The oldest actions go, so that exactly maxDepth remain.
void ActionStack::trimToMaxDepth()
{
    const int excess = m_actions.size() - m_maxDepth;
    if (excess <= 0)
        return;
    m_actions.erase(m_actions.begin(), m_actions.begin() + excess);
    m_index = qBound(0, m_index - excess, m_actions.size());
}

void ActionStack::emitActionEnabled()
{
    emit actionEnabled(m_index >= 1, m_actions.size() > m_index);
}

// An unreachable saved state stays unreachable whatever moves.
void ActionStack::stepOffset(int a_delta)
{
    if (m_offsetFromInitial != UnreachableOffset)
        m_offsetFromInitial += a_delta;
}

} // namespace Orvex
