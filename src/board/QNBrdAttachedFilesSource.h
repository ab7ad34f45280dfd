#pragma once

#include "platform/QNDriver.h"
#include "widgets/DragMenu.h"

#include <QAction>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVector>

class QWidget;

namespace Orvex {

// Lists, per current-generation board, the camera files its driver configuration names, each with the
// mode to open it in, and shows them as a menu of draggable entries and on the Documents page.
// Boards are queried again whenever the menu is about to be shown, since a driver tool may have
// changed the configuration meanwhile.
class QNBrdAttachedFilesSource : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString configPath READ configPath WRITE setConfigPath)

public:
    struct AttachedFile
    {
        QString filePath; // native separators
        QString fileMode; // empty: open in no particular mode
        int boardNumber = -1;

        bool operator==(const AttachedFile& a_other) const;
    };

    struct Board
    {
        int boardNumber = -1;
        QString name;
        QVector<AttachedFile> files;

        bool operator==(const Board& a_other) const;
    };

    // Fills a_menu, replacing its actions; the menu stays its owner's. Without one the source creates
    // and owns a menu of its own.
    explicit QNBrdAttachedFilesSource(DragMenu* a_menu = nullptr, QObject* a_parent = nullptr);
    ~QNBrdAttachedFilesSource() override;

    DragMenu* menu() const { return m_menu; }
    QAction* refreshAction() const { return m_refreshAction; }
    QVector<Board> boards() const { return m_boards; }

    QString configPath() const { return m_configPath; }
    // The attached files are named relative to the schema folders of the configuration folder; a new
    // folder is scanned at once, without showing progress.
    void setConfigPath(const QString& a_configPath);

    // A transparent widget with the heading "Attached Files" and one button per file, kept up to date
    // until it is destroyed.
    QWidget* documentsPageWidget(QWidget* a_parent);

signals:
    void fileSelected(QString filePath, QString fileMode, int boardNum);
    void attachedFilesChanged();

public slots:
    void update();
    void autoUpdate();
    void unblockAutoUpdate();
    void handleFileTrigger();

private:
    void scan(bool a_interactive);
    QVector<AttachedFile> attachedFiles(HwBrdHandle a_handle, int a_boardNumber) const;
    void rebuildMenu();
    void fillDocumentsPage(QWidget* a_page);

    QPointer<DragMenu> m_menu;
    bool m_ownsMenu = false;
    QPointer<QAction> m_refreshAction;
    QString m_configPath;
    QVector<Board> m_boards;
    bool m_scanning = false;
    bool m_autoUpdateBlocked = false;
    QList<QPointer<QWidget>> m_documentsPages;
};

} // namespace Orvex
