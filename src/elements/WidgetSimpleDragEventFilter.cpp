#include "elements/WidgetSimpleDragEventFilter.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDrag>
#include <QMouseEvent>

namespace Orvex {

WidgetSimpleDragEventFilter::WidgetSimpleDragEventFilter(QWidget* a_widget)
    : QObject(a_widget), m_widget(a_widget)
{
    if (a_widget)
        a_widget->installEventFilter(this);
}

void WidgetSimpleDragEventFilter::setDragData(QMimeData* a_data)
{
    if (a_data == m_dragData)
        return;
    delete m_dragData.data();
    m_dragData = a_data;
    if (a_data)
        a_data->setParent(this);
}

bool WidgetSimpleDragEventFilter::eventFilter(QObject* a_watched, QEvent* a_event)
{
    if (!m_widget || a_watched != m_widget || !m_dragData)
        return QObject::eventFilter(a_watched, a_event);

    if (a_event->type() == QEvent::MouseButtonPress) {
        const auto* mouseEvent = static_cast<QMouseEvent*>(a_event);
        if (mouseEvent->button() == Qt::LeftButton)
            m_pressPosition = mouseEvent->pos();
        return false;
    }

    if (a_event->type() == QEvent::MouseMove) {
        const auto* mouseEvent = static_cast<QMouseEvent*>(a_event);
        if (!(mouseEvent->buttons() & Qt::LeftButton))
            return false;
        if ((mouseEvent->pos() - m_pressPosition).manhattanLength() < QApplication::startDragDistance())
            return false;
        startDrag();
        return true;
    }

    return QObject::eventFilter(a_watched, a_event);
}

void WidgetSimpleDragEventFilter::startDrag()
{
    // A button that saw the press would otherwise stay pressed and click on the release after the drop.
    if (auto* button = qobject_cast<QAbstractButton*>(m_widget.data()))
        button->setDown(false);

    auto* data = new QMimeData;
    for (const QString& format : m_dragData->formats())
        data->setData(format, m_dragData->data(format));

    // Qt deletes the drag once it is over; the nested event loop of exec() may even destroy the widget
    // and this filter with it, so nothing here is touched afterwards.
    auto* drag = new QDrag(m_widget.data());
    drag->setMimeData(data);
    drag->setPixmap(m_widget->grab());
    drag->exec(Qt::CopyAction);
}

} // namespace Orvex
