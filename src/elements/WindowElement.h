#pragma once

#include "elements/ElementBase.h"

#include <QPair>
#include <QPointer>
#include <QQueue>

namespace Orvex {

class CameraElement;
class NavigationStack;
class UndoRedoStack;

// The root of a document's element tree, between the main window and the camera. It owns the camera,
// the undo/redo stack and the navigation stack, turns the main window's selection signals into page
// activations, and queues the messages meant for the user until the main window collects them.
//
// The main window is reached only through signal and slot names, so any object that offers them can
// stand in for it: signals cameraSelected(), modeSelected(int), cameraGlobalSelected(),
// categorySelected(int), undo(), redo(), back(), forward(); slots updateDocumentState(),
// setUndoRedoEnabled(bool,bool), setBackForwardEnabled(bool,bool), setCameraMode(), setMode(int),
// setModeCategory(int).
class WindowElement : public ElementBase
{
    Q_OBJECT

public:
    // a_mainWindow becomes the Qt parent. Its undo/redo and back/forward controls start disabled.
    explicit WindowElement(QObject* a_mainWindow);
    ~WindowElement() override;

    QObject* mainWindow() const;
    CameraElement* camera() const { return m_camera; }
    UndoRedoStack* undoRedoStack() const { return m_undoRedoStack; }
    NavigationStack* navigationStack() const { return m_navigationStack; }

    // The oldest pending message; false, with both texts emptied, when there is none.
    bool popMessage(QString& a_title, QString& a_text);
    int pendingMessageCount() const { return m_messages.size(); }

    // Records the page now shown (the global category, or the current mode's current category) as a
    // visit in the navigation history. Called after the user chose a page, never while pages are merely
    // activated, so that going back and forth does not record anything.
    void recordCurrentPage();

    const WindowElement* windowElement() const override { return this; }
    WindowElement* windowElement() override { return this; }

signals:
    // A message has been queued and waits for popMessage.
    void messageQueued();

public slots:
    void setCamera();
    void setMode(int a_index);
    // The same page as setCamera, reached from the breadcrumb.
    void setCameraGlobal();
    void setCategory(int a_index);

    void queueMessage(const QString& a_title, const QString& a_text);

protected:
    void onRaise() override;
    void onLower() override;

private:
    QPointer<QObject> m_mainWindow;
    CameraElement* m_camera = nullptr;
    UndoRedoStack* m_undoRedoStack = nullptr;
    NavigationStack* m_navigationStack = nullptr;
    QQueue<QPair<QString, QString>> m_messages;
};

} // namespace Orvex
