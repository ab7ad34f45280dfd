#include "widgets/TabShapeStyle.h"

#include <QCoreApplication>
#include <QPointer>
#include <QStyleOptionTab>
#include <QTabBar>

namespace Orvex {

TabShapeStyle::TabShapeStyle() = default;

TabShapeStyle* TabShapeStyle::shared()
{
    static QPointer<TabShapeStyle> style;
    if (!style) {
        style = new TabShapeStyle;
        style->setParent(QCoreApplication::instance());
    }
    return style;
}

void TabShapeStyle::drawControl(ControlElement a_element, const QStyleOption* a_option, QPainter* a_painter,
                                const QWidget* a_widget) const
{
    const auto* tab = qstyleoption_cast<const QStyleOptionTab*>(a_option);
    // Tabs on the left or right are turned; they are few and drawn as they come.
    if (a_element != CE_TabBarTabShape || !tab || !keeps(a_painter) ||
        (tab->shape != QTabBar::RoundedNorth && tab->shape != QTabBar::RoundedSouth)) {
        KeptDrawingStyle::drawControl(a_element, a_option, a_painter, a_widget);
        return;
    }
    // What the shape may touch: the overlap with the next tab, an outline half a pixel out, and the
    // selected tab's fill, which reaches as far as the tab is high beyond its edge on the bar's side.
    const QRect& rect = tab->rect;
    const int overlap = pixelMetric(PM_TabBarTabOverlap, tab, a_widget);
    const QRect reach = rect.adjusted(-2 - overlap, -rect.height() - 2, overlap + 2, rect.height() + 2);
    // Besides what every part's picture depends on: its row (the selected tab's fill stops at the bar's
    // edge), its side, and its place among the tabs and frame.
    drawKept(a_painter, reach,
             keyOf(*tab, a_painter,
                   {quint32(a_element), quint32(rect.top()), quint32(tab->shape), quint32(tab->position),
                    quint32(tab->features)}),
             [&](QPainter* a_target) {
                 KeptDrawingStyle::drawControl(CE_TabBarTabShape, tab, a_target, a_widget);
             });
}

} // namespace Orvex
