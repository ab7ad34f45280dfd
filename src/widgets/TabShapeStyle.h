#pragma once

#include <QByteArray>
#include <QHash>
#include <QPixmap>
#include <QProxyStyle>

namespace Orvex {

// The style of a tab bar, drawing each tab's shape from a picture it keeps. A tab bar paints all its
// tabs again whenever its current tab changes, and the Fusion style draws every shape anew, antialiased
// and with gradients: near a tenth of showing a page. Each picture is drawn by the style itself, so what
// appears is what it would draw. Other styles, whose shapes may depend on more than the options they are
// given, draw as they always do.
class TabShapeStyle : public QProxyStyle
{
    Q_OBJECT

public:
    TabShapeStyle();

    // The one that every tab bar drawing through this style shares, with its pictures; the application
    // owns it.
    static TabShapeStyle* shared();

    void drawControl(ControlElement a_element, const QStyleOption* a_option, QPainter* a_painter,
                     const QWidget* a_widget = nullptr) const override;

private:
    bool keeps(const QPainter* a_painter) const;

    // Enough for every tab of a bar in each of its states; cleared, not aged, when it fills.
    static constexpr int KeptPictures = 256;
    mutable QHash<QByteArray, QPixmap> m_pictures;
};

} // namespace Orvex
