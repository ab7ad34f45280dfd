#include "app/Window.h"

#include "app/CameraTreeModel.h"
#include "app/FailureWarning.h"
#include "app/LumexExtraDataDialog.h"
#include "app/MessageButtonTexts.h"
#include "app/PreviewLauncher.h"
#include "app/ProblemsDock.h"
#include "app/RecentlyOpenedFilesSource.h"
#include "app/WindowFind.h"
#include "board/QNBrdDataSource.h"
#include "elements/CameraElement.h"
#include "elements/DocumentHost.h"
#include "elements/ModeElement.h"
#include "elements/NavigationStack.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"
#include "fileio/CameraFileSession.h"
#include "fileio/ProblemList.h"
#include "model/ExceptionBase.h"
#include "model/LumexTree.h"
#include "model/OperationCanceledException.h"
#include "platform/DocumentFileWatcher.h"
#include "widgets/DialogSeam.h"
#include "widgets/ProgressStepper.h"

#include <QAction>
#include <QDir>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QProgressDialog>
#include <QScopedValueRollback>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QUrl>

#include <memory>
#include <utility>

namespace Orvex {

namespace {

constexpr int ProgressMaximum = 100;

const QString s_lumexFilter = QStringLiteral("LUMEX Camera File (*.lumex)");
const QString s_lumexSuffix = QStringLiteral(".lumex");
const QString s_progressTitle = QStringLiteral("File Load Progress");
const QString s_wrappingUp = QStringLiteral("<html>Wrapping things up</html>");
const QString s_defaultModeName = QStringLiteral("Default");

} // namespace

void Window::updateDocumentState()
{
    const bool open = windowElement();
    // Made once per path: the state is updated at every page visit, edit and undo, and the title asks
    // the file system for the folder's real path.
    const QString titlePath = open ? m_documentPath : QString();
    if (m_title.isNull() || titlePath != m_titlePath) {
        m_titlePath = titlePath;
        // The desktop's own unsaved-changes mark, shown by Qt only while the window is modified.
        m_title = titleFor(titlePath) + QStringLiteral("[*]");
    }
    setWindowTitle(m_title);
    setWindowModified(isDocumentModified());
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

void Window::setDocumentPath(const QString& a_docPath, const QByteArray* a_contents)
{
    m_documentPath =
        a_docPath.isEmpty() ? QString() : QDir::toNativeSeparators(QFileInfo(a_docPath).absoluteFilePath());
    if (documentTree())
        documentTree()->setFile(m_documentPath);
    if (a_contents)
        m_watcher->watch(m_documentPath, *a_contents);
    else
        m_watcher->watch(m_documentPath);
    if (!m_documentPath.isEmpty())
        m_recentSource->addPath(m_documentPath);
    updateDocumentState();
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

bool Window::settleDocumentState(bool a_discard)
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
    if (a_discard)
        discardDocument();
    return true;
}

void Window::releaseDocument()
{
    closePreviews();
    m_problemsDock->detach();
    m_treeModel->setWindowElement(nullptr);
    m_find->setWindowElement(nullptr);
    updateModeCategories();
    m_boardNumber = -1;
    m_labelColumnWidth = 0;
}

void Window::discardDocument()
{
    m_session->close();
    m_documentPath.clear();
    m_watcher->watch(QString());
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
    // The current document stays open until the new one has loaded, so that a file that fails to load
    // costs the user nothing.
    if (!settleDocumentState(false))
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
            emit m_host->modeSelected(camera->indexOfMode(mode));
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
    connect(dialog.get(), &QProgressDialog::canceled, &stepper, &ProgressStepper::cancel);

    const QString parsingError = QStringLiteral("Parsing Error");
    try {
        if (m_session->load(filePath, m_cxpXsdPath, m_clXsdPath, &stepper) !=
            CameraFileSession::LoadResult::Loaded) {
            dialog.reset();
            abandonLoad();
            warnLoadFailure(this, parsingError, m_session->unknownStandardPlace(),
                            CameraFileSession::unknownStandardText());
            return false;
        }
    } catch (const OperationCanceledException&) {
        // The user asked for it: nothing to report.
        dialog.reset();
        abandonLoad();
        return false;
    } catch (const ExceptionBase& a_exception) {
        dialog.reset();
        abandonLoad();
        FailurePlace place = a_exception.place();
        if (place.m_file.isEmpty())
            place.m_file = filePath;
        warnLoadFailure(
            this, parsingError, place,
            failureText(QStringLiteral("<html><p>Failed to parse the LUMEX file.</p>"), &a_exception));
        return false;
    } catch (...) {
        dialog.reset();
        abandonLoad();
        warnFailure(this, QStringLiteral("Unknown Exception"),
                    QStringLiteral("<html><p>Caught an unknown exception parsing the file.</p>"));
        return false;
    }

    dialog->setLabelText(s_wrappingUp);
    dialog->setValue(ProgressMaximum);
    WindowElement* element = m_session->windowElement();
    connect(element, &WindowElement::messageQueued, this, &Window::showQueuedMessages, Qt::QueuedConnection);
    m_extraDataDialog->reset();
    setDocumentPath(filePath);
    element->undoRedoStack()->setOffsetFromInitial(0);
    m_treeModel->setWindowElement(element);
    m_problemsDock->attach(element, m_session->tree(),
                           element->camera()->standard() == CameraElement::StandardCoaXPress
                               ? m_session->coaXPressXsdPath()
                               : m_session->cameraLinkXsdPath());
    m_find->setWindowElement(element);
    updateModesAndCategories();
    element->setCamera();
    followCurrentPage();
    showEditorPage();
    setUndoRedoEnabled(false, false);
    element->navigationStack()->emit_actionEnabled();
    dialog.reset();
    updateDocumentState();
    showQueuedMessages();
    // A file with problems opens onto their list, so that none goes unnoticed behind a closed dock.
    if (!m_problemsDock->problemList()->problems().isEmpty()) {
        m_problemsDock->show();
        m_problemsDock->raise();
        statusBar()->showMessage(QStringLiteral("%1 has %2; the Problems list shows where")
                                     .arg(QFileInfo(filePath).fileName(), m_problemsDock->summary()));
    }
    return true;
}

void Window::abandonLoad()
{
    if (const CameraElement* kept = windowElement() ? windowElement()->camera() : nullptr) {
        // The failed file's standard was offered to the board list while it loaded.
        m_dataSource->setFilter(kept->standard() == CameraElement::StandardCoaXPress
                                    ? BoardTypes(BoardType::CoaXPress)
                                    : BoardTypes(BoardType::CameraLink));
        return;
    }
    m_dataSource->setFilter(BoardType::AnyBoardType);
    showDocumentsPage();
    updateDocumentState();
}

bool Window::settleProblems()
{
    const int rejected = m_problemsDock->problemList()->count(ValidationProblem::Error);
    if (rejected == 0)
        return true;
    const QString title = QStringLiteral("Problems in the File");
    // "Show Problems" stands on the Open button, which no other answer here needs.
    const MessageButtonTexts texts(title, {{QMessageBox::Open, QStringLiteral("Show Problems")}});
    const QMessageBox::StandardButton answer = DialogSeam::question(
        this, title,
        QStringLiteral("The file has %1 problem%2 that its schema rejects. Save anyway?")
            .arg(rejected)
            .arg(rejected == 1 ? QString() : QStringLiteral("s")),
        QMessageBox::Save | QMessageBox::Open | QMessageBox::Cancel, QMessageBox::Cancel);
    if (answer == QMessageBox::Open)
        m_problemsDock->showProblems();
    return answer == QMessageBox::Save;
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
    if (!settleProblems())
        return false;

    const QString savePath = QFileInfo(a_savePath).absoluteFilePath();
    std::unique_ptr<QProgressDialog> dialog(
        createProgressDialog(QStringLiteral("<html>Preparing for LUMEX file save</html>")));
    ProgressStepper stepper(dialog.get(), 0, ProgressMaximum);
    connect(dialog.get(), &QProgressDialog::canceled, &stepper, &ProgressStepper::cancel);

    bool written = false;
    const QString generationError = QStringLiteral("File Generation Error");
    FailurePlace unwritable;
    unwritable.m_file = savePath;
    unwritable.m_problem = QStringLiteral("The program could not put the document into words for the file. "
                                          "This is a fault of the program, not of the file; the report "
                                          "under Show Details helps to find it.");
    try {
        written = m_session->save(savePath, &stepper, m_extraDataDialog->preserveExtraData());
        // Before anything lets the event loop run, so that the watcher does not take our own write
        // for another program's.
        if (written) {
            // The digest of what was written rather than of the file read back, which cost as much.
            const QByteArray text = m_session->takeSavedText();
            setDocumentPath(savePath, text.isNull() ? nullptr : &text);
        }
    } catch (const OperationCanceledException&) {
        return false;
    } catch (const ExceptionBase& a_exception) {
        dialog.reset();
        warnSaveFailure(this, generationError,
                        QStringLiteral("An error occured generating the LUMEX output data:"), unwritable,
                        QString::fromUtf8(a_exception.what()));
        return false;
    } catch (...) {
        dialog.reset();
        warnSaveFailure(this, generationError,
                        QStringLiteral("Caught an unknown exception while generating the file."), unwritable,
                        QString());
        return false;
    }
    if (!written) {
        dialog.reset();
        warnSaveFailure(this, QStringLiteral("File Save Error"),
                        QStringLiteral("An error occured saving the camera file."), m_session->saveFailure(),
                        m_session->saveReport());
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

    const int preferredBoard = m_boardNumber >= 0 ? m_boardNumber : int(m_dataSource->board());
    if (QWidget* preview =
            PreviewLauncher::launch(this, windowElement()->camera(), m_documentPath, preferredBoard))
        m_previews << preview;
}

void Window::closePreviews()
{
    // Otherwise they would outlive the window and, being windows of their own, keep the program running.
    const QVector<QPointer<QWidget>> previews = std::exchange(m_previews, {});
    for (const QPointer<QWidget>& preview : previews) {
        if (preview)
            PreviewLauncher::close(preview);
    }
}

void Window::onFileChanged(const QString& a_path, bool a_gone)
{
    if (!windowElement())
        return;
    const QSignalBlocker blocker(m_watcher);
    bool keep = false;
    if (!a_gone && isDocumentModified()) {
        keep = settleChangedFile(a_path);
    } else if (!a_gone) {
        const QMessageBox::StandardButton answer = DialogSeam::warning(
            this, QStringLiteral("Current File Changed"),
            QStringLiteral("<p>") + a_path.toHtmlEscaped() +
                QStringLiteral(
                    "</p><p>The file has been changed by an external program. Should it be reloaded "
                    "with the new contents?</p>"),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
        keep = answer == QMessageBox::Yes && openFile(a_path);
    } else {
        const QMessageBox::StandardButton answer = DialogSeam::warning(
            this, QStringLiteral("Current File Missing"),
            QStringLiteral("<p>") + a_path.toHtmlEscaped() +
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
    m_watcher->rewatch();
}

bool Window::settleChangedFile(const QString& a_path)
{
    // Saving here would overwrite the other program's change, so it is not offered: the edits go to a
    // new file or are given up for the new contents, and either way nothing of the two is lost unasked.
    const QString title = QStringLiteral("Current File Changed");
    const MessageButtonTexts texts(title, {{QMessageBox::Yes, QStringLiteral("Reload")},
                                           {QMessageBox::Save, QStringLiteral("Save As...")}});
    const QMessageBox::StandardButton answer = DialogSeam::warning(
        this, title,
        QStringLiteral("<p>") + a_path.toHtmlEscaped() +
            QStringLiteral("</p><p>The file has been changed by an external program while it has unsaved "
                           "changes here.</p><p><b>Reload</b> shows the new contents and discards the "
                           "changes, <b>Save As...</b> keeps the changes in another file, <b>Ignore</b> "
                           "keeps editing them.</p>"),
        QMessageBox::Yes | QMessageBox::Save | QMessageBox::Ignore, QMessageBox::Ignore);
    if (answer == QMessageBox::Save)
        return saveAs();
    if (answer != QMessageBox::Yes)
        return false;
    const QMessageBox::StandardButton confirmed =
        DialogSeam::question(this, QStringLiteral("Discard Changes?"),
                             QStringLiteral("Reloading discards the unsaved changes. Reload anyway?"),
                             QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Cancel);
    if (confirmed != QMessageBox::Discard)
        return false;
    discardDocument();
    return loadDocument(a_path);
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

} // namespace Orvex
