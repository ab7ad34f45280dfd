#include "app/WindowActions.h"

#include "elements/NavigationStack.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"

#include <QAbstractSpinBox>
#include <QAction>
#include <QApplication>
#include <QIcon>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>

namespace Orvex {

namespace {

// The given key first, then the platform's own keys for the same command, each once.
QList<QKeySequence> shortcutsOf(const QKeySequence& a_first, QKeySequence::StandardKey a_standard)
{
    QList<QKeySequence> keys;
    if (!a_first.isEmpty())
        keys << a_first;
    for (const QKeySequence& key : QKeySequence::keyBindings(a_standard)) {
        if (!keys.contains(key))
            keys << key;
    }
    return keys;
}

void fillHistoryButton(QToolButton* a_button, QMenu* a_menu, QAction* a_placeholder)
{
    if (a_menu->actions().isEmpty())
        a_menu->addAction(a_placeholder);
    // The button follows its one-step action; only the arrow needs the menu to have entries.
    if (a_button)
        a_button->setMenu(a_menu);
}

} // namespace

void WindowActions::fillChangesMenu(WindowElement* a_element)
{
    m_changesMenu->clear();
    if (a_element)
        a_element->undoRedoStack()->fillHistoryMenu(m_changesMenu);
    fillHistoryButton(m_changesButton, m_changesMenu, m_noChangesAction);
}

void WindowActions::fillHistoryMenu(WindowElement* a_element)
{
    m_historyMenu->clear();
    if (a_element)
        a_element->navigationStack()->fillHistoryMenu(m_historyMenu);
    fillHistoryButton(m_historyButton, m_historyMenu, m_noHistoryAction);
}

bool WindowActions::passesUndoKey(const QWidget* a_window, QObject* a_watched, QEvent* a_event) const
{
    if (a_event->type() != QEvent::ShortcutOverride || !a_watched->isWidgetType())
        return false;
    auto* field = static_cast<QWidget*>(a_watched);
    if (field->window() != a_window ||
        (!qobject_cast<QLineEdit*>(field) && !qobject_cast<QAbstractSpinBox*>(field)))
        return false;
    const auto* key = static_cast<const QKeyEvent*>(a_event);
    const QKeySequence pressed(int(key->modifiers()) | key->key());
    for (const QAction* action : {m_undoAction, m_redoAction}) {
        if (action && action->isEnabled() && action->shortcuts().contains(pressed)) {
            // Left unaccepted, the key goes on to the window's shortcuts.
            a_event->ignore();
            return true;
        }
    }
    return false;
}

void WindowActions::finishFieldEdit(const QWidget* a_window)
{
    QWidget* focus = QApplication::focusWidget();
    if (!focus || focus->window() != a_window)
        return;
    if (auto* spinBox = qobject_cast<QAbstractSpinBox*>(focus)) {
        if (spinBox->hasAcceptableInput()) {
            spinBox->interpretText();
            emit spinBox->editingFinished();
        }
    } else if (auto* edit = qobject_cast<QLineEdit*>(focus); edit && !edit->isReadOnly()) {
        if (edit->hasAcceptableInput())
            emit edit->editingFinished();
    }
}

WindowActions WindowActions::create(QMainWindow* a_window, QMenu* a_boardMenu, QMenu* a_recentMenu)
{
    WindowActions actions;

    const auto make = [a_window](const QString& a_text, const QString& a_toolTip,
                                 const QList<QKeySequence>& a_keys, const QIcon& a_icon = QIcon()) {
        auto* action = new QAction(a_icon, a_text, a_window);
        if (!a_toolTip.isEmpty())
            action->setToolTip(a_toolTip);
        action->setShortcuts(a_keys);
        // The window's shortcuts must work wherever the focus is, docks included.
        action->setShortcutContext(Qt::WindowShortcut);
        return action;
    };
    QStyle* appStyle = a_window->style();

    actions.m_openAction = make(QStringLiteral("&Open..."), QStringLiteral("File Open"),
                                shortcutsOf(QKeySequence(QStringLiteral("Ctrl+O")), QKeySequence::Open),
                                appStyle->standardIcon(QStyle::SP_DialogOpenButton));
    actions.m_saveAction = make(QStringLiteral("&Save"), QStringLiteral("File Save"),
                                shortcutsOf(QKeySequence(QStringLiteral("Ctrl+S")), QKeySequence::Save),
                                appStyle->standardIcon(QStyle::SP_DialogSaveButton));
    actions.m_saveAsAction =
        make(QStringLiteral("Save &As..."), QStringLiteral("File Save As"),
             shortcutsOf(QKeySequence(QStringLiteral("Ctrl+Alt+S")), QKeySequence::SaveAs));
    actions.m_closeAction = make(QStringLiteral("&Close"), QStringLiteral("File Close"),
                                 shortcutsOf(QKeySequence(QStringLiteral("Ctrl+W")), QKeySequence::Close),
                                 appStyle->standardIcon(QStyle::SP_DialogCloseButton));
    actions.m_newWindowAction =
        make(QStringLiteral("&New Window..."), QString(), shortcutsOf({}, QKeySequence::New));
    actions.m_extraDataAction = make(QStringLiteral("&Extra Data..."),
                                     QStringLiteral("View extra data found in the input LUMEX file."), {});
    actions.m_quitAction = make(QStringLiteral("&Quit"), QString(), {QKeySequence(QStringLiteral("Ctrl+Q"))});
    actions.m_quitAction->setMenuRole(QAction::QuitRole);
    actions.m_aboutQtAction = make(QStringLiteral("&About Qt..."), QString(), {});
    actions.m_aboutQtAction->setMenuRole(QAction::AboutQtRole);
    actions.m_lgplAction = make(QStringLiteral("Qt &LGPL Licensing..."), QString(), {});
    actions.m_aboutAction = make(QStringLiteral("About &Orvex..."), QString(), {}, a_window->windowIcon());
    actions.m_aboutAction->setMenuRole(QAction::AboutRole);

    actions.m_undoAction = make(QStringLiteral("&Undo"), QString(),
                                shortcutsOf(QKeySequence(QStringLiteral("Ctrl+Z")), QKeySequence::Undo),
                                QIcon(QStringLiteral(":/icons/Undo.png")));
    actions.m_redoAction = make(QStringLiteral("&Redo"), QString(),
                                shortcutsOf(QKeySequence(QStringLiteral("Ctrl+Y")), QKeySequence::Redo),
                                QIcon(QStringLiteral(":/icons/Redo.png")));
    actions.m_backAction = make(QStringLiteral("Go &Back"), QString(),
                                shortcutsOf(QKeySequence(QStringLiteral("Alt+Left")), QKeySequence::Back),
                                appStyle->standardIcon(QStyle::SP_ArrowBack));
    actions.m_forwardAction =
        make(QStringLiteral("Go &Forward"), QString(),
             shortcutsOf(QKeySequence(QStringLiteral("Alt+Right")), QKeySequence::Forward),
             appStyle->standardIcon(QStyle::SP_ArrowForward));
    actions.m_previewAction =
        make(QStringLiteral("Acquisition &Preview"),
             QStringLiteral("Open an acquisition preview for the current camera file and mode."),
             {QKeySequence(QStringLiteral("F5"))}, appStyle->standardIcon(QStyle::SP_MediaPlay));

    actions.m_cloneAction =
        make(QStringLiteral("&Clone"), QString(), {QKeySequence(QStringLiteral("Ctrl++"))});
    actions.m_deleteAction =
        make(QStringLiteral("&Delete"), QString(), {QKeySequence(QStringLiteral("Ctrl+-"))});
    actions.m_moveUpAction =
        make(QStringLiteral("Move &Up"), QString(), {QKeySequence(QStringLiteral("Ctrl+Up"))});
    actions.m_moveDownAction =
        make(QStringLiteral("Move &Down"), QString(), {QKeySequence(QStringLiteral("Ctrl+Down"))});
    actions.m_renameAction =
        make(QStringLiteral("&Rename..."), QString(), {QKeySequence(QStringLiteral("F2"))});

    actions.m_noHistoryAction = make(QStringLiteral("No Recent History"), QString(), {});
    actions.m_noHistoryAction->setEnabled(false);
    actions.m_noChangesAction = make(QStringLiteral("No Recent Changes"), QString(), {});
    actions.m_noChangesAction->setEnabled(false);

    for (QAction* action :
         {actions.m_openAction, actions.m_saveAction, actions.m_saveAsAction, actions.m_closeAction,
          actions.m_newWindowAction, actions.m_quitAction, actions.m_undoAction, actions.m_redoAction,
          actions.m_backAction, actions.m_forwardAction, actions.m_previewAction, actions.m_cloneAction,
          actions.m_deleteAction, actions.m_moveUpAction, actions.m_moveDownAction, actions.m_renameAction})
        a_window->addAction(action);

    QMenuBar* bar = a_window->menuBar();

    QMenu* orvexMenu = bar->addMenu(QStringLiteral("&Orvex"));
    orvexMenu->addAction(actions.m_aboutAction);
    orvexMenu->addAction(actions.m_newWindowAction);
    orvexMenu->addSeparator();
    orvexMenu->addAction(actions.m_aboutQtAction);
    orvexMenu->addAction(actions.m_lgplAction);
    orvexMenu->addSeparator();
    orvexMenu->addAction(actions.m_quitAction);

    QMenu* fileMenu = bar->addMenu(QStringLiteral("&File"));
    fileMenu->setToolTipsVisible(true);
    fileMenu->addAction(actions.m_openAction);
    fileMenu->addMenu(a_boardMenu);
    fileMenu->addMenu(a_recentMenu);
    fileMenu->addSeparator();
    fileMenu->addAction(actions.m_saveAction);
    fileMenu->addAction(actions.m_saveAsAction);
    fileMenu->addSeparator();
    fileMenu->addAction(actions.m_extraDataAction);
    fileMenu->addSeparator();
    fileMenu->addAction(actions.m_closeAction);

    // Where users look for undo first; the history of changes stands beside it.
    QMenu* editMenu = bar->addMenu(QStringLiteral("&Edit"));
    editMenu->setToolTipsVisible(true);
    actions.m_editMenu = editMenu;
    actions.m_changesMenu = new QMenu(QStringLiteral("Recent Changes"), a_window);
    actions.m_changesMenu->setIcon(QIcon(QStringLiteral(":/icons/Undo.png")));
    editMenu->addAction(actions.m_undoAction);
    editMenu->addAction(actions.m_redoAction);
    editMenu->addMenu(actions.m_changesMenu);
    // The find and compare actions follow the separator (see WindowFind).
    editMenu->addSeparator();

    QMenu* actionsMenu = bar->addMenu(QStringLiteral("&Actions"));
    actionsMenu->setToolTipsVisible(true);
    actions.m_historyMenu = new QMenu(QStringLiteral("Recent &History"), a_window);
    actions.m_historyMenu->setIcon(a_window->style()->standardIcon(QStyle::SP_ArrowBack));
    actionsMenu->addAction(actions.m_backAction);
    actionsMenu->addAction(actions.m_forwardAction);
    actionsMenu->addMenu(actions.m_historyMenu);
    actionsMenu->addSeparator();
    actionsMenu->addAction(actions.m_previewAction);

    QMenu* modeMenu = bar->addMenu(QStringLiteral("&Mode"));
    modeMenu->addAction(actions.m_cloneAction);
    modeMenu->addAction(actions.m_deleteAction);
    modeMenu->addSeparator();
    modeMenu->addAction(actions.m_moveUpAction);
    modeMenu->addAction(actions.m_moveDownAction);
    modeMenu->addSeparator();
    modeMenu->addAction(actions.m_renameAction);

    QToolBar* tools = a_window->addToolBar(QStringLiteral("Orvex Tools"));
    tools->setObjectName(QStringLiteral("OrvexTools"));
    tools->addAction(actions.m_openAction);
    tools->addAction(actions.m_saveAction);
    tools->addSeparator();
    tools->addAction(actions.m_forwardAction);
    tools->addSeparator();
    tools->addAction(actions.m_redoAction);
    tools->addSeparator();
    tools->addAction(actions.m_previewAction);

    // Back and undo stand in the tool bar as buttons that go one step when clicked, as the keys do, and
    // open their history menu from the arrow; the first entry of a history menu is the current state,
    // so running it on a click would do nothing.
    const auto menuButton = [tools](const QString& a_name, QAction* a_step, QMenu* a_menu,
                                    QAction* a_before) {
        auto* button = new QToolButton(tools);
        button->setObjectName(a_name);
        button->setDefaultAction(a_step);
        button->setMenu(a_menu);
        button->setPopupMode(QToolButton::MenuButtonPopup);
        tools->insertWidget(a_before, button);
        return button;
    };
    actions.m_historyButton = menuButton(QStringLiteral("RecentHistoryButton"), actions.m_backAction,
                                         actions.m_historyMenu, actions.m_forwardAction);
    actions.m_changesButton = menuButton(QStringLiteral("RecentChangesButton"), actions.m_undoAction,
                                         actions.m_changesMenu, actions.m_redoAction);
    actions.m_toolBar = tools;
    return actions;
}

} // namespace Orvex
