#pragma once

#include <QObject>

namespace Orvex {

// Stands in for the main window where a document is loaded without one (command-line tools): the
// window element wires itself to its host by signal and slot names, and this host answers them all
// without showing anything. Nothing here ever creates a widget.
class HeadlessDocumentHost : public QObject
{
    Q_OBJECT

public:
    explicit HeadlessDocumentHost(QObject* a_parent = nullptr);
    ~HeadlessDocumentHost() override;

signals:
    void cameraSelected();
    void modeSelected(int a_index);
    void cameraGlobalSelected();
    void categorySelected(int a_index);
    void undo();
    void redo();
    void back();
    void forward();

public slots:
    void updateDocumentState();
    void setUndoRedoEnabled(bool a_undoEnabled, bool a_redoEnabled);
    void setBackForwardEnabled(bool a_backEnabled, bool a_forwardEnabled);
    void setCameraMode();
    void setMode(int a_modeIndex);
    void setModeCategory(int a_catIndex);
};

} // namespace Orvex
