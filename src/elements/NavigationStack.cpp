#include "elements/NavigationStack.h"

#include "elements/CameraElement.h"
#include "elements/ElementBase.h"
#include "elements/ModeElement.h"
#include "undo/HistoryMenu.h"
#include "widgets/StandardIcons.h"

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QScopedValueRollback>
#include <QStyle>

namespace Orvex {

namespace {

// The names of the element and of the elements above it ("Default > Timing") tell apart the many
// categories and features that share a name across modes.
QString entryText(const ElementBase* a_element)
{
    QStringList names;
    for (const QObject* object = a_element; object; object = object->parent()) {
        const auto* element = qobject_cast<const ElementBase*>(object);
        if (!element)
            break;
        if (!element->name().isEmpty())
            names.prepend(element->name());
    }
    return names.join(QStringLiteral(" > "));
}

} // namespace

NavigationStack::NavigationStack(QObject* a_parent) : QObject(a_parent)
{
}

NavigationStack::~NavigationStack() = default;

ElementBase* NavigationStack::elementAt(int a_position) const
{
    return m_entries.value(a_position).data();
}

// A deleted mode is kept alive by its undo command, so only its camera can tell that it is gone.
bool NavigationStack::isReachable(int a_position) const
{
    const ElementBase* element = elementAt(a_position);
    if (!element)
        return false;
    for (const QObject* object = element; object; object = object->parent()) {
        if (const auto* mode = qobject_cast<const ModeElement*>(object)) {
            const CameraElement* camera = mode->camera();
            return camera && camera->holdsMode(mode);
        }
    }
    return true;
}

void NavigationStack::setMaxDepth(int a_maxDepth)
{
    m_maxDepth = qMax(0, a_maxDepth);
    if (!m_busy)
        trimToMaxDepth();
    emit_actionEnabled();
}

void NavigationStack::recordVisit(ElementBase* a_element)
{
    if (m_busy || !a_element)
        return;
    if (m_index >= 0 && m_entries.at(m_index) == a_element)
        return;
    m_entries.erase(m_entries.begin() + m_index + 1, m_entries.end());
    m_entries.append(a_element);
    m_index = m_entries.size() - 1;
    trimToMaxDepth();
    emit stateChanged();
    // The tool bar learns of the new back step without waiting for the next undo-state change.
    emit_actionEnabled();
}

void NavigationStack::fillHistoryMenu(QMenu* a_menu)
{
    if (!a_menu || m_entries.isEmpty())
        return;
    const auto [first, last] = HistoryMenu::span(m_entries.size(), m_index);
    HistoryMenu menu(a_menu, QStringLiteral("NavigationStackHistoryGroup"));
    // Kept icons: the menu is filled again at every page the user visits.
    const QIcon behindIcon = StandardIcons::of(a_menu->style(), QStyle::SP_ArrowLeft);
    const QIcon aheadIcon = StandardIcons::of(a_menu->style(), QStyle::SP_ArrowRight);

    for (int position = first; position >= last; --position) {
        const ElementBase* element = m_entries.at(position);
        if (!isReachable(position))
            continue;
        const QString text = entryText(element);
        const QIcon icon = position < m_index ? behindIcon : position > m_index ? aheadIcon : QIcon();
        QAction* entry = menu.addEntry(icon, HistoryMenu::shortened(text), text);
        entry->setData(position);
        if (position == m_index)
            HistoryMenu::markCurrent(entry);
        connect(entry, &QAction::triggered, this, &NavigationStack::onNavigateSelection);
    }
}

void NavigationStack::emit_actionEnabled()
{
    emit actionEnabled(canGoBack(), canGoForward());
}

void NavigationStack::back()
{
    if (m_busy)
        return;
    const int position = liveBefore(m_index);
    if (position >= 0)
        switchTo(position);
}

void NavigationStack::forward()
{
    if (m_busy)
        return;
    const int position = liveAfter(m_index);
    if (position >= 0)
        switchTo(position);
}

bool NavigationStack::setIndex(size_t a_index)
{
    if (m_busy || a_index >= static_cast<size_t>(m_entries.size()))
        return false;
    const int position = static_cast<int>(a_index);
    if (!isReachable(position))
        return false;
    switchTo(position);
    return true;
}

void NavigationStack::onNavigateSelection()
{
    const auto* action = qobject_cast<const QAction*>(sender());
    if (!action || action->data().userType() != QMetaType::Int)
        return;
    const int position = action->data().toInt();
    if (position >= 0)
        setIndex(static_cast<size_t>(position));
}

int NavigationStack::liveBefore(int a_position) const
{
    for (int position = qMin(a_position, m_entries.size()) - 1; position >= 0; --position) {
        if (isReachable(position))
            return position;
    }
    return -1;
}

int NavigationStack::liveAfter(int a_position) const
{
    for (int position = qMax(a_position + 1, 0); position < m_entries.size(); ++position) {
        if (isReachable(position))
            return position;
    }
    return -1;
}

// Lowering and raising go through the delay queue, so the old element is lowered before the new one is
// raised, after whatever event led here has been handled.
void NavigationStack::switchTo(int a_position)
{
    const QScopedValueRollback<bool> busy(m_busy, true);
    if (ElementBase* current = elementAt(m_index))
        current->lowerLater();
    m_index = a_position;
    m_entries.at(a_position)->raiseLater();
    emit stateChanged();
    emit_actionEnabled();
}

// Older entries go first, never the current one while anything else can go: the current entry stays
// under the index.
void NavigationStack::trimToMaxDepth()
{
    const int excess = m_entries.size() - m_maxDepth;
    if (excess <= 0)
        return;
    const int fromFront = qMin(excess, qMax(m_index, 0));
    m_entries.erase(m_entries.begin(), m_entries.begin() + fromFront);
    m_index -= fromFront;
    const int fromBack = excess - fromFront;
    m_entries.erase(m_entries.end() - fromBack, m_entries.end());
    m_index = qMin(m_index, m_entries.size() - 1);
}

} // namespace Orvex
