#include "app/RecentlyOpenedFilesSource.h"

#include "widgets/DocumentsPageList.h"

#include "widgets/DragMenu.h"

#include <QAction>
#include <QDir>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QLabel>
#include <QSettings>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

namespace Orvex {

namespace {

QStringList storedPaths()
{
    return QSettings().value(QLatin1String(RecentlyOpenedFilesSource::settingsKey)).toStringList();
}

// A file name is shown as a menu or button text, where "&" would mark a shortcut key.
QString entryText(const QString& a_path)
{
    return QFileInfo(a_path).fileName().replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace

RecentlyOpenedFilesSource::RecentlyOpenedFilesSource(DragMenu* a_menu, QObject* a_parent)
    : QObject(a_parent), m_menu(a_menu)
{
    if (!m_menu) {
        m_menu = new DragMenu(QStringLiteral("Open &Recent"));
        m_ownsMenu = true;
    }
    // The entries show only file names; the tool tip tells same-named files apart.
    m_menu->setToolTipsVisible(true);
    m_refreshAction = new QAction(QStringLiteral("Refresh"), m_menu);
    m_refreshAction->setToolTip(
        QStringLiteral("<html>Refresh the list of recently opened camera files.</html>"));
    connect(m_refreshAction, &QAction::triggered, this, &RecentlyOpenedFilesSource::update);
    connect(m_menu, &QMenu::aboutToShow, this, &RecentlyOpenedFilesSource::autoUpdate);
    connect(m_menu, &QMenu::aboutToHide, this, &RecentlyOpenedFilesSource::unblockAutoUpdate);

    m_paths = normalized(storedPaths());
    rebuildMenu();
}

RecentlyOpenedFilesSource::~RecentlyOpenedFilesSource()
{
    if (m_ownsMenu)
        delete m_menu.data();
}

QStringList RecentlyOpenedFilesSource::normalized(const QStringList& a_paths)
{
    QStringList result;
    for (const QString& path : a_paths) {
        const QFileInfo info(path);
        if (!info.isFile())
            continue;
        const QString canonical = info.canonicalFilePath();
        if (canonical.isEmpty() || result.contains(canonical))
            continue;
        result << canonical;
        if (result.size() == maximumCount)
            break;
    }
    return result;
}

void RecentlyOpenedFilesSource::addPath(const QString& a_path)
{
    const QStringList stored = storedPaths();
    apply(stored, normalized(QStringList(a_path) + stored));
}

void RecentlyOpenedFilesSource::update()
{
    const QStringList stored = storedPaths();
    apply(stored, normalized(stored));
}

void RecentlyOpenedFilesSource::autoUpdate()
{
    if (m_autoUpdateBlocked)
        return;
    m_autoUpdateBlocked = true;
    update();
}

void RecentlyOpenedFilesSource::unblockAutoUpdate()
{
    m_autoUpdateBlocked = false;
}

void RecentlyOpenedFilesSource::handleFileTrigger()
{
    if (const auto* action = qobject_cast<const QAction*>(sender()))
        emit fileSelected(action->data().toString());
}

void RecentlyOpenedFilesSource::apply(const QStringList& a_stored, const QStringList& a_paths)
{
    // Another window may have written the store since this one last read it: the list shown can be
    // stale while the store is already clean, and the other way round.
    if (a_paths != a_stored)
        QSettings().setValue(QLatin1String(settingsKey), a_paths);
    if (a_paths == m_paths)
        return;
    m_paths = a_paths;
    rebuildMenu();
    for (const QPointer<QWidget>& page : qAsConst(m_documentsPages)) {
        if (page)
            fillDocumentsPage(page);
    }
    emit recentFilesChanged();
}

void RecentlyOpenedFilesSource::rebuildMenu()
{
    if (!m_menu)
        return;
    // The list is often rebuilt from within an entry's own triggered(), so the old entries outlive it.
    const QList<QAction*> oldActions = m_menu->actions();
    for (QAction* action : oldActions) {
        if (action == m_refreshAction)
            continue;
        m_menu->removeAction(action);
        if (action->parent() == m_menu)
            action->deleteLater();
    }
    if (m_refreshAction && !m_menu->actions().contains(m_refreshAction))
        m_menu->addAction(m_refreshAction);

    if (m_paths.isEmpty()) {
        auto* placeholder = new QAction(QStringLiteral("No Recent Files"), m_menu);
        placeholder->setEnabled(false);
        m_menu->addAction(placeholder);
        return;
    }

    const QFileIconProvider iconProvider;
    for (const QString& path : qAsConst(m_paths)) {
        auto* action = new QAction(iconProvider.icon(QFileInfo(path)), entryText(path), m_menu);
        action->setToolTip(QDir::toNativeSeparators(path));
        action->setData(path);
        action->setProperty(DragMenu::dragUrlProperty, QUrl::fromLocalFile(path).toString());
        connect(action, &QAction::triggered, this, &RecentlyOpenedFilesSource::handleFileTrigger);
        m_menu->addAction(action);
    }
}

QWidget* RecentlyOpenedFilesSource::documentsPageWidget(QWidget* a_parent)
{
    QWidget* page = DocumentsPageList::create(a_parent);
    fillDocumentsPage(page);

    m_documentsPages.removeAll(QPointer<QWidget>());
    m_documentsPages << page;
    return page;
}

void RecentlyOpenedFilesSource::fillDocumentsPage(QWidget* a_page)
{
    QVBoxLayout* layout = DocumentsPageList::reset(a_page, QStringLiteral("Recent Documents"));
    if (m_paths.isEmpty()) {
        layout->addWidget(new QLabel(QStringLiteral("<i>No recently opened files.</i>"), a_page));
        return;
    }

    const QFileIconProvider iconProvider;
    for (const QString& path : qAsConst(m_paths)) {
        QToolButton* entry = DocumentsPageList::addEntry(a_page, iconProvider.icon(QFileInfo(path)),
                                                         entryText(path), QDir::toNativeSeparators(path));
        connect(entry, &QToolButton::clicked, this, [this, path] { emit fileSelected(path); });
    }
}

} // namespace Orvex
