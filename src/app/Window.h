#pragma once

#include "app/WindowActions.h"

#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <QVector>

class QAction;
class QLabel;
class QMenu;
class QProgressDialog;
class QPushButton;
class QStackedWidget;
class QTabWidget;
class QToolButton;
class QTreeView;

namespace Orvex {

class AboutOrvexDialog;
class CameraElement;
class CameraFileSession;
class CameraTreeModel;
class CategoryElementBase;
class DocumentFileWatcher;
class DocumentHost;
class DragMenu;
class FeatureNavigator;
class FocusRing;
class ProblemsDock;
class LumexExtraDataDialog;
class LumexTree;
class ModeElement;
class QNBrdAttachedFilesSource;
class QNBrdDataSource;
class QNQtLgplDialog;
class RecentlyOpenedFilesSource;
class WindowDocumentsPage;
class WindowElement;
class WindowFind;

// The editor's one main window. It holds at most one camera file: with none it shows the Documents
// page and every document action is disabled; with one it shows the camera-and-modes tree beside the
// category tabs of the page chosen there. The document's window element reaches this window only
// through its DocumentHost. Further documents are edited in further processes of the editor.
//
// Window.cpp builds and wires the window, WindowFile.cpp runs the open, save and close flows,
// WindowPages.cpp keeps the tree, the tabs and the breadcrumb on the page the document shows.
class Window : public QMainWindow
{
    Q_OBJECT
    Q_PROPERTY(QString configPath READ configPath WRITE setConfigPath)
    Q_PROPERTY(QString cxpXsdPath READ cxpXsdPath WRITE setCxpXsdPath)
    Q_PROPERTY(QString clXsdPath READ clXsdPath WRITE setClXsdPath)

public:
    static constexpr const char* geometryKey = "geometry";
    static constexpr const char* windowStateKey = "window_state";

    explicit Window(QWidget* a_parent = nullptr);
    ~Window() override;

    QString configPath() const { return m_configPath; }
    void setConfigPath(const QString& a_path);
    QString cxpXsdPath() const { return m_cxpXsdPath; }
    void setCxpXsdPath(const QString& a_path) { m_cxpXsdPath = a_path; }
    QString clXsdPath() const { return m_clXsdPath; }
    void setClXsdPath(const QString& a_path) { m_clXsdPath = a_path; }

    bool hasDocument() const;
    // Modified exactly when the undo/redo stack is away from the saved state.
    bool isDocumentModified() const;
    WindowElement* windowElement() const;
    LumexTree* documentTree() const;
    DocumentHost* documentHost() const { return m_host; }
    // Native separators; empty without a document.
    QString documentPath() const { return m_documentPath; }
    // The board a file was opened from, -1 for none.
    int boardNumber() const { return m_boardNumber; }

    CameraTreeModel* cameraTreeModel() const;
    QTreeView* cameraTreeView() const;
    QTabWidget* categoryTabs() const;
    QLabel* nameLabel() const;
    WindowDocumentsPage* documentsPage() const;
    bool isDocumentsPageShown() const;
    LumexExtraDataDialog* extraDataDialog() const;
    QNBrdDataSource* boardDataSource() const;
    // Takes the user to a place in the document; shared by everything that points at one.
    FeatureNavigator* featureNavigator() const { return m_navigator; }
    ProblemsDock* problemsDock() const { return m_problemsDock; }
    // The category whose page the tab at a_index shows; null without one.
    CategoryElementBase* tabCategory(int a_index) const;
    WindowFind* find() const { return m_find; }

    // "Orvex (" + folder + separator + file name + ")", the folder cut to 32 characters and "...".
    static QString titleFor(const QString& a_documentPath);

public slots:
    void open();
    bool closeDocument();
    bool saveTo(const QString& a_savePath);
    bool save();
    bool saveAs();
    void openPreview();
    void openNewWindow();
    bool openFile(const QString& a_filePath, const QString& a_fileMode = QString(), int a_boardNum = -1);

protected:
    void closeEvent(QCloseEvent* a_event) override;
    void dragEnterEvent(QDragEnterEvent* a_event) override;
    void dragMoveEvent(QDragMoveEvent* a_event) override;
    void dropEvent(QDropEvent* a_event) override;
    bool eventFilter(QObject* a_watched, QEvent* a_event) override;
    // Tab follows WindowFocusOrder wherever it knows the focus.
    bool focusNextPrevChild(bool a_next) override;

private:
    void createActions();
    void createDock();
    void createCentralPages();
    void createShortcuts();
    void connectSources();

    // What the document's window element asks through the host.
    void setUndoRedoEnabled(bool a_undoEnabled, bool a_redoEnabled);
    void setBackForwardEnabled(bool a_backEnabled, bool a_forwardEnabled);
    // Refills the history menus whose stacks changed since they were last filled.
    void fillStaleHistoryMenus();
    void setCameraMode();
    void setMode(int a_modeIndex);
    void setModeCategory(int a_catIndex);
    void updateDocumentState();

    void selectNextMode();
    void selectPrevMode();
    void selectNextCategory();
    void selectPrevCategory();
    void updateModesAndCategories();
    void updateModeCategories();
    void updateModeCategoryTabs();
    void updateModeLabels();
    void updateModeTabLabel();
    void updateModeActions();
    void updateExtraDataDialog();
    void onModeChanged();
    void onCategoryChanged(int a_index);
    void onNameLabelLink(const QString& a_text);
    void onFileChanged(const QString& a_path, bool a_gone);
    // The changed-file question while the document holds unsaved changes; true when the document now
    // matches a file on disk.
    bool settleChangedFile(const QString& a_path);
    void showQueuedMessages();

    // a_contents, when given, are the file's present contents, just written.
    void setDocumentPath(const QString& a_docPath, const QByteArray* a_contents = nullptr);
    // The question before saving a document the schema would reject; true when the caller may save.
    bool settleProblems();
    // The save-state question; true when the caller may go on, the document then being closed.
    // Asks about unsaved changes (saving them when the user says so); then, when a_discard, closes the
    // document. False when the user cancelled or the save failed.
    bool settleDocumentState(bool a_discard = true);
    // Takes the document off the window's pages and tree, before the session deletes it.
    void releaseDocument();
    bool loadDocument(const QString& a_filePath);
    // Leaves the window as it is without a document after a load that failed.
    void abandonLoad();
    void discardDocument();
    void showDocumentsPage();
    void showEditorPage();
    // Puts the page of the tab's category into the tab, building it the first time it is shown.
    void fillTab(int a_index);
    void parkTabPages();
    // Lets the tree, the tabs and the breadcrumb show the page the camera element holds current.
    void followCurrentPage();
    QProgressDialog* createProgressDialog(const QString& a_label);
    // A local ".lumex" file when the drag carries exactly one URL from outside the program.
    QString droppableFile(const QDropEvent* a_event) const;
    void storeGeometry();
    void closePreviews();

    QString m_configPath;
    QString m_cxpXsdPath;
    QString m_clXsdPath;

    // The document's window element and everything it builds are its children.
    DocumentHost* m_host = nullptr;
    // Shared with the command-line tool, so that both read and write every file alike.
    CameraFileSession* m_session = nullptr;
    QString m_documentPath;
    int m_boardNumber = -1;
    DocumentFileWatcher* m_watcher = nullptr;

    RecentlyOpenedFilesSource* m_recentSource = nullptr;
    QNBrdAttachedFilesSource* m_attachedSource = nullptr;
    QPointer<QNBrdDataSource> m_dataSource;

    QPointer<CameraTreeModel> m_treeModel;
    QPointer<QTreeView> m_treeView;
    QPointer<FocusRing> m_focusRing;
    QPointer<QStackedWidget> m_centralStack;
    QPointer<WindowDocumentsPage> m_documentsPage;
    QPointer<QWidget> m_editorPage;
    QPointer<QLabel> m_nameLabel;
    QPointer<QTabWidget> m_tabs;
    // Keeps the category pages that are not in a tab; the categories own them.
    QPointer<QWidget> m_pageStore;
    QVector<QPointer<CategoryElementBase>> m_tabCategories;
    QPointer<ModeElement> m_shownMode;
    bool m_showingGlobalPage = false;
    // The widest label column of the pages shown so far, which every page takes.
    int m_labelColumnWidth = 0;
    // Set while the window itself moves the tree selection or the tabs, so that it does not announce
    // them as the user's choice.
    bool m_following = false;
    bool m_showingMessages = false;
    // The window title and the document path it was made for.
    QString m_title;
    QString m_titlePath;
    // The undo/redo and back/forward menus no longer show their stacks; they are refilled as they open.
    bool m_changesMenuStale = true;
    bool m_historyMenuStale = true;

    FeatureNavigator* m_navigator = nullptr;
    ProblemsDock* m_problemsDock = nullptr;
    WindowFind* m_find = nullptr;
    QPointer<LumexExtraDataDialog> m_extraDataDialog;
    QPointer<AboutOrvexDialog> m_aboutDialog;
    QPointer<QNQtLgplDialog> m_lgplDialog;

    WindowActions m_actions;
    QPointer<DragMenu> m_recentMenu;
    QPointer<DragMenu> m_boardMenu;
    QVector<QPointer<QPushButton>> m_modeButtons;
    // The previews opened from this window's document; they go with it.
    QVector<QPointer<QWidget>> m_previews;
};

} // namespace Orvex
