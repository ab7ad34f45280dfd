#pragma once

#include <QString>

#include <utility>

class QAction;
class QActionGroup;
class QIcon;
class QMenu;

namespace Orvex {

// Fills a history menu the way the undo history and the navigation history share: at most twenty entries,
// newest first, with up to ten beyond the current one; checkable entries in one exclusive group per menu;
// long texts cut short; the current entry checked and in bold. A menu is refilled from within its own
// entries' triggered(), so the entries belong to the menu's group rather than to the menu: clearing the
// menu only takes them out, and the next fill deletes them once the event loop gets back.
class HistoryMenu
{
public:
    static constexpr int Entries = 20;
    static constexpr int EntriesAhead = 10;

    // Takes the menu's group named a_groupName, made on the first fill, so that refilling a cleared
    // menu does not pile up groups. The entries of the previous fill leave the menu now and are
    // deleted later.
    HistoryMenu(QMenu* a_menu, const QString& a_groupName);

    // The newest and the oldest position listed of a history of a_count entries whose current entry is at
    // a_current (-1 for before the first). Once the history is long enough the menu is always full.
    static std::pair<int, int> span(int a_count, int a_current);
    // a_text cut to what a menu line holds: its start and its end (the new value) with "..." between.
    static QString shortened(const QString& a_text);

    // A checkable entry in the menu's group; a null icon shows none.
    QAction* addEntry(const QIcon& a_icon, const QString& a_text, const QString& a_toolTip);
    static void markCurrent(QAction* a_entry);

private:
    QMenu* m_menu;
    QActionGroup* m_group;
};

} // namespace Orvex
