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
    fit();
}

bool ScrollBarRoom::eventFilter(QObject*, QEvent* a_event)
{
    if (a_event->type() == QEvent::ShowToParent || a_event->type() == QEvent::HideToParent)
        fit();
    return false;
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
