#include "platform/DocumentFileWatcher.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>

namespace Orvex {

DocumentFileWatcher::DocumentFileWatcher(QObject* a_parent) : QObject(a_parent)
{
    m_watcher = new QFileSystemWatcher(this);
    connect(m_watcher, &QFileSystemWatcher::fileChanged, this, &DocumentFileWatcher::onChanged);
}

DocumentFileWatcher::~DocumentFileWatcher() = default;

void DocumentFileWatcher::watch(const QString& a_path)
{
    m_path = a_path.isEmpty() ? QString() : QDir::toNativeSeparators(a_path);
    m_digest = digest();
    rewatch();
}

void DocumentFileWatcher::watch(const QString& a_path, const QByteArray& a_contents)
{
    m_path = a_path.isEmpty() ? QString() : QDir::toNativeSeparators(a_path);
    m_digest = m_path.isEmpty() ? QByteArray() : digestOf(a_contents);
    rewatch();
}

void DocumentFileWatcher::rewatch()
{
    // Dropping the old watch also drops whatever it had still to report, our own writes included.
    const QStringList watched = m_watcher->files();
    if (!watched.isEmpty())
        m_watcher->removePaths(watched);
    if (!m_path.isEmpty() && QFileInfo(m_path).isFile())
        m_watcher->addPath(m_path);
}

void DocumentFileWatcher::onChanged(const QString& a_path)
{
    // Whoever blocks the reports is answering one already; what happens meanwhile is theirs to see.
    if (signalsBlocked())
        return;
    const QString path = QDir::toNativeSeparators(a_path);
    // Something else in the file's place (a folder) is no camera file: the file is gone.
    if (!QFileInfo(path).isFile()) {
        emit fileChanged(path, true);
        return;
    }
    if (path == m_path && digest() == m_digest) {
        rewatch();
        return;
    }
    emit fileChanged(path, false);
}

QByteArray DocumentFileWatcher::digest() const
{
    QFile file(m_path);
    if (m_path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return QByteArray();
    // Read whole: hashing from the device goes a kilobyte at a time, which cost a save of a large file
    // more than the hashing itself. Not mapped: another program may cut the file short meanwhile.
    return digestOf(file.readAll());
}

QByteArray DocumentFileWatcher::digestOf(const QByteArray& a_contents)
{
    // Only ever compared with another digest of this process, to notice another program's write, never
    // kept or shown: nothing asks for resistance to a forged collision, and MD4 hashes a file in about
    // half the time of SHA-1, which every save pays.
    return QCryptographicHash::hash(a_contents, QCryptographicHash::Md4);
}

} // namespace Orvex
