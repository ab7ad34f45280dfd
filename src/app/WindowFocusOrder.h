#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>

namespace Orvex {

// The order Tab walks through the editor: the camera tree, the category tabs, the shown page's fields
// in reading order (rows top to bottom, each left to right), then the mode buttons. Qt's own order is
// the order the widgets were made in, which puts pages built later after the buttons.
class WindowFocusOrder
{
public:
    WindowFocusOrder(QWidget* a_tree, QWidget* a_tabBar, QWidget* a_page, const QList<QWidget*>& a_buttons);

    // The stops, as they are now: hidden and disabled widgets are left out.
    QList<QWidget*> stops() const;
    // The stop after (or before) the one holding a_focus; null when a_focus is in none of them, which
    // leaves the move to Qt.
    QWidget* next(const QWidget* a_focus, bool a_forward) const;

private:
    QPointer<QWidget> m_tree;
    QPointer<QWidget> m_tabBar;
    QPointer<QWidget> m_page;
    QList<QPointer<QWidget>> m_buttons;
};

} // namespace Orvex
