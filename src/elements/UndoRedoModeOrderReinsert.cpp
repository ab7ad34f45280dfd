#include "elements/UndoRedoModeOrderReinsert.h"

#include "elements/CameraElement.h"
#include "elements/ModeElement.h"

namespace Orvex {

UndoRedoModeOrderReinsert::UndoRedoModeOrderReinsert(ElementBase* a_root, ModeElement* a_mode,
                                                     ModeElement* a_newSuccessor, ModeElement* a_oldSuccessor)
    : m_root(a_root), m_hasNewSuccessor(a_newSuccessor), m_hasOldSuccessor(a_oldSuccessor)
{
    locate(a_mode, a_newSuccessor, a_oldSuccessor);
    if (!a_mode)
        return;
    if (a_newSuccessor)
        setDescription(
            QStringLiteral("Mode reinserted (%1 --> %2)").arg(a_mode->name(), a_newSuccessor->name()));
    else
        setDescription(QStringLiteral("Mode reinserted (%1 to back)").arg(a_mode->name()));
}

UndoRedoModeOrderReinsert::~UndoRedoModeOrderReinsert() = default;

bool UndoRedoModeOrderReinsert::isValid() const
{
    return m_root && m_modeLocator.isValid() && (!m_hasNewSuccessor || m_newSuccessorLocator.isValid()) &&
           (!m_hasOldSuccessor || m_oldSuccessorLocator.isValid());
}

ActionBase::Result UndoRedoModeOrderReinsert::onUnapply()
{
    return moveBefore(false);
}

ActionBase::Result UndoRedoModeOrderReinsert::onReapply()
{
    return moveBefore(true);
}

ActionBase::Result UndoRedoModeOrderReinsert::moveBefore(bool a_toNewSuccessor)
{
    auto* mode = m_modeLocator.resolveAs<ModeElement>(m_root);
    ModeElement* newSuccessor = nullptr;
    ModeElement* oldSuccessor = nullptr;
    if (m_hasNewSuccessor && !(newSuccessor = m_newSuccessorLocator.resolveAs<ModeElement>(m_root)))
        return Failed;
    if (m_hasOldSuccessor && !(oldSuccessor = m_oldSuccessorLocator.resolveAs<ModeElement>(m_root)))
        return Failed;
    CameraElement* camera = mode ? mode->camera() : nullptr;
    ModeElement* successor = a_toNewSuccessor ? newSuccessor : oldSuccessor;
    if (!camera || successor == mode)
        return Failed;

    const int from = camera->indexOfMode(mode);
    int to = camera->modeCount() - 1;
    if (successor) {
        const int before = camera->indexOfMode(successor);
        to = from < before ? before - 1 : before;
    }
    if (!camera->moveMode(from, to))
        return Failed;
    locate(mode, newSuccessor, oldSuccessor);
    mode->raiseLater();
    return Done;
}

void UndoRedoModeOrderReinsert::locate(ModeElement* a_mode, ModeElement* a_newSuccessor,
                                       ModeElement* a_oldSuccessor)
{
    m_modeLocator = ElementLocator::locate(m_root, a_mode);
    m_newSuccessorLocator = ElementLocator::locate(m_root, a_newSuccessor);
    m_oldSuccessorLocator = ElementLocator::locate(m_root, a_oldSuccessor);
}

} // namespace Orvex
