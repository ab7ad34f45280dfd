#include "app/Window.h"

#include "app/AboutOrvexDialog.h"
#include "app/CameraModeActions.h"
#include "app/CameraTreeModel.h"
#include "app/FeatureNavigator.h"
#include "app/LumexExtraDataDialog.h"
#include "app/NewWindowLauncher.h"
#include "app/ProblemsDock.h"
#include "app/QNQtLgplDialog.h"
#include "app/RecentlyOpenedFilesSource.h"
#include "app/Startup.h"
#include "app/WindowActions.h"
#include "app/WindowDocumentsPage.h"
#include "app/WindowFind.h"
#include "app/WindowFocusOrder.h"
#include "board/QNBrdAttachedFilesSource.h"
#include "board/QNBrdDataSource.h"
#include "elements/CameraElement.h"
#include "elements/CategoryElementBase.h"
#include "elements/DocumentHost.h"
#include "elements/ModeElement.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"
#include "fileio/CameraFileSession.h"
#include "platform/DocumentFileWatcher.h"
#include "widgets/DragMenu.h"
#include "widgets/FocusRing.h"
#include "widgets/QuietTabWidget.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QDockWidget>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QSettings>
#include <QShortcut>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

namespace Orvex {

namespace {

constexpr int TitleFolderLimit = 32;
constexpr int InitialWidth = 1200;
constexpr int InitialHeight = 800;

const QString s_appName = QStringLiteral("Orvex");

} // namespace

Window::Window(QWidget* a_parent) : QMainWindow(a_parent)
{
    Startup::initResources();
    setObjectName(QStringLiteral("OrvexWindow"));
    setWindowTitle(s_appName);
    setWindowIcon(QIcon(QStringLiteral(":/icons/OrvexLogo.ico")));
    setAcceptDrops(true);
    setDockOptions(dockOptions() | QMainWindow::AnimatedDocks);

    m_watcher = new DocumentFileWatcher(this);
    m_recentMenu = new DragMenu(QStringLiteral("Open &Recent"), this);
    m_boardMenu = new DragMenu(QStringLiteral("Open From &Board"), this);
    m_recentSource = new RecentlyOpenedFilesSource(m_recentMenu, this);
    m_attachedSource = new QNBrdAttachedFilesSource(m_boardMenu, this);
    m_extraDataDialog = new LumexExtraDataDialog(this);
    m_aboutDialog = new AboutOrvexDialog(this);
    m_lgplDialog = new QNQtLgplDialog(this);
    m_treeModel = new CameraTreeModel(this, this);
    m_host = new DocumentHost(this);
    m_session = new CameraFileSession(m_host, this);
    m_navigator = new FeatureNavigator(this);

    createActions();
    createCentralPages();
    createDock();
    m_find = new WindowFind(this, m_navigator);
    m_find->addActionsTo(m_actions.m_editMenu);
    createShortcuts();
    connectSources();
    qApp->installEventFilter(this);
    m_focusRing = new FocusRing(this);

    resize(InitialWidth, InitialHeight);
    QSettings settings;
    const QVariant geometry = settings.value(QLatin1String(geometryKey));
    if (geometry.canConvert<QByteArray>())
        restoreGeometry(geometry.toByteArray());
    const QVariant state = settings.value(QLatin1String(windowStateKey));
    if (state.canConvert<QByteArray>())
        restoreState(state.toByteArray());

    setUndoRedoEnabled(false, false);
    setBackForwardEnabled(false, false);
    // Filled once now, so that the tool bar buttons have their menus and arrows from the start.
    fillStaleHistoryMenus();
    for (QMenu* menu : {m_actions.m_changesMenu.data(), m_actions.m_historyMenu.data()})
        connect(menu, &QMenu::aboutToShow, this, &Window::fillStaleHistoryMenus);
    showDocumentsPage();
    updateDocumentState();
    updateModeActions();
}

Window::~Window()
{
    qApp->removeEventFilter(this);
    delete m_focusRing;
    closePreviews();
    storeGeometry();
    m_treeModel->setWindowElement(nullptr);
    m_find->setWindowElement(nullptr);
    parkTabPages();
    m_session->disconnect(this);
    m_session->close();
}

void Window::setConfigPath(const QString& a_path)
{
    m_configPath = a_path;
    m_attachedSource->setConfigPath(a_path);
}

bool Window::hasDocument() const
{
    return windowElement();
}

WindowElement* Window::windowElement() const
{
    return m_session->windowElement();
}

LumexTree* Window::documentTree() const
{
    return m_session->tree();
}

CameraTreeModel* Window::cameraTreeModel() const
{
    return m_treeModel;
}

QTreeView* Window::cameraTreeView() const
{
    return m_treeView;
}

QTabWidget* Window::categoryTabs() const
{
    return m_tabs;
}

QLabel* Window::nameLabel() const
{
    return m_nameLabel;
}

WindowDocumentsPage* Window::documentsPage() const
{
    return m_documentsPage;
}

LumexExtraDataDialog* Window::extraDataDialog() const
{
    return m_extraDataDialog;
}

QNBrdDataSource* Window::boardDataSource() const
{
    return m_dataSource;
}

bool Window::isDocumentModified() const
{
    return windowElement() && windowElement()->undoRedoStack()->isStateChanged();
}

bool Window::isDocumentsPageShown() const
{
    return m_centralStack->currentWidget() == m_documentsPage;
}

CategoryElementBase* Window::tabCategory(int a_index) const
{
    return m_tabCategories.value(a_index).data();
}

QString Window::titleFor(const QString& a_documentPath)
{
    if (a_documentPath.isEmpty())
        return s_appName;
    const QFileInfo info(a_documentPath);
    QString folder = QFileInfo(info.absolutePath()).canonicalFilePath();
    if (folder.isEmpty())
        folder = info.absolutePath();
    folder = QDir::toNativeSeparators(folder);
    if (folder.size() > TitleFolderLimit)
        folder = folder.left(TitleFolderLimit) + QStringLiteral("...");
    const QString separator = QString(QDir::separator());
    QString shown = folder + separator + info.fileName();
    // Not a regular expression: the title is made again after every edit, undo and redo, and compiling
    // one each time cost more than the rest of an undo.
    const QString doubled = separator + separator;
    while (shown.contains(doubled))
        shown.replace(doubled, separator);
    return s_appName + QStringLiteral(" (") + shown + QLatin1Char(')');
}

void Window::createActions()
{
    m_actions = WindowActions::create(this, m_boardMenu, m_recentMenu);

    connect(m_actions.m_openAction, &QAction::triggered, this, &Window::open);
    connect(m_actions.m_saveAction, &QAction::triggered, this, &Window::save);
    connect(m_actions.m_saveAsAction, &QAction::triggered, this, &Window::saveAs);
    connect(m_actions.m_closeAction, &QAction::triggered, this, &Window::closeDocument);
    connect(m_actions.m_newWindowAction, &QAction::triggered, this, &Window::openNewWindow);
    connect(m_actions.m_extraDataAction, &QAction::triggered, this, [this] {
        updateExtraDataDialog();
        m_extraDataDialog->exec();
    });
    connect(m_actions.m_quitAction, &QAction::triggered, this, &QWidget::close);
    connect(m_actions.m_aboutQtAction, &QAction::triggered, this, [this] { QMessageBox::aboutQt(this); });
    connect(m_actions.m_lgplAction, &QAction::triggered, m_lgplDialog.data(), &QDialog::exec);
    connect(m_actions.m_aboutAction, &QAction::triggered, m_aboutDialog.data(), &QDialog::exec);
    connect(m_actions.m_undoAction, &QAction::triggered, m_host, [this] {
        WindowActions::finishFieldEdit(this);
        m_host->undo();
    });
    connect(m_actions.m_redoAction, &QAction::triggered, m_host, [this] {
        WindowActions::finishFieldEdit(this);
        m_host->redo();
    });
    connect(m_actions.m_backAction, &QAction::triggered, m_host, &DocumentHost::back);
    connect(m_actions.m_forwardAction, &QAction::triggered, m_host, &DocumentHost::forward);
    connect(m_actions.m_previewAction, &QAction::triggered, this, &Window::openPreview);
    connect(m_actions.m_cloneAction, &QAction::triggered, m_treeModel.data(), &CameraTreeModel::cloneMode);
    connect(m_actions.m_deleteAction, &QAction::triggered, m_treeModel.data(), &CameraTreeModel::deleteMode);
    connect(m_actions.m_moveUpAction, &QAction::triggered, m_treeModel.data(), &CameraTreeModel::moveModeUp);
    connect(m_actions.m_moveDownAction, &QAction::triggered, m_treeModel.data(),
            &CameraTreeModel::moveModeDown);
    connect(m_actions.m_renameAction, &QAction::triggered, m_treeModel.data(),
            &CameraTreeModel::editModeName);

    // The board whose registers the register features offer, and the one a preview opens first.
    QMenuBar* bar = menuBar();
    auto* corner = new QWidget(bar);
    corner->setObjectName(QStringLiteral("BoardCornerWidget"));
    auto* cornerLayout = new QHBoxLayout(corner);
    cornerLayout->setContentsMargins(4, 0, 4, 0);
    auto* boardLabel = new QLabel(QStringLiteral("Board:"), corner);
    m_dataSource = new QNBrdDataSource(corner);
    m_dataSource->setToolTip(QStringLiteral("The frame grabber whose registers the editor reads and writes, "
                                            "and on which an acquisition preview opens."));
    boardLabel->setBuddy(m_dataSource);
    cornerLayout->addWidget(boardLabel);
    cornerLayout->addWidget(m_dataSource);
    bar->setCornerWidget(corner, Qt::TopRightCorner);
    new CameraModeActions(this, m_actions.m_previewAction, m_dataSource, [this]() -> ModeElement* {
        WindowElement* element = windowElement();
        return element && element->camera() ? element->camera()->currentMode() : nullptr;
    });
}

void Window::createDock()
{
    auto* dock = new QDockWidget(QStringLiteral("Camera and Modes"), this);
    dock->setObjectName(QStringLiteral("CameraAndModesDock"));
    dock->setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
    dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);

    auto* content = new QWidget(dock);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(4, 4, 4, 4);

    m_treeView = new QTreeView(content);
    m_treeView->setObjectName(QStringLiteral("CameraTreeView"));
    m_treeView->setModel(m_treeModel);
    QItemSelectionModel* ownSelection = m_treeView->selectionModel();
    m_treeView->setSelectionModel(m_treeModel->selectionModel());
    delete ownSelection;
    m_treeView->setHeaderHidden(true);
    m_treeView->setSelectionMode(QAbstractItemView::SingleSelection);
    m_treeView->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked);
    m_treeView->setDragEnabled(true);
    m_treeView->setDragDropMode(QAbstractItemView::DragDrop);
    m_treeView->setDefaultDropAction(Qt::CopyAction);
    m_treeView->setUniformRowHeights(true);
    // Tab leaves the tree for the page instead of walking its rows.
    m_treeView->setTabKeyNavigation(false);
    layout->addWidget(m_treeView);

    auto* buttons = new QGridLayout;
    const QList<QPair<QString, QAction*>> buttonActions{
        {QStringLiteral("Clone"), m_actions.m_cloneAction},
        {QStringLiteral("Delete"), m_actions.m_deleteAction},
        {QStringLiteral("Move Up"), m_actions.m_moveUpAction},
        {QStringLiteral("Move Down"), m_actions.m_moveDownAction}};
    for (int i = 0; i < buttonActions.size(); ++i) {
        auto* button = new QPushButton(buttonActions.at(i).first, content);
        button->setToolTip(
            buttonActions.at(i).second->text().remove(QLatin1Char('&')) + QStringLiteral(" (") +
            buttonActions.at(i).second->shortcut().toString(QKeySequence::NativeText) + QLatin1Char(')'));
        connect(button, &QPushButton::clicked, buttonActions.at(i).second, &QAction::trigger);
        buttons->addWidget(button, i / 2, i % 2);
        m_modeButtons << button;
    }
    layout->addLayout(buttons);

    dock->setWidget(content);
    addDockWidget(Qt::LeftDockWidgetArea, dock);

    m_problemsDock = new ProblemsDock(m_navigator, this);
    m_problemsDock->setAllowedAreas(Qt::BottomDockWidgetArea | Qt::LeftDockWidgetArea |
                                    Qt::RightDockWidgetArea);
    m_problemsDock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable |
                                QDockWidget::DockWidgetClosable);
    addDockWidget(Qt::BottomDockWidgetArea, m_problemsDock);
    statusBar()->addPermanentWidget(m_problemsDock->statusLabel());

    connect(m_treeModel, &CameraTreeModel::treeChanged, this, &Window::updateModeActions);
    connect(m_treeModel, &CameraTreeModel::labelsChanged, this, &Window::updateModeTabLabel);
    connect(m_treeModel, &CameraTreeModel::editRequested, m_treeView.data(),
            [this](const QModelIndex& a_index) { m_treeView->edit(a_index); });
    // Once the refused editor has closed: the user corrects what they typed instead of typing it again.
    connect(m_treeModel, &CameraTreeModel::renameRefused, m_treeView.data(),
            [this](const QModelIndex& a_index, const QString& a_typed) {
                const QPersistentModelIndex index(a_index);
                QTimer::singleShot(0, m_treeView.data(), [this, index, a_typed] {
                    if (!index.isValid())
                        return;
                    m_treeView->edit(index);
                    for (QLineEdit* editor : m_treeView->viewport()->findChildren<QLineEdit*>()) {
                        editor->setText(a_typed);
                        editor->selectAll();
                    }
                });
            });
    connect(m_treeModel->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &Window::onModeChanged);
}

void Window::createCentralPages()
{
    m_centralStack = new QStackedWidget(this);
    m_documentsPage = new WindowDocumentsPage(m_recentSource, m_attachedSource, m_centralStack);
    connect(m_documentsPage, &WindowDocumentsPage::openRequested, this, &Window::open);
    m_centralStack->addWidget(m_documentsPage);

    m_editorPage = new QWidget(m_centralStack);
    m_editorPage->setObjectName(QStringLiteral("EditorPage"));
    auto* layout = new QVBoxLayout(m_editorPage);
    layout->setContentsMargins(0, 0, 0, 0);
    m_nameLabel = new QLabel(m_editorPage);
    m_nameLabel->setObjectName(QStringLiteral("NameLabel"));
    m_nameLabel->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    connect(m_nameLabel, &QLabel::linkActivated, this, &Window::onNameLabelLink);
    layout->addWidget(m_nameLabel);
    m_tabs = new QuietTabWidget(m_editorPage);
    m_tabs->setObjectName(QStringLiteral("CategoryTabs"));
    m_tabs->setDocumentMode(true);
    m_tabs->setUsesScrollButtons(true);
    connect(m_tabs, &QTabWidget::currentChanged, this, &Window::onCategoryChanged);
    layout->addWidget(m_tabs, 1);
    m_pageStore = new QWidget(m_editorPage);
    m_pageStore->setObjectName(QStringLiteral("CategoryPageStore"));
    m_pageStore->hide();
    m_centralStack->addWidget(m_editorPage);

    setCentralWidget(m_centralStack);
}

void Window::createShortcuts()
{
    // A key that an action holds already would make both ambiguous, and neither would fire.
    QList<QKeySequence> taken;
    for (const QAction* action : actions())
        taken << action->shortcuts();
    const auto add = [this, &taken](const QKeySequence& a_key, auto a_slot) {
        if (taken.contains(a_key))
            return;
        taken << a_key;
        auto* shortcut = new QShortcut(a_key, this);
        connect(shortcut, &QShortcut::activated, this, a_slot);
    };
    for (const QKeySequence& key : QKeySequence::keyBindings(QKeySequence::NextChild))
        add(key, &Window::selectNextCategory);
    for (const QKeySequence& key : QKeySequence::keyBindings(QKeySequence::PreviousChild))
        add(key, &Window::selectPrevCategory);
    add(QKeySequence(QStringLiteral("Ctrl+PgDown")), &Window::selectNextMode);
    add(QKeySequence(QStringLiteral("Ctrl+PgUp")), &Window::selectPrevMode);
    const QKeySequence shiftRedo(QStringLiteral("Ctrl+Shift+Z"));
    if (!QKeySequence::keyBindings(QKeySequence::Redo).contains(shiftRedo))
        add(shiftRedo, [this] { emit m_host->redo(); });
}

void Window::connectSources()
{
    connect(m_attachedSource, &QNBrdAttachedFilesSource::attachedFilesChanged, m_documentsPage.data(),
            &WindowDocumentsPage::rebuild);
    // The recent files' part of the page refills itself (RecentlyOpenedFilesSource::documentsPageWidget):
    // rebuilding the whole page for it as well built the list twice after every open and save.
    connect(m_attachedSource, &QNBrdAttachedFilesSource::fileSelected, this, &Window::openFile);
    connect(m_recentSource, &RecentlyOpenedFilesSource::fileSelected, this,
            [this](const QString& a_path) { openFile(a_path); });
    connect(m_watcher, &DocumentFileWatcher::fileChanged, this, &Window::onFileChanged);
    connect(m_host, &DocumentHost::documentStateChanged, this, &Window::updateDocumentState);
    connect(m_host, &DocumentHost::undoRedoEnabledChanged, this, &Window::setUndoRedoEnabled);
    connect(m_host, &DocumentHost::backForwardEnabledChanged, this, &Window::setBackForwardEnabled);
    connect(m_host, &DocumentHost::cameraPageRequested, this, &Window::setCameraMode);
    connect(m_host, &DocumentHost::modePageRequested, this, &Window::setMode);
    connect(m_host, &DocumentHost::categoryPageRequested, this, &Window::setModeCategory);
    m_session->setBoardDataSource(m_dataSource);
    // Only boards of the file's standard can run its camera.
    connect(m_session, &CameraFileSession::documentClosing, this, &Window::releaseDocument);
    connect(m_session, &CameraFileSession::standardDetermined, m_dataSource.data(), [this](int a_standard) {
        m_dataSource->setFilter((a_standard == CameraElement::StandardCoaXPress
                                     ? BoardTypes(BoardType::CoaXPress)
                                     : BoardTypes(BoardType::CameraLink)) |
                                BoardType::Camera);
    });
}

void Window::openNewWindow()
{
    storeGeometry();
    NewWindowLauncher::launch(this, m_configPath, m_cxpXsdPath, m_clXsdPath);
}

void Window::closeEvent(QCloseEvent* a_event)
{
    if (!settleDocumentState()) {
        a_event->ignore();
        return;
    }
    a_event->accept();
}

bool Window::eventFilter(QObject* a_watched, QEvent* a_event)
{
    if (m_actions.passesUndoKey(this, a_watched, a_event))
        return true;
    if (a_event->type() == QEvent::MouseButtonPress && a_watched->isWidgetType() &&
        static_cast<QWidget*>(a_watched)->window() == this) {
        const auto* mouse = static_cast<QMouseEvent*>(a_event);
        if (mouse->button() == Qt::BackButton) {
            emit m_host->back();
            return true;
        }
        if (mouse->button() == Qt::ForwardButton) {
            emit m_host->forward();
            return true;
        }
    }
    return QMainWindow::eventFilter(a_watched, a_event);
}

bool Window::focusNextPrevChild(bool a_next)
{
    QList<QWidget*> buttons;
    for (QPushButton* button : m_modeButtons)
        buttons << button;
    const WindowFocusOrder order(m_treeView, m_tabs ? m_tabs->tabBar() : nullptr,
                                 m_tabs ? m_tabs->currentWidget() : nullptr, buttons);
    if (QWidget* target = order.next(QApplication::focusWidget(), a_next)) {
        target->setFocus(a_next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
        return true;
    }
    return QMainWindow::focusNextPrevChild(a_next);
}

void Window::storeGeometry()
{
    QSettings settings;
    settings.setValue(QLatin1String(geometryKey), saveGeometry());
    settings.setValue(QLatin1String(windowStateKey), saveState());
}

} // namespace Orvex
