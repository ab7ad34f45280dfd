#include "widgets/QuietTabWidget.h"

#include "widgets/TabShapeStyle.h"

#include <QEvent>
#include <QTabBar>

namespace Orvex {

QuietTabWidget::QuietTabWidget(QWidget* a_parent) : QTabWidget(a_parent)
{
    tabBar()->setStyle(TabShapeStyle::shared());
}

bool QuietTabWidget::event(QEvent* a_event)
{
    if (a_event->type() == QEvent::LayoutRequest) {
        const QSize bar = tabBar()->sizeHint();
        const QSize minimum = minimumSizeHint();
        if (bar == m_laidOutBar && minimum == m_laidOutMinimum)
            return true;
        m_laidOutBar = bar;
        m_laidOutMinimum = minimum;
    }
    return QTabWidget::event(a_event);
}

} // namespace Orvex
