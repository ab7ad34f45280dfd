#pragma once

#include "elements/DocumentHost.h"

#include <QStringList>

namespace OrvexTest {

// A document host that notes what the document asks of its window, one line per call ("setMode 2",
// "setUndoRedoEnabled 1 0", ...), so tests read the protocol as the main window would see it.
class RecordingDocumentHost : public Orvex::DocumentHost
{
public:
    RecordingDocumentHost();

    QStringList log;

    // The lines of the log that start with one of a_prefixes, in order.
    QStringList calls(const QStringList& a_prefixes) const;
};

} // namespace OrvexTest
