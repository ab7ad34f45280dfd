#include "elements/DocumentHost.h"

namespace Orvex {

DocumentHost::DocumentHost(QObject* a_parent) : QObject(a_parent)
{
}

DocumentHost::~DocumentHost() = default;

void DocumentHost::updateDocumentState()
{
    emit documentStateChanged();
}

void DocumentHost::setUndoRedoEnabled(bool a_undoEnabled, bool a_redoEnabled)
{
    emit undoRedoEnabledChanged(a_undoEnabled, a_redoEnabled);
}

void DocumentHost::setBackForwardEnabled(bool a_backEnabled, bool a_forwardEnabled)
{
    emit backForwardEnabledChanged(a_backEnabled, a_forwardEnabled);
}

void DocumentHost::setCameraMode()
{
    emit cameraPageRequested();
}

void DocumentHost::setMode(int a_modeIndex)
{
    emit modePageRequested(a_modeIndex);
}

void DocumentHost::setModeCategory(int a_catIndex)
{
    emit categoryPageRequested(a_catIndex);
}

} // namespace Orvex
