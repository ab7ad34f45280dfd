#include "board/QNBrdAttachedFilesSource.h"

#include "widgets/DocumentsPageList.h"

#include "board/QNBrdDisplayName.h"
#include "widgets/DragMenu.h"

#include <QAction>
#include <QCoreApplication>
#include <QDir>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QLabel>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <cstring>

namespace Orvex {

namespace {

// Menu and button texts, where "&" would mark a shortcut key.
QString escapedName(QString a_name)
{
    return a_name.replace(QLatin1Char('&'), QLatin1String("&&"));
}

// The mode leads as in the driver's own "mode@file" notation, which is how the files were attached.
QString entryText(const QNBrdAttachedFilesSource::AttachedFile& a_file)
{
    const QString fileName = QFileInfo(a_file.filePath).fileName();
    return escapedName(a_file.fileMode.isEmpty() ? fileName : a_file.fileMode + QLatin1Char('@') + fileName);
}

// Splits a "mode@file" entry at the first "@" of its file name, so that folders, full paths and "@" in
// a folder name stay part of the path: "sub/Fast@cam.lumex" opens "sub/cam.lumex" in the mode "Fast".
// A file name ending in "@" is a name as a whole: the split would leave no file to open.
void splitEntry(const QString& a_entry, QString* a_mode, QString* a_filePath)
{
    // The driver's lists may come from either system, so both separators end a folder.
    const int nameStart =
        qMax(a_entry.lastIndexOf(QLatin1Char('/')), a_entry.lastIndexOf(QLatin1Char('\\'))) + 1;
    const int at = a_entry.indexOf(QLatin1Char('@'), nameStart);
    if (at < 0 || a_entry.endsWith(QLatin1Char('@'))) {
        a_mode->clear();
        *a_filePath = a_entry;
        return;
    }
    *a_mode = a_entry.mid(nameStart, at - nameStart);
    *a_filePath = a_entry.left(nameStart) + a_entry.mid(at + 1);
}

} // namespace

bool QNBrdAttachedFilesSource::AttachedFile::operator==(const AttachedFile& a_other) const
{
    return filePath == a_other.filePath && fileMode == a_other.fileMode && boardNumber == a_other.boardNumber;
}

bool QNBrdAttachedFilesSource::Board::operator==(const Board& a_other) const
{
    return boardNumber == a_other.boardNumber && name == a_other.name && files == a_other.files;
}

QNBrdAttachedFilesSource::QNBrdAttachedFilesSource(DragMenu* a_menu, QObject* a_parent)
    : QObject(a_parent), m_menu(a_menu)
{
    if (!m_menu) {
        m_menu = new DragMenu(QStringLiteral("Open From &Board"));
        m_ownsMenu = true;
    }
    m_menu->setToolTipsVisible(true);
    m_refreshAction = new QAction(QStringLiteral("Refresh"), m_menu);
    m_refreshAction->setToolTip(QStringLiteral("<html>Refresh the list of attached camera files.</html>"));
    connect(m_refreshAction, &QAction::triggered, this, &QNBrdAttachedFilesSource::update);
    connect(m_menu, &QMenu::aboutToShow, this, &QNBrdAttachedFilesSource::autoUpdate);
    connect(m_menu, &QMenu::aboutToHide, this, &QNBrdAttachedFilesSource::unblockAutoUpdate);
    rebuildMenu();
}

QNBrdAttachedFilesSource::~QNBrdAttachedFilesSource()
{
    if (m_ownsMenu)
        delete m_menu.data();
}

void QNBrdAttachedFilesSource::setConfigPath(const QString& a_configPath)
{
    if (a_configPath == m_configPath)
        return;
    m_configPath = a_configPath;
    scan(false);
}

void QNBrdAttachedFilesSource::update()
{
    scan(true);
}

void QNBrdAttachedFilesSource::autoUpdate()
{
    if (m_autoUpdateBlocked || m_scanning)
        return;
    m_autoUpdateBlocked = true;
    scan(true);
}

void QNBrdAttachedFilesSource::unblockAutoUpdate()
{
    m_autoUpdateBlocked = false;
}

void QNBrdAttachedFilesSource::handleFileTrigger()
{
    const auto* action = qobject_cast<const QAction*>(sender());
    if (!action)
        return;
    const QVariantList entry = action->data().toList();
    if (entry.size() == 3)
        emit fileSelected(entry[0].toString(), entry[1].toString(), entry[2].toInt());
}

void QNBrdAttachedFilesSource::scan(bool a_interactive)
{
    // The event loop runs while boards are queried, and a second scan from in there would interleave
    // with this one.
    if (m_scanning)
        return;
    m_scanning = true;
    const QPointer<QNBrdAttachedFilesSource> self(this);

    QList<QPointer<QAction>> disabled;
    QPointer<QAction> status;
    if (m_menu) {
        const QList<QAction*> actions = m_menu->actions();
        for (QAction* action : actions) {
            if (action->isEnabled()) {
                action->setEnabled(false);
                disabled << action;
            }
        }
        status = new QAction(m_menu);
        status->setEnabled(false);
        m_menu->insertAction(actions.value(0), status);
    }

    QVector<Board> boards;
    QNBrdDisplayName::forEachBoard(HwOpenAttachedFileScan, [&](int a_boardNumber, HwBrdHandle a_handle) {
        if (!QNIsMk2(a_handle))
            return true;
        if (a_interactive && status) {
            status->setText(QStringLiteral("Querying VFG %1").arg(a_boardNumber));
            QCoreApplication::processEvents();
            if (!self)
                return false;
        }
        boards.append({a_boardNumber, QNBrdDisplayName::of(a_boardNumber, a_handle),
                       attachedFiles(a_handle, a_boardNumber)});
        return true;
    });
    if (!self)
        return;

    for (const QPointer<QAction>& action : qAsConst(disabled)) {
        if (action)
            action->setEnabled(true);
    }
    delete status.data();
    m_scanning = false;

    if (boards == m_boards)
        return;
    m_boards = boards;
    rebuildMenu();
    for (const QPointer<QWidget>& page : qAsConst(m_documentsPages)) {
        if (page)
            fillDocumentsPage(page);
    }
    emit attachedFilesChanged();
}

QVector<QNBrdAttachedFilesSource::AttachedFile>
QNBrdAttachedFilesSource::attachedFiles(HwBrdHandle a_handle, int a_boardNumber) const
{
    QByteArray buffer(static_cast<int>(QNCamListBufferSize), '\0');
    if (QNRegistryBoardGetMultiString(a_handle, "QNCamList", buffer.data(), QNCamListBufferSize) != 0)
        return {};

    // Files are named relative to the schema folder of the board's kind; without a configuration
    // folder only absolute names can be found.
    QString folder;
    if (!m_configPath.isEmpty()) {
        if (QNIsCL(a_handle))
            folder = QDir(m_configPath).filePath(QStringLiteral("Vrm"));
        else if (QNIsCXP(a_handle))
            folder = QDir(m_configPath).filePath(QStringLiteral("Pld"));
    }

    QVector<AttachedFile> files;
    const char* cursor = buffer.constData();
    const char* const end = cursor + buffer.size();
    // The list ends at an empty string, or at the end of the buffer should the driver leave that out.
    while (cursor < end && *cursor != '\0') {
        const auto* stop =
            static_cast<const char*>(std::memchr(cursor, '\0', static_cast<std::size_t>(end - cursor)));
        if (!stop)
            stop = end;
        const QString text = QString::fromUtf8(cursor, static_cast<int>(stop - cursor));
        cursor = stop + 1;

        AttachedFile file;
        QString entryPath;
        splitEntry(text, &file.fileMode, &entryPath);
        if (entryPath.isEmpty() || (QDir::isRelativePath(entryPath) && folder.isEmpty()))
            continue;
        const QString path = QDir::cleanPath(QDir(folder).filePath(entryPath));
        if (!QFileInfo(path).isFile())
            continue;
        file.filePath = QDir::toNativeSeparators(path);
        file.boardNumber = a_boardNumber;
        files.append(file);
    }
    return files;
}

void QNBrdAttachedFilesSource::rebuildMenu()
{
    if (!m_menu)
        return;
    // The list may be rebuilt from within an entry's own triggered(), so the old entries outlive it.
    const QList<QAction*> oldActions = m_menu->actions();
    for (QAction* action : oldActions) {
        if (action == m_refreshAction)
            continue;
        m_menu->removeAction(action);
        if (QMenu* submenu = action->menu(); submenu && submenu->parent() == m_menu)
            submenu->deleteLater();
        else if (action->parent() == m_menu)
            action->deleteLater();
    }
    if (m_refreshAction && !m_menu->actions().contains(m_refreshAction))
        m_menu->addAction(m_refreshAction);

    if (m_boards.isEmpty()) {
        auto* placeholder = new QAction(QStringLiteral("No Boards Detected"), m_menu);
        placeholder->setEnabled(false);
        m_menu->addAction(placeholder);
        return;
    }

    const QFileIconProvider iconProvider;
    for (const Board& board : qAsConst(m_boards)) {
        if (board.files.isEmpty()) {
            auto* action = new QAction(escapedName(board.name), m_menu);
            action->setEnabled(false);
            m_menu->addAction(action);
            continue;
        }
        auto* submenu = new DragMenu(escapedName(board.name), m_menu);
        submenu->setToolTipsVisible(true);
        for (const AttachedFile& file : board.files) {
            auto* action = new QAction(iconProvider.icon(QFileIconProvider::File), entryText(file), submenu);
            action->setToolTip(file.filePath);
            action->setData(QVariantList{file.filePath, file.fileMode, file.boardNumber});
            action->setProperty(DragMenu::dragUrlProperty,
                                QUrl::fromLocalFile(QDir::fromNativeSeparators(file.filePath)).toString());
            connect(action, &QAction::triggered, this, &QNBrdAttachedFilesSource::handleFileTrigger);
            submenu->addAction(action);
        }
        m_menu->addMenu(submenu);
    }
}

QWidget* QNBrdAttachedFilesSource::documentsPageWidget(QWidget* a_parent)
{
    QWidget* page = DocumentsPageList::create(a_parent);
    fillDocumentsPage(page);

    m_documentsPages.removeAll(QPointer<QWidget>());
    m_documentsPages << page;
    return page;
}

void QNBrdAttachedFilesSource::fillDocumentsPage(QWidget* a_page)
{
    QVBoxLayout* layout = DocumentsPageList::reset(a_page, QStringLiteral("Attached Files"));
    bool anyFile = false;
    const QFileIconProvider iconProvider;
    for (const Board& board : qAsConst(m_boards)) {
        if (board.files.isEmpty())
            continue;
        anyFile = true;
        auto* boardLabel = new QLabel(board.name, a_page);
        boardLabel->setTextFormat(Qt::PlainText);
        layout->addWidget(boardLabel);
        for (const AttachedFile& file : board.files) {
            QToolButton* entry = DocumentsPageList::addEntry(
                a_page, iconProvider.icon(QFileIconProvider::File), entryText(file), file.filePath);
            connect(entry, &QToolButton::clicked, this,
                    [this, file] { emit fileSelected(file.filePath, file.fileMode, file.boardNumber); });
        }
    }
    if (!anyFile)
        layout->addWidget(new QLabel(QStringLiteral("<i>No files attached.</i>"), a_page));
}

} // namespace Orvex
