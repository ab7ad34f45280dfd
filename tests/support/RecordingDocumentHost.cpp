#include "RecordingDocumentHost.h"

namespace OrvexTest {

namespace {

QString pairLine(const char* a_slot, bool a_first, bool a_second)
{
    return QStringLiteral("%1 %2 %3").arg(QLatin1String(a_slot)).arg(int(a_first)).arg(int(a_second));
}

} // namespace

RecordingDocumentHost::RecordingDocumentHost()
{
    using Orvex::DocumentHost;
    connect(this, &DocumentHost::documentStateChanged, this,
            [this] { log << QStringLiteral("updateDocumentState"); });
    connect(this, &DocumentHost::undoRedoEnabledChanged, this,
            [this](bool a_undo, bool a_redo) { log << pairLine("setUndoRedoEnabled", a_undo, a_redo); });
    connect(this, &DocumentHost::backForwardEnabledChanged, this, [this](bool a_back, bool a_forward) {
        log << pairLine("setBackForwardEnabled", a_back, a_forward);
    });
    connect(this, &DocumentHost::cameraPageRequested, this,
            [this] { log << QStringLiteral("setCameraMode"); });
    connect(this, &DocumentHost::modePageRequested, this,
            [this](int a_index) { log << QStringLiteral("setMode %1").arg(a_index); });
    connect(this, &DocumentHost::categoryPageRequested, this,
            [this](int a_index) { log << QStringLiteral("setModeCategory %1").arg(a_index); });
}

QStringList RecordingDocumentHost::calls(const QStringList& a_prefixes) const
{
    QStringList lines;
    for (const QString& line : log) {
        for (const QString& prefix : a_prefixes) {
            if (line.startsWith(prefix)) {
                lines << line;
                break;
            }
        }
    }
    return lines;
}

} // namespace OrvexTest
