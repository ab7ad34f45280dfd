#pragma once

#include <QIcon>
#include <QStyle>

namespace Orvex {

// The style's standard icons, made once. A style builds a standard icon from its image files every
// time it is asked, decoding each of them; a view that asks for one in its model's data pays that for
// every row it paints.
class StandardIcons
{
public:
    // a_style's icon a_icon; the icons a style made are dropped when another style is asked.
    static QIcon of(const QStyle* a_style, QStyle::StandardPixmap a_icon);
};

} // namespace Orvex
