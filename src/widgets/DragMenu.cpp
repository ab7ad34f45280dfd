#include "widgets/DragMenu.h"

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>

namespace Orvex {

namespace {

QString dragUrl(const QAction* a_action)
{
    return a_action ? a_action->property(DragMenu::dragUrlProperty).toString() : QString();
}

} // namespace

DragMenu::DragMenu(QWidget* a_parent) : QMenu(a_parent)
{
}

DragMenu::DragMenu(const QString& a_title, QWidget* a_parent) : QMenu(a_title, a_parent)
{
}

void DragMenu::mousePressEvent(QMouseEvent* a_event)
{
    if (a_event->button() == Qt::LeftButton) {
        m_dragStarted = false;
        QAction* action = actionAt(a_event->pos());
        m_pressedAction = dragUrl(action).isEmpty() ? nullptr : action;
        m_pressPosition = a_event->pos();
    }
    QMenu::mousePressEvent(a_event);
}

void DragMenu::mouseMoveEvent(QMouseEvent* a_event)
{
    if ((a_event->buttons() & Qt::LeftButton) && m_pressedAction &&
        (a_event->pos() - m_pressPosition).manhattanLength() >= QApplication::startDragDistance()) {
        a_event->accept();
        startDrag();
        return;
    }
    QMenu::mouseMoveEvent(a_event);
}

void DragMenu::mouseReleaseEvent(QMouseEvent* a_event)
{
    if (a_event->button() == Qt::LeftButton) {
        m_pressedAction = nullptr;
        if (m_dragStarted) {
            // The entry was dragged away, not chosen.
            m_dragStarted = false;
            a_event->accept();
            return;
        }
    }
    QMenu::mouseReleaseEvent(a_event);
}

void DragMenu::startDrag()
{
    QAction* action = m_pressedAction;
    m_pressedAction = nullptr;
    m_dragStarted = true;

    auto* data = new QMimeData;
    data->setUrls({QUrl(dragUrl(action))});

    const QRect actionRect = actionGeometry(action);
    auto* drag = new QDrag(this);
    drag->setMimeData(data);
    drag->setPixmap(grab(actionRect));
    drag->setHotSpot(m_pressPosition - actionRect.topLeft());

    // The menus above a submenu would otherwise stay open behind the drag, holding the mouse grab.
    hide();
    for (QWidget* popup = QApplication::activePopupWidget(); qobject_cast<QMenu*>(popup);) {
        popup->hide();
        QWidget* next = QApplication::activePopupWidget();
        if (next == popup)
            break;
        popup = next;
    }

    // The drop may start work that deletes this menu; nothing of it is touched after the drag.
    drag->exec(Qt::CopyAction);
}

} // namespace Orvex
