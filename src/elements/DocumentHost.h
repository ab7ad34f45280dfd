#pragma once

#include <QObject>

namespace Orvex {

// What a document's window element talks to: the main window, or nothing visible at all in the
// command-line tools. The window element, its camera and modes connect to the signals and slots of the
// first two groups by name (see WindowElement), so those names must not change. Each named slot only
// passes its call on as one of the typed signals of the last group, which the main window connects to
// with checked connections and which holds nothing of its own.
class DocumentHost : public QObject
{
    Q_OBJECT

public:
    explicit DocumentHost(QObject* a_parent = nullptr);
    ~DocumentHost() override;

signals:
    // What the user asks of the document.
    void cameraSelected();
    void modeSelected(int a_index);
    void cameraGlobalSelected();
    void categorySelected(int a_index);
    void undo();
    void redo();
    void back();
    void forward();

    // What the document asks of whoever shows it.
    void documentStateChanged();
    void undoRedoEnabledChanged(bool a_undoEnabled, bool a_redoEnabled);
    void backForwardEnabledChanged(bool a_backEnabled, bool a_forwardEnabled);
    void cameraPageRequested();
    void modePageRequested(int a_modeIndex);
    void categoryPageRequested(int a_catIndex);

public slots:
    void updateDocumentState();
    void setUndoRedoEnabled(bool a_undoEnabled, bool a_redoEnabled);
    void setBackForwardEnabled(bool a_backEnabled, bool a_forwardEnabled);
    void setCameraMode();
    void setMode(int a_modeIndex);
    void setModeCategory(int a_catIndex);
};

} // namespace Orvex
