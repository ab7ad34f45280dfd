#pragma once

#include "elements/CategoryElementBase.h"

namespace Orvex {

class CameraElement;

// The camera's global features, shown on the camera's own page rather than in a mode.
class CameraGlobalCategory : public CategoryElementBase
{
    Q_OBJECT

public:
    explicit CameraGlobalCategory(CameraElement* a_camera);
    ~CameraGlobalCategory() override;

    CameraElement* camera() const;

protected:
    // Showing any global feature shows the global page, wherever the camera was before.
    void onRaise() override;

private:
    QPointer<CameraElement> m_camera;
};

} // namespace Orvex
