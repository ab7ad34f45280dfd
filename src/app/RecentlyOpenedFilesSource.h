#pragma once

#include "widgets/DragMenu.h"

#include <QAction>
#include <QFileIconProvider>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

class QWidget;

namespace Orvex {

// Keeps the list of recently opened camera files in the settings store, newest first, and shows it
// as a menu of draggable entries and as a list on the Documents page. The store is shared by every
// editor window (each its own process), so the list is reloaded whenever it is about to be shown.
class RecentlyOpenedFilesSource : public QObject
{
    Q_OBJECT

public:
    static constexpr int maximumCount = 25;
    static constexpr const char* settingsKey = "recent_documents";

    // Fills a_menu, replacing its actions; the menu stays its owner's. Without one the source creates
    // and owns a menu of its own.
    explicit RecentlyOpenedFilesSource(DragMenu* a_menu = nullptr, QObject* a_parent = nullptr);
    ~RecentlyOpenedFilesSource() override;

    DragMenu* menu() const { return m_menu; }
    QAction* refreshAction() const { return m_refreshAction; }
    QStringList recentFiles() const { return m_paths; }

    // Puts a_path first in the list, for a file that was just opened or saved.
    void addPath(const QString& a_path);

    // A transparent widget with the heading "Recent Documents" and one button per file, kept up to
    // date until it is destroyed.
    QWidget* documentsPageWidget(QWidget* a_parent);

    // Canonical paths of the files that still exist, newest first, each once, at most maximumCount.
    static QStringList normalized(const QStringList& a_paths);

signals:
    void fileSelected(QString filePath);
    void recentFilesChanged();

public slots:
    void update();
    void autoUpdate();
    void unblockAutoUpdate();
    void handleFileTrigger();

private:
    void apply(const QStringList& a_stored, const QStringList& a_paths);
    void rebuildMenu();
    void fillDocumentsPage(QWidget* a_page);

    QPointer<DragMenu> m_menu;
    bool m_ownsMenu = false;
    QPointer<QAction> m_refreshAction;
    QStringList m_paths;
    bool m_autoUpdateBlocked = false;
    QList<QPointer<QWidget>> m_documentsPages;
    // Kept, since a provider reads its icons' images once and the list is filled anew after every open
    // and every save under another name.
    QFileIconProvider m_iconProvider;
};

} // namespace Orvex
