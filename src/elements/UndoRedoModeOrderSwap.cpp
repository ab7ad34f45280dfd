#include "elements/UndoRedoModeOrderSwap.h"

#include "elements/CameraElement.h"
#include "elements/ModeElement.h"

#include <algorithm>

namespace Orvex {

UndoRedoModeOrderSwap::UndoRedoModeOrderSwap(ElementBase* a_root, ModeElement* a_first, ModeElement* a_second)
    : m_root(a_root), m_firstLocator(ElementLocator::locate(a_root, a_first)),
      m_secondLocator(ElementLocator::locate(a_root, a_second))
{
    if (a_first && a_second)
        setDescription(QStringLiteral("Mode order swap (%1 <--> %2)").arg(a_first->name(), a_second->name()));
}

UndoRedoModeOrderSwap::~UndoRedoModeOrderSwap() = default;

ActionBase::Result UndoRedoModeOrderSwap::onUnapply()
{
    return swap(false);
}

ActionBase::Result UndoRedoModeOrderSwap::onReapply()
{
    return swap(true);
}

ActionBase::Result UndoRedoModeOrderSwap::swap(bool a_showSecond)
{
    auto* first = m_firstLocator.resolveAs<ModeElement>(m_root);
    auto* second = m_secondLocator.resolveAs<ModeElement>(m_root);
    CameraElement* camera = first ? first->camera() : nullptr;
    if (!camera || !second || first == second || second->camera() != camera)
        return Failed;
    const int low = std::min(camera->indexOfMode(first), camera->indexOfMode(second));
    const int high = std::max(camera->indexOfMode(first), camera->indexOfMode(second));
    // The lower one goes to the upper place, which pulls the upper one down by one, to be moved up.
    camera->moveMode(low, high);
    camera->moveMode(high - 1, low);
    m_firstLocator = ElementLocator::locate(m_root, first);
    m_secondLocator = ElementLocator::locate(m_root, second);
    (a_showSecond ? second : first)->raiseLater();
    return Done;
}

} // namespace Orvex
