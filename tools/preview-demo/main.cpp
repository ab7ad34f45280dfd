// Shows a running acquisition preview of the first simulated CoaXPress board for screenshots:
//   preview-demo <configuration folder> <camera file> <mode> <seconds>
// It says "preview ready" on standard output once frames are on screen, and closes after the seconds.
#include "board/PreviewAcqIf.h"
#include "board/QNBrdDisplayName.h"
#include "board/ViewportWindowQt.h"
#include "platform/QNDriver.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QScreen>
#include <QTimer>

#include <cstdio>

using namespace Orvex;

int main(int a_argc, char** a_argv)
{
    QApplication application(a_argc, a_argv);
    if (a_argc != 5) {
        std::fprintf(stderr, "usage: preview-demo <configuration folder> <camera file> <mode> <seconds>\n");
        return 2;
    }
    QNSimSetConfigDir(a_argv[1]);
    QNSimReload();
    const int board = QNBrdDisplayName::boards(BoardType::CoaXPress).value(0).boardNumber;
    const QString file = QFile::decodeName(a_argv[2]);
    QPointer<Viewport::WindowQt> window =
        PreviewAcqIf::openPreview(unsigned(board), file, QString::fromLocal8Bit(a_argv[3]));
    if (!window)
        return 1;
    window->setWindowTitle(QFileInfo(file).fileName() + " on Bd (" + QString::number(board) + ")");
    window->setGeometry(QGuiApplication::primaryScreen()->availableGeometry());
    window->show();
    if (!window->acquisition()->start())
        return 1;
    // A hundred frames delivered means the stream is steady, not just its first picture.
    QTimer ready;
    QObject::connect(&ready, &QTimer::timeout, [&] {
        if (window && !window->displayedImage().isNull() && window->acquisition()->framesDelivered() > 100) {
            std::printf("preview ready\n");
            std::fflush(stdout);
            ready.stop();
        }
    });
    ready.start(200);
    QTimer::singleShot(QByteArray(a_argv[4]).toInt() * 1000, window, &QWidget::close);
    return QApplication::exec();
}
