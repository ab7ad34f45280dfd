#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

class QFileSystemWatcher;

namespace Orvex {

// Watches the file of the open document for other programs' changes. It remembers the file's contents
// as last read or written, so that our own saves, and touches that leave the contents as they were,
// are not reported.
class DocumentFileWatcher : public QObject
{
    Q_OBJECT

public:
    explicit DocumentFileWatcher(QObject* a_parent = nullptr);
    ~DocumentFileWatcher() override;

    // Watches a_path (none when empty) and takes its present contents as known. Call it right after
    // reading or writing the file, before anything lets the event loop run.
    void watch(const QString& a_path);
    // As above, with a_contents taken as the file's present contents instead of reading them.
    void watch(const QString& a_path, const QByteArray& a_contents);
    // Watches the same file again, as after a report, keeping the known contents. Whatever the old
    // watch had still to report is dropped.
    void rewatch();
    QString path() const { return m_path; }

signals:
    // The file's contents differ from the known ones, or (a_gone) it is no longer a file: deleted,
    // renamed, moved, or something else such as a folder in its place. a_path has native separators.
    // Nothing is reported while signals are blocked, not even later.
    void fileChanged(const QString& a_path, bool a_gone);

private:
    void onChanged(const QString& a_path);
    QByteArray digest() const;
    static QByteArray digestOf(const QByteArray& a_contents);

    QFileSystemWatcher* m_watcher = nullptr;
    QString m_path;
    QByteArray m_digest;
};

} // namespace Orvex
