#include "app/Window.h"

#include "app/AboutOrvexDialog.h"
#include "app/CameraTreeModel.h"
#include "app/LumexExtraDataDialog.h"
#include "app/QNQtLgplDialog.h"
#include "app/RecentlyOpenedFilesSource.h"
#include "app/Startup.h"
#include "app/WindowActions.h"
#include "app/WindowDocumentsPage.h"
#include "board/PreviewAcqIf.h"
#include "board/QNBrdAttachedFilesSource.h"
#include "board/QNBrdDataSource.h"
#include "board/QNBrdModeOpenDialog.h"
#include "board/ViewportWindowQt.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/NavigationStack.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"
#include "fileio/CameraFileSession.h"
#include "model/ExceptionBase.h"
#include "model/LumexTree.h"
#include "model/OperationCanceledException.h"
#include "platform/QNExceptionBase.h"
#include "widgets/DialogSeam.h"
#include "widgets/DragMenu.h"
#include "widgets/ProgressStepper.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QCryptographicHash>
#include <QDir>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QMouseEvent>
#include <QProcess>
#include <QProgressDialog>
#include <QPushButton>
#include <QRegularExpression>
#include <QScopedValueRollback>
#include <QSettings>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QStyle>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QUrl>
#include <QVBoxLayout>

#include <memory>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#include <shellapi.h>
#endif

namespace Orvex {

namespace {

constexpr int TitleFolderLimit = 32;
constexpr int ProgressMaximum = 100;
constexpr int InitialWidth = 1200;
constexpr int InitialHeight = 800;

const QString s_appName = QStringLiteral("Orvex");
const QString s_lumexFilter = QStringLiteral("LUMEX Camera File (*.lumex)");
const QString s_lumexSuffix = QStringLiteral(".lumex");
const QString s_progressTitle = QStringLiteral("File Load Progress");
const QString s_wrappingUp = QStringLiteral("<html>Wrapping things up</html>");
const QString s_defaultModeName = QStringLiteral("Default");
const QString s_globalTabText = QStringLiteral("Global Features");
const QString s_linkStyle = QStringLiteral("style=\"color:black;text-decoration:none\"");

// The exception text for a rich-text message: HTML as it comes (the markup library's diagnostics
// are an HTML list), anything else escaped.
QString messageHtml(const std::exception& a_exception)
{
    const QString text = QString::fromUtf8(a_exception.what());
    if (text.contains(QLatin1String("<ol>")) || text.contains(QLatin1String("<p>")))
        return text;
    return QStringLiteral("<p>") + text.toHtmlEscaped() + QStringLiteral("</p>");
}

} // namespace

Window::Window(QWidget* a_parent) : QMainWindow(a_parent)
{
    Startup::initResources();
    setObjectName(QStringLiteral("OrvexWindow"));
    setWindowTitle(s_appName);
    setWindowIcon(QIcon(QStringLiteral(":/icons/OrvexLogo.ico")));
    setAcceptDrops(true);
    setDockOptions(dockOptions() | QMainWindow::AnimatedDocks);

    m_watcher = new QFileSystemWatcher(this);
    m_recentMenu = new DragMenu(QStringLiteral("Open &Recent"), this);
    m_boardMenu = new DragMenu(QStringLiteral("Open From &Board"), this);
    m_recentSource = new RecentlyOpenedFilesSource(m_recentMenu, this);
    m_attachedSource = new QNBrdAttachedFilesSource(m_boardMenu, this);
    m_extraDataDialog = new LumexExtraDataDialog(this);
    m_aboutDialog = new AboutOrvexDialog(this);
    m_lgplDialog = new QNQtLgplDialog(this);
    m_treeModel = new CameraTreeModel(this, this);
    // The window element of every document wires itself to this window by signal and slot names.
    m_session = new CameraFileSession(this, this);

    createActions();
    createCentralPages();
    createDock();
    createShortcuts();
    connectSources();
    qApp->installEventFilter(this);

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
    showDocumentsPage();
    updateDocumentState();
    updateModeActions();
}

Window::~Window()
{
    qApp->removeEventFilter(this);
    storeGeometry();
    m_treeModel->setWindowElement(nullptr);
    parkTabPages();
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
    shown.replace(QRegularExpression(QRegularExpression::escape(separator) + QStringLiteral("+")), separator);
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
    connect(m_actions.m_undoAction, &QAction::triggered, this, &Window::doUndo);
    connect(m_actions.m_redoAction, &QAction::triggered, this, &Window::doRedo);
    connect(m_actions.m_backAction, &QAction::triggered, this, &Window::back);
    connect(m_actions.m_forwardAction, &QAction::triggered, this, &Window::forward);
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
    m_treeView->setDragDropMode(QAbstractItemView::DragOnly);
    m_treeView->setDefaultDropAction(Qt::CopyAction);
    m_treeView->setUniformRowHeights(true);
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

    connect(m_treeModel, &CameraTreeModel::treeChanged, this, &Window::updateModeActions);
    connect(m_treeModel, &CameraTreeModel::labelsChanged, this, &Window::updateModeTabLabel);
    connect(m_treeModel, &CameraTreeModel::editRequested, m_treeView.data(),
            [this](const QModelIndex& a_index) { m_treeView->edit(a_index); });
    connect(m_treeModel->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex&, const QModelIndex& a_previous) {
                onModeChanged(m_treeModel->modePosition(a_previous));
            });
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
    m_tabs = new QTabWidget(m_editorPage);
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
    const auto add = [this, &taken](const QKeySequence& a_key, void (Window::*a_slot)()) {
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
        add(shiftRedo, &Window::doRedo);
}

void Window::connectSources()
{
    connect(m_attachedSource, &QNBrdAttachedFilesSource::attachedFilesChanged, this,
            &Window::onDocumentsPageInvalidate);
    connect(m_recentSource, &RecentlyOpenedFilesSource::recentFilesChanged, this,
            &Window::onDocumentsPageInvalidate);
    connect(m_attachedSource, &QNBrdAttachedFilesSource::fileSelected, this, &Window::openFile);
    connect(m_recentSource, &RecentlyOpenedFilesSource::fileSelected, this,
            [this](const QString& a_path) { openFile(a_path); });
    connect(m_watcher, &QFileSystemWatcher::fileChanged, this, &Window::onFileChanged);
    m_session->setBoardDataSource(m_dataSource);
    // Only boards of the file's standard can run its camera.
    connect(m_session, &CameraFileSession::standardDetermined, m_dataSource.data(), [this](int a_standard) {
        m_dataSource->setFilter(a_standard == CameraElement::StandardCoaXPress
                                    ? BoardTypes(BoardType::CoaXPress)
                                    : BoardTypes(BoardType::CameraLink));
    });
}

void Window::setUndoRedoEnabled(bool a_undoEnabled, bool a_redoEnabled)
{
    m_actions.m_undoAction->setEnabled(a_undoEnabled && windowElement());
    m_actions.m_redoAction->setEnabled(a_redoEnabled && windowElement());
    m_actions.m_changesMenu->clear();
    if (windowElement())
        windowElement()->undoRedoStack()->fillHistoryMenu(m_actions.m_changesMenu);
    fillHistoryButton(m_actions.m_changesButton, m_actions.m_changesMenu, m_actions.m_noChangesAction);
}

void Window::setBackForwardEnabled(bool a_backEnabled, bool a_forwardEnabled)
{
    m_actions.m_backAction->setEnabled(a_backEnabled && windowElement());
    m_actions.m_forwardAction->setEnabled(a_forwardEnabled && windowElement());
    m_actions.m_historyMenu->clear();
    if (windowElement())
        windowElement()->navigationStack()->fillHistoryMenu(m_actions.m_historyMenu);
    fillHistoryButton(m_actions.m_historyButton, m_actions.m_historyMenu, m_actions.m_noHistoryAction);
}

void Window::fillHistoryButton(QToolButton* a_button, QMenu* a_menu, QAction* a_placeholder)
{
    const bool empty = a_menu->actions().isEmpty();
    if (empty)
        a_menu->addAction(a_placeholder);
    if (!a_button)
        return;
    QAction* first = a_menu->actions().value(0);
    if (!empty && first && first->isEnabled()) {
        a_button->setDefaultAction(first);
        a_button->setMenu(a_menu);
        a_button->setPopupMode(QToolButton::MenuButtonPopup);
        // Entries without an icon would turn the button into a long text in the tool bar.
        if (first->icon().isNull())
            a_button->setIcon(a_menu->icon());
    } else {
        a_button->setDefaultAction(nullptr);
        a_button->setMenu(a_menu);
        a_button->setIcon(a_menu->icon());
        a_button->setText(a_menu->title());
        a_button->setToolTip(QString(a_menu->title()).remove(QLatin1Char('&')));
        a_button->setPopupMode(QToolButton::InstantPopup);
    }
    a_button->setEnabled(!empty);
}

void Window::setCameraMode()
{
    if (windowElement() && !m_following && windowElement()->camera()->currentMode()) {
        emit cameraSelected();
        return;
    }
    followCurrentPage();
}

void Window::setMode(int a_modeIndex)
{
    if (windowElement() && !m_following) {
        CameraElement* camera = windowElement()->camera();
        if (camera->indexOfMode(camera->currentMode()) != a_modeIndex) {
            emit modeSelected(a_modeIndex);
            return;
        }
    }
    followCurrentPage();
}

void Window::setModeCategory(int a_catIndex)
{
    if (windowElement() && !m_following) {
        ModeElement* mode = windowElement()->camera()->currentMode();
        if (mode && mode->indexOfCategory(mode->currentCategory()) != a_catIndex) {
            emit categorySelected(a_catIndex);
            return;
        }
    }
    followCurrentPage();
}

void Window::selectNextMode()
{
    if (windowElement())
        windowElement()->camera()->selectNextMode();
}

void Window::selectPrevMode()
{
    if (windowElement())
        windowElement()->camera()->selectPrevMode();
}

void Window::selectNextCategory()
{
    if (ModeElement* mode = windowElement() ? windowElement()->camera()->currentMode() : nullptr)
        mode->selectNextCategory();
}

void Window::selectPrevCategory()
{
    if (ModeElement* mode = windowElement() ? windowElement()->camera()->currentMode() : nullptr)
        mode->selectPrevCategory();
}

void Window::followCurrentPage()
{
    if (!windowElement())
        return;
    const QScopedValueRollback<bool> following(m_following, true);
    CameraElement* camera = windowElement()->camera();
    ModeElement* mode = camera->currentMode();
    if (mode != m_shownMode || m_showingGlobalPage == bool(mode) || m_tabCategories.isEmpty())
        updateModeCategories();

    int tab = 0;
    if (mode)
        tab = qMax(0, mode->indexOfCategory(mode->currentCategory()));
    if (tab < m_tabs->count() && m_tabs->currentIndex() != tab)
        m_tabs->setCurrentIndex(tab);
    fillTab(m_tabs->currentIndex());
    m_treeModel->selectPosition(mode ? camera->indexOfMode(mode) : -1);
    updateModeLabels();
    updateModeActions();
}

void Window::updateModesAndCategories()
{
    updateModeCategories();
    updateModeLabels();
    updateModeActions();
}

void Window::updateModeCategories()
{
    const QSignalBlocker blocker(m_tabs);
    parkTabPages();
    while (m_tabs->count() > 0) {
        QWidget* holder = m_tabs->widget(0);
        m_tabs->removeTab(0);
        holder->hide();
        holder->deleteLater();
    }
    m_tabCategories.clear();
    m_shownMode = nullptr;
    m_showingGlobalPage = false;
    if (!windowElement())
        return;

    const auto addTab = [this](CategoryElementBase* a_category, const QString& a_text) {
        auto* holder = new QWidget;
        auto* layout = new QVBoxLayout(holder);
        layout->setContentsMargins(0, 0, 0, 0);
        m_tabs->addTab(holder, a_text);
        m_tabCategories << a_category;
    };
    CameraElement* camera = windowElement()->camera();
    m_shownMode = camera->currentMode();
    if (m_shownMode) {
        for (ModeCategoryElementBase* category : m_shownMode->categories()) {
            addTab(category, category->name());
            if (auto* generic = qobject_cast<GenericModeCategory*>(category)) {
                connect(generic, &GenericModeCategory::categoryEnabledChanged, this,
                        &Window::updateModeCategoryTabs, Qt::UniqueConnection);
            }
        }
    } else {
        m_showingGlobalPage = true;
        addTab(camera->globalCategory(), s_globalTabText);
    }
    updateModeCategoryTabs();
}

void Window::updateModeCategoryTabs()
{
    const QColor enabledColor = m_tabs->palette().color(QPalette::WindowText);
    const QColor disabledColor = m_tabs->palette().color(QPalette::Disabled, QPalette::WindowText);
    for (int tab = 0; tab < m_tabs->count(); ++tab) {
        CategoryElementBase* category = tabCategory(tab);
        if (!category)
            continue;
        if (category != (windowElement() ? windowElement()->camera()->globalCategory() : nullptr))
            m_tabs->setTabText(tab, category->name());
        m_tabs->setTabToolTip(tab, category->annotation());
        const auto* generic = qobject_cast<GenericModeCategory*>(category);
        const bool off = generic && !generic->categoryEnabled();
        m_tabs->tabBar()->setTabTextColor(tab, off ? disabledColor : enabledColor);
    }
}

void Window::fillTab(int a_index)
{
    CategoryElementBase* category = tabCategory(a_index);
    QWidget* holder = m_tabs->widget(a_index);
    if (!category || !holder)
        return;
    QWidget* page = category->createWidget();
    if (!page || page->parentWidget() == holder)
        return;
    holder->layout()->addWidget(page);
    page->show();
}

void Window::parkTabPages()
{
    if (!m_pageStore)
        return;
    for (int tab = 0; tab < m_tabs->count(); ++tab) {
        CategoryElementBase* category = tabCategory(tab);
        QWidget* page = category ? category->widget() : nullptr;
        if (page && page->parentWidget() == m_tabs->widget(tab)) {
            page->hide();
            page->setParent(m_pageStore);
        }
    }
}

void Window::updateModeLabels()
{
    ModeElement* mode = windowElement() ? windowElement()->camera()->currentMode() : nullptr;
    if (!mode) {
        m_nameLabel->setText(QStringLiteral("<h3>&nbsp;Camera</h3>"));
        return;
    }
    m_nameLabel->setText(QStringLiteral("<h3>&nbsp;<a href=\"camera\" ") + s_linkStyle +
                         QStringLiteral(">Camera</a>&nbsp;&rarr;&nbsp;<a href=\"mode:") + mode->name() +
                         QStringLiteral("\" ") + s_linkStyle + QLatin1Char('>') +
                         mode->name().toHtmlEscaped() + QStringLiteral("</a></h3>"));
}

void Window::updateModeTabLabel()
{
    updateModeLabels();
    updateModeCategoryTabs();
}

void Window::updateModeActions()
{
    m_actions.m_cloneAction->setEnabled(m_treeModel->canCloneMode());
    m_actions.m_deleteAction->setEnabled(m_treeModel->canDeleteMode());
    m_actions.m_moveUpAction->setEnabled(m_treeModel->canMoveMode());
    m_actions.m_moveDownAction->setEnabled(m_treeModel->canMoveMode());
    m_actions.m_renameAction->setEnabled(m_treeModel->canEditModeName());
    const QList<QAction*> buttonActions{m_actions.m_cloneAction, m_actions.m_deleteAction,
                                        m_actions.m_moveUpAction, m_actions.m_moveDownAction};
    for (int i = 0; i < m_modeButtons.size() && i < buttonActions.size(); ++i) {
        if (m_modeButtons.at(i))
            m_modeButtons.at(i)->setEnabled(buttonActions.at(i)->isEnabled());
    }
}

void Window::updateDocumentState()
{
    const bool open = windowElement();
    setWindowTitle(open ? titleFor(m_documentPath) : s_appName);
    m_actions.m_saveAction->setEnabled(open);
    m_actions.m_saveAsAction->setEnabled(open);
    m_actions.m_closeAction->setEnabled(open);
    m_actions.m_extraDataAction->setEnabled(open);
    m_actions.m_previewAction->setEnabled(open);
    if (!open) {
        for (QAction* action : {m_actions.m_undoAction, m_actions.m_redoAction, m_actions.m_backAction,
                                m_actions.m_forwardAction})
            action->setEnabled(false);
    }
}

void Window::updateExtraDataDialog()
{
    m_extraDataDialog->fill(documentTree());
}

void Window::setDocumentPath(const QString& a_docPath)
{
    m_documentPath =
        a_docPath.isEmpty() ? QString() : QDir::toNativeSeparators(QFileInfo(a_docPath).absoluteFilePath());
    if (documentTree())
        documentTree()->setFile(m_documentPath);
    watchDocument();
    if (!m_documentPath.isEmpty())
        m_recentSource->addPath(m_documentPath);
    updateDocumentState();
}

void Window::watchDocument()
{
    // Dropping the old watch also drops whatever it had still to report, our own writes included.
    const QStringList watched = m_watcher->files();
    if (!watched.isEmpty())
        m_watcher->removePaths(watched);
    if (!m_documentPath.isEmpty() && QFileInfo(m_documentPath).isFile())
        m_watcher->addPath(m_documentPath);
}

QByteArray Window::documentDigest() const
{
    QFile file(m_documentPath);
    if (m_documentPath.isEmpty() || !file.open(QIODevice::ReadOnly))
        return QByteArray();
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(&file);
    return hash.result();
}

void Window::open()
{
    const QString folder = m_documentPath.isEmpty() ? QString() : QFileInfo(m_documentPath).absolutePath();
    const QString path =
        DialogSeam::openFileName(this, QStringLiteral("LUMEX File Open"), folder, s_lumexFilter);
    if (!path.isEmpty())
        openFile(path);
}

bool Window::closeDocument()
{
    if (!settleDocumentState())
        return false;
    showDocumentsPage();
    return true;
}

bool Window::settleDocumentState()
{
    if (!windowElement())
        return true;
    if (isDocumentModified()) {
        const QMessageBox::StandardButton answer = DialogSeam::question(
            this, QStringLiteral("Save File State?"),
            QStringLiteral(
                "The file has been changed. Would you like to save and proceed, discard and proceed, "
                "or cancel the operation?"),
            QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Cancel);
        if (answer == QMessageBox::Save) {
            if (!save())
                return false;
        } else if (answer != QMessageBox::Discard) {
            return false;
        }
    }
    discardDocument();
    return true;
}

void Window::discardDocument()
{
    m_treeModel->setWindowElement(nullptr);
    updateModeCategories();
    m_session->close();
    m_documentPath.clear();
    m_documentDigest.clear();
    m_boardNumber = -1;
    watchDocument();
    m_extraDataDialog->fill(nullptr);
    setUndoRedoEnabled(false, false);
    setBackForwardEnabled(false, false);
    showDocumentsPage();
    updateDocumentState();
    updateModeActions();
}

QProgressDialog* Window::createProgressDialog(const QString& a_label)
{
    auto* dialog = new QProgressDialog(a_label, QStringLiteral("Cancel"), 0, ProgressMaximum, this);
    dialog->setWindowModality(Qt::ApplicationModal);
    dialog->setWindowTitle(s_progressTitle);
    dialog->setAutoClose(false);
    dialog->setAutoReset(false);
    dialog->setMinimumDuration(0);
    dialog->setValue(0);
    dialog->show();
    return dialog;
}

bool Window::openFile(const QString& a_filePath, const QString& a_fileMode, int a_boardNum)
{
    if (!settleDocumentState())
        return false;
    if (!loadDocument(a_filePath))
        return false;

    if (a_boardNum >= 0) {
        m_boardNumber = a_boardNum;
        const int item = m_dataSource->findData(a_boardNum);
        if (item >= 0)
            m_dataSource->userSetBoard(item);
    }
    if (!a_fileMode.isEmpty()) {
        CameraElement* camera = windowElement()->camera();
        if (ModeElement* mode = camera->modeByName(a_fileMode)) {
            emit modeSelected(camera->indexOfMode(mode));
        } else {
            DialogSeam::warning(
                this, QStringLiteral("Mode Missing"),
                QStringLiteral("<html>File open succeeded, but the mode specified at open, <i>") +
                    a_fileMode.toHtmlEscaped() + QStringLiteral("</i>, does not appear to exist.</html>"));
        }
    }
    return true;
}

bool Window::loadDocument(const QString& a_filePath)
{
    const QString filePath = QFileInfo(a_filePath).absoluteFilePath();
    std::unique_ptr<QProgressDialog> dialog(
        createProgressDialog(QStringLiteral("<html>Preparing for LUMEX file load</html>")));
    ProgressStepper stepper(dialog.get(), 0, ProgressMaximum);
    connect(&stepper, &ProgressStepper::progress, dialog.get(), &QProgressDialog::setValue);
    connect(dialog.get(), &QProgressDialog::canceled, &stepper, &ProgressStepper::cancel);

    bool loaded = false;
    QString failureTitle;
    QString failureText;
    try {
        if (m_session->load(filePath, m_cxpXsdPath, m_clXsdPath, &stepper) ==
            CameraFileSession::LoadResult::Loaded) {
            loaded = true;
        } else {
            failureTitle = QStringLiteral("Parsing Error");
            failureText = CameraFileSession::unknownStandardText();
        }
    } catch (const OperationCanceledException&) {
        // The user asked for it: nothing to report.
    } catch (const ExceptionBase& a_exception) {
        failureTitle = QStringLiteral("Parsing Error");
        failureText = QStringLiteral("<html><p>Failed to parse the LUMEX file.</p>") +
                      messageHtml(a_exception) + QStringLiteral("</html>");
    } catch (...) {
        failureTitle = QStringLiteral("Unknown Exception");
        failureText = QStringLiteral("<html><p>Caught an unknown exception parsing the file.</p></html>");
    }

    if (!loaded) {
        dialog.reset();
        m_dataSource->setFilter(BoardType::AnyBoardType);
        showDocumentsPage();
        updateDocumentState();
        if (!failureTitle.isEmpty())
            DialogSeam::warning(this, failureTitle, failureText);
        return false;
    }

    dialog->setLabelText(s_wrappingUp);
    dialog->setValue(ProgressMaximum);
    WindowElement* element = m_session->windowElement();
    connect(element, &WindowElement::messageQueued, this, &Window::showQueuedMessages, Qt::QueuedConnection);
    m_extraDataDialog->reset();
    setDocumentPath(filePath);
    m_documentDigest = documentDigest();
    element->undoRedoStack()->setOffsetFromInitial(0);
    m_treeModel->setWindowElement(element);
    updateModesAndCategories();
    updateExtraDataDialog();
    element->setCamera();
    followCurrentPage();
    showEditorPage();
    setUndoRedoEnabled(false, false);
    element->navigationStack()->emit_actionEnabled();
    dialog.reset();
    updateDocumentState();
    showQueuedMessages();
    return true;
}

void Window::showDocumentsPage()
{
    m_centralStack->setCurrentWidget(m_documentsPage);
}

void Window::showEditorPage()
{
    m_centralStack->setCurrentWidget(m_editorPage);
}

bool Window::saveTo(const QString& a_savePath)
{
    if (!windowElement() || a_savePath.isEmpty())
        return false;
    CameraElement* camera = windowElement()->camera();
    if (!camera->modeByName(s_defaultModeName)) {
        const QMessageBox::StandardButton answer = DialogSeam::question(
            this, QStringLiteral("\"Default\" Mode Missing"),
            QStringLiteral("<p>Because this file has no \"Default\" mode, the frame grabber "
                           "may not operate correctly in all conditions. Save the file "
                           "anyway?</p>"),
            QMessageBox::Save | QMessageBox::Cancel, QMessageBox::Cancel);
        if (answer != QMessageBox::Save)
            return false;
    }

    const QString savePath = QFileInfo(a_savePath).absoluteFilePath();
    std::unique_ptr<QProgressDialog> dialog(
        createProgressDialog(QStringLiteral("<html>Preparing for LUMEX file save</html>")));
    ProgressStepper stepper(dialog.get(), 0, ProgressMaximum);
    connect(&stepper, &ProgressStepper::progress, dialog.get(), &QProgressDialog::setValue);
    connect(dialog.get(), &QProgressDialog::canceled, &stepper, &ProgressStepper::cancel);

    bool written = false;
    try {
        written = m_session->save(savePath, &stepper, m_extraDataDialog->preserveExtraData());
        // Before anything lets the event loop run, so that the watcher does not take our own write
        // for another program's.
        if (written) {
            setDocumentPath(savePath);
            m_documentDigest = documentDigest();
        }
    } catch (const OperationCanceledException&) {
        return false;
    } catch (const ExceptionBase& a_exception) {
        dialog.reset();
        DialogSeam::warning(
            this, QStringLiteral("File Generation Error"),
            QStringLiteral("<p>An error occured generating the LUMEX output data:</p><p><code>") +
                QString::fromUtf8(a_exception.what()).toHtmlEscaped() + QStringLiteral("</code></p>"));
        return false;
    } catch (...) {
        dialog.reset();
        DialogSeam::warning(this, QStringLiteral("File Generation Error"),
                            QStringLiteral("<p>Caught an unknown exception while generating the file.</p>"));
        return false;
    }
    if (!written) {
        dialog.reset();
        DialogSeam::warning(this, QStringLiteral("File Save Error"),
                            QStringLiteral("An error occured saving the camera file."));
        return false;
    }

    dialog->setLabelText(s_wrappingUp);
    dialog->setValue(ProgressMaximum);
    if (windowElement())
        windowElement()->undoRedoStack()->setOffsetFromInitial(0);
    updateDocumentState();
    return true;
}

bool Window::save()
{
    if (!windowElement())
        return false;
    if (m_documentPath.isEmpty())
        return saveAs();
    return saveTo(m_documentPath);
}

bool Window::saveAs()
{
    if (!windowElement())
        return false;
    QString path =
        DialogSeam::saveFileName(this, QStringLiteral("LUMEX File Save"), m_documentPath, s_lumexFilter);
    if (path.isEmpty())
        return false;
    if (QFileInfo(path).suffix().isEmpty())
        path += s_lumexSuffix;
    return saveTo(path);
}

void Window::openPreview()
{
    if (!windowElement())
        return;
    if (isDocumentModified() || m_documentPath.isEmpty()) {
        const QMessageBox::StandardButton answer = DialogSeam::question(
            this, QStringLiteral("Save Camera Configuration?"),
            QStringLiteral(
                "The camera configuration must be saved before a preview can be opened. Do you want to "
                "save the configuration now?"),
            QMessageBox::Save | QMessageBox::Cancel, QMessageBox::Cancel);
        if (answer != QMessageBox::Save || !save())
            return;
    }

    CameraElement* camera = windowElement()->camera();
    QStringList modes;
    for (const ModeElement* mode : camera->modes())
        modes << mode->name();
    QNBrdModeOpenDialog chooser(this);
    chooser.setBoardTypeFilter(camera->standard() == CameraElement::StandardCoaXPress
                                   ? BoardTypes(BoardType::CoaXPress)
                                   : BoardTypes(BoardType::CameraLink));
    chooser.setModes(modes);
    int boardNumber = chooser.boardNumbers().value(0, -1);
    QString modeName = modes.value(0);
    if (chooser.boardCount() > 1 || modes.size() > 1) {
        const int preferredBoard = m_boardNumber >= 0 ? m_boardNumber : int(m_dataSource->board());
        chooser.setCurrentBoardNumber(preferredBoard);
        if (ModeElement* current = camera->currentMode())
            chooser.setCurrentMode(current->name());
        if (chooser.exec() != QDialog::Accepted)
            return;
        boardNumber = chooser.currentBoardNumber();
        modeName = chooser.currentMode();
    }
    const QString boardName = chooser.boardNames().value(chooser.boardNumbers().indexOf(boardNumber));

    try {
        if (boardNumber < 0)
            throw QNExceptionBase("No frame grabber board that can run this camera file is installed.", 0);
        Viewport::WindowQt* preview =
            PreviewAcqIf::openPreview(unsigned(boardNumber), m_documentPath, modeName);
        preview->setWindowTitle(QFileInfo(m_documentPath).fileName() + QStringLiteral(" on ") + boardName);
        preview->show();
    } catch (const QNExceptionBase& a_exception) {
        DialogSeam::warning(
            this, QStringLiteral("Quarnel Error"),
            QStringLiteral("<p>Caught a Quarnel exception during acquisition preview:</p><p><code>") +
                QString::fromUtf8(a_exception.what()).toHtmlEscaped() + QStringLiteral("</code></p>"));
    } catch (const ExceptionBase& a_exception) {
        DialogSeam::warning(
            this, QStringLiteral("Application Error"),
            QStringLiteral("<p>Caught an application exception during acquisition preview:</p><p><code>") +
                QString::fromUtf8(a_exception.what()).toHtmlEscaped() + QStringLiteral("</code></p>"));
    } catch (...) {
        DialogSeam::warning(this, QStringLiteral("Unknown Error"),
                            QStringLiteral("<p>Caught an unknown exception during acquisition preview.</p>"));
    }
}

void Window::openNewWindow()
{
    storeGeometry();
    const QString executable = QCoreApplication::applicationFilePath();
    bool started = false;
#ifdef Q_OS_WIN
    const std::wstring file = QDir::toNativeSeparators(executable).toStdWString();
    auto result = reinterpret_cast<INT_PTR>(
        ShellExecuteW(nullptr, L"open", file.c_str(), nullptr, nullptr, SW_SHOWNORMAL));
    if (result == ERROR_ACCESS_DENIED)
        result = reinterpret_cast<INT_PTR>(
            ShellExecuteW(nullptr, L"runas", file.c_str(), nullptr, nullptr, SW_SHOWNORMAL));
    started = result > 32;
#else
    // Without a registry to find them, the new window is told where this one's configuration is.
    QStringList arguments;
    if (!m_configPath.isEmpty())
        arguments << QStringLiteral("-CFGDIR") << m_configPath;
    if (!m_cxpXsdPath.isEmpty())
        arguments << QStringLiteral("-CXPXSD") << m_cxpXsdPath;
    if (!m_clXsdPath.isEmpty())
        arguments << QStringLiteral("-CLXSD") << m_clXsdPath;
    started = QProcess::startDetached(executable, arguments);
#endif
    if (!started) {
        DialogSeam::warning(this, QStringLiteral("System Error"),
                            QStringLiteral("<p>Unable to create a new window for:</p><p><c>") +
                                QDir::toNativeSeparators(executable).toHtmlEscaped() +
                                QStringLiteral("</c></p>"));
    }
}

void Window::onFileChanged(const QString& a_path)
{
    if (!windowElement())
        return;
    const QSignalBlocker blocker(m_watcher);
    const QString path = QDir::toNativeSeparators(a_path);
    bool keep = false;
    // Something else in the file's place (a folder) is no camera file: the file is gone.
    if (QFileInfo(path).isFile()) {
        if (path == m_documentPath && documentDigest() == m_documentDigest) {
            watchDocument();
            return;
        }
        const QMessageBox::StandardButton answer = DialogSeam::warning(
            this, QStringLiteral("Current File Changed"),
            QStringLiteral("<p>") + path.toHtmlEscaped() +
                QStringLiteral(
                    "</p><p>The file has been changed by an external program. Should it be reloaded "
                    "with the new contents?</p>"),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
        keep = answer == QMessageBox::Yes && openFile(path);
    } else {
        const QMessageBox::StandardButton answer = DialogSeam::warning(
            this, QStringLiteral("Current File Missing"),
            QStringLiteral("<p>") + path.toHtmlEscaped() +
                QStringLiteral(
                    "</p><p>The file has been renamed, moved or deleted. Do you want to save a new copy "
                    "now?</p>"),
            QMessageBox::Save | QMessageBox::Ignore, QMessageBox::Ignore);
        keep = answer == QMessageBox::Save && saveAs();
    }
    if (!keep && windowElement()) {
        windowElement()->undoRedoStack()->markSavedStateUnreachable();
        updateDocumentState();
    }
    watchDocument();
}

void Window::onModeChanged(int a_oldIndex)
{
    Q_UNUSED(a_oldIndex)
    if (m_following || !windowElement() || m_treeModel->isChangingRows())
        return;
    const QModelIndex current = m_treeModel->selectionModel()->currentIndex();
    const int position = m_treeModel->modePosition(current);
    if (position >= 0)
        emit modeSelected(position);
    else if (current == m_treeModel->cameraIndex())
        emit cameraSelected();
}

void Window::onCategoryChanged(int a_index)
{
    fillTab(a_index);
    if (!m_following && windowElement() && m_shownMode && a_index >= 0)
        emit categorySelected(a_index);
}

void Window::onNameLabelLink(const QString& a_text)
{
    if (!windowElement())
        return;
    if (a_text == QLatin1String("camera")) {
        emit cameraGlobalSelected();
        return;
    }
    const QString modePrefix = QStringLiteral("mode:");
    if (a_text.startsWith(modePrefix)) {
        CameraElement* camera = windowElement()->camera();
        if (ModeElement* mode = camera->modeByName(a_text.mid(modePrefix.size())))
            emit modeSelected(camera->indexOfMode(mode));
    }
}

void Window::onDocumentsPageInvalidate()
{
    m_documentsPage->rebuild();
}

void Window::doUndo()
{
    emit undo();
}

void Window::doRedo()
{
    emit redo();
}

void Window::showQueuedMessages()
{
    if (m_showingMessages || !windowElement())
        return;
    const QScopedValueRollback<bool> showing(m_showingMessages, true);
    QString title;
    QString text;
    while (windowElement() && windowElement()->popMessage(title, text))
        DialogSeam::warning(this, title, text);
}

void Window::closeEvent(QCloseEvent* a_event)
{
    if (!settleDocumentState()) {
        a_event->ignore();
        return;
    }
    a_event->accept();
}

QString Window::droppableFile(const QDropEvent* a_event) const
{
    if (a_event->source())
        return QString();
    const QMimeData* mime = a_event->mimeData();
    if (!mime || !mime->hasUrls())
        return QString();
    const QList<QUrl> urls = mime->urls();
    if (urls.size() != 1 || !urls.first().isLocalFile())
        return QString();
    const QString path = urls.first().toLocalFile();
    return path.endsWith(s_lumexSuffix, Qt::CaseInsensitive) ? path : QString();
}

void Window::dragEnterEvent(QDragEnterEvent* a_event)
{
    if (droppableFile(a_event).isEmpty())
        a_event->ignore();
    else
        a_event->acceptProposedAction();
}

void Window::dragMoveEvent(QDragMoveEvent* a_event)
{
    if (droppableFile(a_event).isEmpty())
        a_event->ignore();
    else
        a_event->acceptProposedAction();
}

void Window::dropEvent(QDropEvent* a_event)
{
    const QString path = droppableFile(a_event);
    if (!path.isEmpty() && openFile(path))
        a_event->acceptProposedAction();
    else
        a_event->ignore();
}

bool Window::eventFilter(QObject* a_watched, QEvent* a_event)
{
    if (a_event->type() == QEvent::MouseButtonPress && a_watched->isWidgetType() &&
        static_cast<QWidget*>(a_watched)->window() == this) {
        const auto* mouse = static_cast<QMouseEvent*>(a_event);
        if (mouse->button() == Qt::BackButton) {
            emit back();
            return true;
        }
        if (mouse->button() == Qt::ForwardButton) {
            emit forward();
            return true;
        }
    }
    return QMainWindow::eventFilter(a_watched, a_event);
}

void Window::storeGeometry()
{
    QSettings settings;
    settings.setValue(QLatin1String(geometryKey), saveGeometry());
    settings.setValue(QLatin1String(windowStateKey), saveState());
}

} // namespace Orvex
