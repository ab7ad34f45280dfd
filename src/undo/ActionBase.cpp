#include "undo/ActionBase.h"

namespace Orvex {

ActionBase::ActionBase(QObject* a_parent) : QObject(a_parent)
{
}

ActionBase::~ActionBase() = default;

void ActionBase::setDescription(const QString& a_description)
{
    m_description = a_description;
}

ActionBase::Result ActionBase::unapply()
{
    if (!m_applied)
        return Nothing;
    const Result result = onUnapply();
    if (result != Done)
        return result;
    m_applied = false;
    emit stateChanged(false);
    return result;
}

ActionBase::Result ActionBase::reapply()
{
    if (m_applied)
        return Nothing;
    const Result result = onReapply();
    if (result != Done)
        return result;
    m_applied = true;
    emit stateChanged(true);
    return result;
}

} // namespace Orvex
