#include "widgets/ContentsLengthComboBox.h"

#include <QApplication>
#include <QStyleOptionComboBox>
#include <QtMath>

#include <algorithm>

namespace Orvex {

ContentsLengthComboBox::ContentsLengthComboBox(int a_characters, QWidget* a_parent)
    : QComboBox(a_parent), m_characters(a_characters)
{
}

QSize ContentsLengthComboBox::sizeHint() const
{
    // The same sum QComboBox makes for its contents-length policy with an icon, so that a page looks
    // the same either way: the characters, room for an icon and its gap, one line of text or the icon's
    // height, and what the style adds around the contents.
    const QFontMetrics metrics = fontMetrics();
    const QSize icon = iconSize();
    QSize contents(m_characters * metrics.horizontalAdvance(QLatin1Char('X')) + icon.width() + 4,
                   std::max(qCeil(QFontMetricsF(metrics).height()), 14) + 2);
    contents.setHeight(std::max(contents.height(), icon.height() + 2));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    return style()
        ->sizeFromContents(QStyle::CT_ComboBox, &option, contents, this)
        .expandedTo(QApplication::globalStrut());
}

QSize ContentsLengthComboBox::minimumSizeHint() const
{
    return sizeHint();
}

} // namespace Orvex
