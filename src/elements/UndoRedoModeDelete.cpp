#include "elements/UndoRedoModeDelete.h"

#include "elements/CameraElement.h"
#include "elements/ModeElement.h"

namespace Orvex {

UndoRedoModeDelete::UndoRedoModeDelete(ElementBase* a_root, ModeElement* a_mode, int a_position)
    : m_root(a_root), m_position(a_position)
{
    CameraElement* camera = a_mode ? a_mode->camera() : nullptr;
    if (!camera)
        return;
    m_cameraLocator = ElementLocator::locate(a_root, camera);
    const int standing = camera->indexOfMode(a_mode);
    if (standing >= 0) {
        m_position = standing;
        camera->takeMode(standing);
    }
    setDescription(QStringLiteral("Mode deleted (%1)").arg(a_mode->name()));
    keep(a_mode);
}

UndoRedoModeDelete::~UndoRedoModeDelete() = default;

ModeElement* UndoRedoModeDelete::keptMode() const
{
    return m_mode && m_mode->parent() == this ? m_mode.data() : nullptr;
}

ActionBase::Result UndoRedoModeDelete::onUnapply()
{
    auto* camera = m_cameraLocator.resolveAs<CameraElement>(m_root);
    if (!camera || !keptMode() || m_mode->camera() != camera || m_position < 0 ||
        m_position > camera->modeCount())
        return Failed;
    m_mode->setId(m_id);
    camera->insertMode(m_position, m_mode);
    m_mode->raiseLater();
    return Done;
}

ActionBase::Result UndoRedoModeDelete::onReapply()
{
    auto* camera = m_cameraLocator.resolveAs<CameraElement>(m_root);
    ModeElement* mode = camera ? camera->takeMode(m_position) : nullptr;
    if (!mode)
        return Failed;
    keep(mode);
    camera->raiseLater();
    return Done;
}

// The id is set aside, so that nothing finds the mode through the registry while it is deleted.
void UndoRedoModeDelete::keep(ModeElement* a_mode)
{
    m_mode = a_mode;
    m_id = a_mode->id();
    a_mode->setParent(this);
    a_mode->setId(0);
}

} // namespace Orvex
