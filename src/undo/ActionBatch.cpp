#include "undo/ActionBatch.h"

namespace Orvex {

ActionBatch::ActionBatch(QObject* a_parent) : ActionBase(a_parent)
{
}

ActionBatch::~ActionBatch() = default;

void ActionBatch::append(const QSharedPointer<ActionBase>& a_action)
{
    if (a_action)
        m_actions.append(a_action);
}

// A batch is one step for the stack: a member that fails or has nothing to do does not keep the others
// from being undone, so the batch always reports the step as done.
ActionBase::Result ActionBatch::onUnapply()
{
    for (int i = m_actions.size() - 1; i >= 0; --i)
        m_actions.at(i)->unapply();
    return Done;
}

ActionBase::Result ActionBatch::onReapply()
{
    for (const QSharedPointer<ActionBase>& action : qAsConst(m_actions))
        action->reapply();
    return Done;
}

} // namespace Orvex
