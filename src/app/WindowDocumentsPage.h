#pragma once

#include <QPointer>
#include <QScrollArea>
#include <QToolButton>

namespace Orvex {

class QNBrdAttachedFilesSource;
class RecentlyOpenedFilesSource;

// What the main window shows while no document is open: a way to open a file, the recently opened
// files and the files attached to the installed boards, on a transparent background.
class WindowDocumentsPage : public QScrollArea
{
    Q_OBJECT

public:
    WindowDocumentsPage(RecentlyOpenedFilesSource* a_recentSource, QNBrdAttachedFilesSource* a_attachedSource,
                        QWidget* a_parent = nullptr);
    ~WindowDocumentsPage() override;

    QToolButton* openFileButton() const { return m_openFileButton; }

signals:
    // "Open File..." or the "Open a document" line was clicked.
    void openRequested();

public slots:
    // Builds the content anew from the sources.
    void rebuild();

private:
    QPointer<RecentlyOpenedFilesSource> m_recentSource;
    QPointer<QNBrdAttachedFilesSource> m_attachedSource;
    QPointer<QWidget> m_content;
    QPointer<QToolButton> m_openFileButton;
};

} // namespace Orvex
