#include "undo/HistoryMenu.h"

#include <QAction>
#include <QActionGroup>
#include <QFont>
#include <QIcon>
#include <QMenu>

namespace Orvex {

namespace {

constexpr int TextLimit = 100;
// An entry ends with what it changed to, the part a user looks for, so a long one loses its middle.
constexpr int HeadKept = 36;
constexpr int TailKept = TextLimit - HeadKept - 3;
constexpr int CurrentEntryWeight = 75;

} // namespace

HistoryMenu::HistoryMenu(QMenu* a_menu, const QString& a_groupName) : m_menu(a_menu)
{
    m_menu->setToolTipsVisible(true);
    m_group = m_menu->findChild<QActionGroup*>(a_groupName, Qt::FindDirectChildrenOnly);
    if (!m_group) {
        m_group = new QActionGroup(m_menu);
        m_group->setObjectName(a_groupName);
    }
    m_group->setExclusive(true);
    const QList<QAction*> oldEntries = m_group->actions();
    for (QAction* entry : oldEntries) {
        m_menu->removeAction(entry);
        m_group->removeAction(entry);
        entry->deleteLater();
    }
}

std::pair<int, int> HistoryMenu::span(int a_count, int a_current)
{
    int first = qMin(a_current + EntriesAhead, a_count - 1);
    if (a_count >= Entries)
        first = qMax(first, Entries - 1);
    return {first, qMax(first - (Entries - 1), 0)};
}

QString HistoryMenu::shortened(const QString& a_text)
{
    return a_text.size() > TextLimit ? a_text.left(HeadKept) + QStringLiteral("...") + a_text.right(TailKept)
                                     : a_text;
}

QAction* HistoryMenu::addEntry(const QIcon& a_icon, const QString& a_text, const QString& a_toolTip)
{
    // Made for the group, which takes it in at once.
    auto* entry = new QAction(a_icon, a_text, m_group);
    entry->setToolTip(a_toolTip);
    entry->setCheckable(true);
    m_menu->addAction(entry);
    return entry;
}

void HistoryMenu::markCurrent(QAction* a_entry)
{
    a_entry->setChecked(true);
    QFont font = a_entry->font();
    font.setWeight(CurrentEntryWeight);
    a_entry->setFont(font);
}

} // namespace Orvex
