#pragma once

#include "widgets/KeptDrawingStyle.h"

namespace Orvex {

// The style of a tab bar, drawing each tab's shape from a picture it keeps, besides the parts every
// page repeats. A tab bar paints all its tabs again whenever its current tab changes, and the Fusion
// style draws every shape anew, antialiased and with gradients: near a tenth of showing a page.
class TabShapeStyle : public KeptDrawingStyle
{
    Q_OBJECT

public:
    TabShapeStyle();

    // The one that every tab bar drawing through this style shares, with its pictures; the application
    // owns it.
    static TabShapeStyle* shared();

    void drawControl(ControlElement a_element, const QStyleOption* a_option, QPainter* a_painter,
                     const QWidget* a_widget = nullptr) const override;
};

} // namespace Orvex
