#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

class QAction;
class QWidget;

namespace Orvex {

class ModeElement;
class QNBrdDataSource;

// "Apply Mode to Camera" and "Read Mode from Camera": the current mode of the window's document written
// to the camera of the board the window reads, with a report of what became of each feature, and the
// camera's current values read into the mode as one undoable step. Both wait for the camera off the GUI
// thread; while one runs, neither can be started again.
class CameraModeActions : public QObject
{
    Q_OBJECT

public:
    using ModeFinder = std::function<ModeElement*()>;

    // Adds the two actions to a_window and to the menus that hold a_after, right after it.
    CameraModeActions(QWidget* a_window, QAction* a_after, QNBrdDataSource* a_dataSource, ModeFinder a_mode);
    ~CameraModeActions() override;

    QAction* applyAction() const { return m_applyAction; }
    QAction* readAction() const { return m_readAction; }

public slots:
    void applyMode();
    void readMode();

signals:
    // A transfer ended, after its report or message was shown.
    void transferDone();

private:
    bool prepare(const QString& a_title, ModeElement** a_mode);
    void setBusy(bool a_busy);
    void fail(const QString& a_title, const QString& a_message);

    QPointer<QWidget> m_window;
    QPointer<QNBrdDataSource> m_dataSource;
    ModeFinder m_mode;
    QAction* m_applyAction = nullptr;
    QAction* m_readAction = nullptr;
    bool m_busy = false;
};

} // namespace Orvex
