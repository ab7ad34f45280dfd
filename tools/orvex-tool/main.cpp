#include "OrvexToolCommand.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

namespace {

// The readers' progress lines are meant for the editor's debug output; a script wants its standard
// error kept for what went wrong.
void dropDiagnostics(QtMsgType a_type, const QMessageLogContext& a_context, const QString& a_message)
{
    if (a_type == QtDebugMsg || a_type == QtInfoMsg)
        return;
    Q_UNUSED(a_context)
    const QByteArray line = a_message.toLocal8Bit() + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
    if (a_type == QtFatalMsg)
        std::abort();
}

} // namespace

int main(int argc, char* argv[])
{
    // The elements of a document belong to the widget library, but the tool never shows anything, so it
    // needs no display unless a platform is asked for explicitly.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(dropDiagnostics);
    QApplication application(argc, argv);
    Orvex::OrvexToolCommand command(QApplication::arguments().mid(1));
    const int status = command.run();
    std::fflush(stdout);
    return status;
}
