#pragma once

#include <QAction>
#include <QMenu>
#include <QPoint>
#include <QPointer>

namespace Orvex {

// A menu whose entries can be dragged out as file URLs, for example onto a file manager or another
// editor window. An entry is draggable when it carries the dynamic property named by dragUrlProperty
// holding a URL string; a press and release without a drag still triggers it as in any menu.
class DragMenu : public QMenu
{
    Q_OBJECT

public:
    static constexpr const char* dragUrlProperty = "Quarnel_Orvex_DragMenu_DragUrlProperty";

    explicit DragMenu(QWidget* a_parent = nullptr);
    explicit DragMenu(const QString& a_title, QWidget* a_parent = nullptr);

protected:
    void mousePressEvent(QMouseEvent* a_event) override;
    void mouseMoveEvent(QMouseEvent* a_event) override;
    void mouseReleaseEvent(QMouseEvent* a_event) override;

private:
    void startDrag();

    QPoint m_pressPosition;
    QPointer<QAction> m_pressedAction;
    bool m_dragStarted = false;
};

} // namespace Orvex
