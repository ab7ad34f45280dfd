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

// The end of each path that tells it from the others: its file name, with as many of its folders as
// another entry of that name needs to differ. Shown as a menu or button text, where "&" would mark a
// shortcut key.
QStringList entryTexts(const QStringList& a_paths)
{
    QVector<QStringList> parts;
    for (const QString& path : a_paths)
        parts << QDir::fromNativeSeparators(path).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    const auto tail = [&](int a_index, int a_depth) {
        return parts[a_index].mid(parts[a_index].size() - a_depth);
    };
    QStringList texts;
    for (int index = 0; index < parts.size(); ++index) {
        int depth = 1;
        bool clash = true;
        while (clash && depth < parts[index].size()) {
            clash = false;
            for (int other = 0; other < parts.size() && !clash; ++other)
                clash = other != index && tail(other, depth) == tail(index, depth);
            depth += clash ? 1 : 0;
        }
        texts << QDir::toNativeSeparators(tail(index, depth).join(QLatin1Char('/')))
                     .replace(QLatin1Char('&'), QLatin1String("&&"));
    }
    return texts;
}

} // namespace

RecentlyOpenedFilesSource::RecentlyOpenedFilesSource(DragMenu* a_menu, QObject* a_parent)
    : QObject(a_parent), m_menu(a_menu)
{
    if (!m_menu) {
        m_menu = new DragMenu(QStringLiteral("Open &Recent"));
        m_ownsMenu = true;
    }
    // The entries show file names, with folders only where two names are alike; the tool tip has the
    // whole path.
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

    const QStringList texts = entryTexts(m_paths);
    for (int index = 0; index < m_paths.size(); ++index) {
        const QString& path = m_paths.at(index);
        auto* action = new QAction(m_iconProvider.icon(QFileInfo(path)), texts.at(index), m_menu);
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

    const QStringList texts = entryTexts(m_paths);
    for (int index = 0; index < m_paths.size(); ++index) {
        const QString& path = m_paths.at(index);
        QToolButton* entry = DocumentsPageList::addEntry(a_page, m_iconProvider.icon(QFileInfo(path)),
                                                         texts.at(index), QDir::toNativeSeparators(path));
        connect(entry, &QToolButton::clicked, this, [this, path] { emit fileSelected(path); });
    }
}

} // namespace Orvex
