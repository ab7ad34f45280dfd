#include "app/WindowFocusOrder.h"

#include <algorithm>

namespace Orvex {

namespace {

bool takesTab(const QWidget* a_widget)
{
    return a_widget && a_widget->isVisible() && a_widget->isEnabled() &&
           (a_widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus;
}

// Fields in one row of a form differ in height; their middles line up within this much.
constexpr int s_rowTolerance = 6;

} // namespace

WindowFocusOrder::WindowFocusOrder(QWidget* a_tree, QWidget* a_tabBar, QWidget* a_page,
                                   const QList<QWidget*>& a_buttons)
    : m_tree(a_tree), m_tabBar(a_tabBar), m_page(a_page)
{
    for (QWidget* button : a_buttons)
        m_buttons << button;
}

QList<QWidget*> WindowFocusOrder::stops() const
{
    QList<QWidget*> stops;
    if (takesTab(m_tree))
        stops << m_tree;
    if (takesTab(m_tabBar))
        stops << m_tabBar;
    if (m_page) {
        QList<QWidget*> fields;
        for (QWidget* child : m_page->findChildren<QWidget*>()) {
            // A spin box's line edit hands its focus to the box, which is the stop.
            if (takesTab(child) && !child->focusProxy() && child->isVisibleTo(m_page))
                fields << child;
        }
        const QWidget* page = m_page;
        const auto middle = [page](const QWidget* a_widget) {
            return a_widget->mapTo(page, a_widget->rect().center());
        };
        std::stable_sort(fields.begin(), fields.end(),
                         [&middle](const QWidget* a_left, const QWidget* a_right) {
                             const QPoint left = middle(a_left);
                             const QPoint right = middle(a_right);
                             if (std::abs(left.y() - right.y()) > s_rowTolerance)
                                 return left.y() < right.y();
                             return left.x() < right.x();
                         });
        stops << fields;
    }
    for (const QPointer<QWidget>& button : m_buttons) {
        if (takesTab(button))
            stops << button;
    }
    return stops;
}

QWidget* WindowFocusOrder::next(const QWidget* a_focus, bool a_forward) const
{
    const QList<QWidget*> all = stops();
    if (all.isEmpty())
        return nullptr;
    for (const QWidget* holder = a_focus; holder; holder = holder->parentWidget()) {
        const int at = all.indexOf(const_cast<QWidget*>(holder));
        if (at >= 0)
            return all[(at + (a_forward ? 1 : all.size() - 1)) % all.size()];
    }
    return nullptr;
}

} // namespace Orvex
