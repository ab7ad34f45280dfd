#include "widgets/ScrollBarRoom.h"

#include <QEvent>
#include <QLayout>
#include <QScrollArea>
#include <QScrollBar>

namespace Orvex {

void ScrollBarRoom::keep(QScrollArea* a_area)
{
    if (a_area && a_area->widget() && a_area->widget()->layout())
        new ScrollBarRoom(a_area);
}

ScrollBarRoom::ScrollBarRoom(QScrollArea* a_area)
    : QObject(a_area), m_area(a_area), m_ownRight(a_area->widget()->layout()->contentsMargins().right())
{
    // The area shows and hides the container the bar sits in, not the bar itself.
    QWidget* bar = a_area->verticalScrollBar();
    QWidget* container = bar->parentWidget() && bar->parentWidget() != a_area ? bar->parentWidget() : bar;
    container->installEventFilter(this);
    m_barContainer = container;
    a_area->installEventFilter(this);
    fit();
}

bool ScrollBarRoom::eventFilter(QObject* a_watched, QEvent* a_event)
{
    if (a_watched != m_barContainer) {
        if (a_event->type() == QEvent::Resize)
            foresee();
    } else if (a_event->type() == QEvent::ShowToParent || a_event->type() == QEvent::HideToParent) {
        fit();
    }
    return false;
}

void ScrollBarRoom::foresee()
{
    // Before the area lays its content out at a new size: whether the content will need the bar there,
    // as the area decides it. Left to itself, the area lays the content out without the bar, finds that
    // it needs one and lays it out again, a bar narrower: every field of a long page measured and drawn
    // at two widths. Told ahead by the bar's range, which it sets right just after, it shows the bar at
    // once.
    const QWidget* content = m_area->widget();
    const QLayout* layout = content ? content->layout() : nullptr;
    QScrollBar* bar = m_area->verticalScrollBar();
    if (!layout || layout->hasHeightForWidth() ||
        m_area->verticalScrollBarPolicy() != Qt::ScrollBarAsNeeded || bar->isVisibleTo(m_area))
        return;
    const int over = content->minimumSizeHint().height() - m_area->maximumViewportSize().height();
    if (over > 0)
        bar->setRange(0, over);
}

void ScrollBarRoom::fit()
{
    QWidget* content = m_area ? m_area->widget() : nullptr;
    QLayout* layout = content ? content->layout() : nullptr;
    if (!layout)
        return;
    const QScrollBar* bar = m_area->verticalScrollBar();
    const int room = bar->isVisibleTo(m_area) ? 0 : bar->sizeHint().width();
    QMargins margins = layout->contentsMargins();
    if (margins.right() == m_ownRight + room)
        return;
    margins.setRight(m_ownRight + room);
    layout->setContentsMargins(margins);
}

} // namespace Orvex
