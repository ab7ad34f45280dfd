#include "elements/CameraGlobalCategory.h"

#include "elements/CameraElement.h"

namespace Orvex {

CameraGlobalCategory::CameraGlobalCategory(CameraElement* a_camera)
    : CategoryElementBase(nullptr, a_camera), m_camera(a_camera)
{
}

CameraGlobalCategory::~CameraGlobalCategory() = default;

CameraElement* CameraGlobalCategory::camera() const
{
    return m_camera;
}

void CameraGlobalCategory::onRaise()
{
    if (m_camera)
        m_camera->setGlobalMode();
    CategoryElementBase::onRaise();
}

} // namespace Orvex
