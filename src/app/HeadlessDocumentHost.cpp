#include "app/HeadlessDocumentHost.h"

namespace Orvex {

HeadlessDocumentHost::HeadlessDocumentHost(QObject* a_parent) : QObject(a_parent)
{
}

HeadlessDocumentHost::~HeadlessDocumentHost() = default;

// Without a window there are no pages, controls or titles to follow the document.
void HeadlessDocumentHost::updateDocumentState()
{
}

void HeadlessDocumentHost::setUndoRedoEnabled(bool, bool)
{
}

void HeadlessDocumentHost::setBackForwardEnabled(bool, bool)
{
}

void HeadlessDocumentHost::setCameraMode()
{
}

void HeadlessDocumentHost::setMode(int)
{
}

void HeadlessDocumentHost::setModeCategory(int)
{
}

} // namespace Orvex
