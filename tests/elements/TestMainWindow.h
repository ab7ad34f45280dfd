#pragma once

#include <QObject>
#include <QStringList>

// Stands in for the main window: offers the signals and slots that the window element connects to by
// name, and logs every slot call as one line ("setMode 2", "setUndoRedoEnabled 1 0", ...).
class TestMainWindow : public QObject
{
    Q_OBJECT

public:
    QStringList log;

    // The lines of the log that start with one of a_prefixes, in order.
    QStringList calls(const QStringList& a_prefixes) const
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
    void updateDocumentState() { log << QStringLiteral("updateDocumentState"); }
    void setUndoRedoEnabled(bool a_undo, bool a_redo)
    {
        log << enabledLine("setUndoRedoEnabled", a_undo, a_redo);
    }
    void setBackForwardEnabled(bool a_back, bool a_forward)
    {
        log << enabledLine("setBackForwardEnabled", a_back, a_forward);
    }
    void setCameraMode() { log << QStringLiteral("setCameraMode"); }
    void setMode(int a_index) { log << QStringLiteral("setMode %1").arg(a_index); }
    void setModeCategory(int a_index) { log << QStringLiteral("setModeCategory %1").arg(a_index); }

private:
    static QString enabledLine(const char* a_slot, bool a_first, bool a_second)
    {
        return QStringLiteral("%1 %2 %3").arg(QLatin1String(a_slot)).arg(int(a_first)).arg(int(a_second));
    }
};
