#pragma once

#include <QPointer>

class QAction;
class QEvent;
class QMainWindow;
class QObject;
class QWidget;
class QMenu;
class QToolBar;
class QToolButton;

namespace Orvex {

class WindowElement;

// The main window's actions with their texts, tool tips, shortcuts and icons, its menus and its tool
// bar. What each action runs is wired by the window.
struct WindowActions
{
    // Creates the actions as children of a_window, the menus of its menu bar (with the two file menus
    // given as its "Open From &Board" and "Open &Recent" submenus) and the "Orvex Tools" tool bar.
    static WindowActions create(QMainWindow* a_window, QMenu* a_boardMenu, QMenu* a_recentMenu);

    // Refills the two history menus (undo/redo and back/forward) and their tool bar buttons from the
    // window element's stacks; without one they only hold their placeholders.
    void fillChangesMenu(WindowElement* a_element);
    void fillHistoryMenu(WindowElement* a_element);

    // For the window's application-wide event filter: true for the undo and redo keys asked of a text
    // or number field in a_window, which would otherwise keep them for their own typing history, so
    // that the window's actions get them.
    bool passesUndoKey(const QWidget* a_window, QObject* a_watched, QEvent* a_event) const;
    // Finishes the edit of the text or number field that has the focus in a_window, as leaving the field
    // would, so that an undo that follows undoes a step the user can see; text the field does not take
    // stays as it is.
    static void finishFieldEdit(const QWidget* a_window);

    QAction* m_openAction = nullptr;
    QAction* m_saveAction = nullptr;
    QAction* m_saveAsAction = nullptr;
    QAction* m_closeAction = nullptr;
    QAction* m_newWindowAction = nullptr;
    QAction* m_extraDataAction = nullptr;
    QAction* m_quitAction = nullptr;
    QAction* m_aboutQtAction = nullptr;
    QAction* m_lgplAction = nullptr;
    QAction* m_aboutAction = nullptr;
    QAction* m_undoAction = nullptr;
    QAction* m_redoAction = nullptr;
    QAction* m_backAction = nullptr;
    QAction* m_forwardAction = nullptr;
    QAction* m_previewAction = nullptr;
    QAction* m_cloneAction = nullptr;
    QAction* m_deleteAction = nullptr;
    QAction* m_moveUpAction = nullptr;
    QAction* m_moveDownAction = nullptr;
    QAction* m_renameAction = nullptr;
    // Disabled placeholders of the two history menus while they have no entries.
    QAction* m_noHistoryAction = nullptr;
    QAction* m_noChangesAction = nullptr;

    QPointer<QMenu> m_editMenu;
    QPointer<QMenu> m_changesMenu;
    QPointer<QMenu> m_historyMenu;
    QPointer<QToolBar> m_toolBar;
    // The tool bar buttons of Go Back and Undo, whose arrows open the "Recent &History" and "Recent
    // Changes" menus.
    QPointer<QToolButton> m_historyButton;
    QPointer<QToolButton> m_changesButton;
};

} // namespace Orvex
