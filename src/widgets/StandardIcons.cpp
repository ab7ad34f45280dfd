#include "widgets/StandardIcons.h"

#include <QHash>
#include <QPointer>

namespace Orvex {

QIcon StandardIcons::of(const QStyle* a_style, QStyle::StandardPixmap a_icon)
{
    if (!a_style)
        return QIcon();
    static QPointer<const QStyle> madeBy;
    static QHash<int, QIcon> icons;
    // A style at the address of one destroyed is another style, which the pointer tells apart.
    if (madeBy != a_style) {
        icons.clear();
        madeBy = a_style;
    }
    auto found = icons.constFind(int(a_icon));
    if (found == icons.constEnd())
        found = icons.insert(int(a_icon), a_style->standardIcon(a_icon));
    return *found;
}

} // namespace Orvex
