#include "app/Startup.h"
#include "app/Window.h"
#include "widgets/KeptDrawingStyle.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    Orvex::Startup::tunePainting(argv);
    Orvex::Startup::tuneAllocator();
    // Help and argument errors need no window system, so they are answered before the application
    // object, which would refuse to start without a display.
    QStringList arguments;
    for (int index = 1; index < argc; ++index)
        arguments << QString::fromLocal8Bit(argv[index]);
    int status = 0;
    if (Orvex::Startup::answersOnConsole(arguments, &status))
        return status;

    QApplication app(argc, argv);
    Orvex::KeptDrawingStyle::install();
    Orvex::Startup startup(QApplication::arguments().mid(1));
    if (!startup.run())
        return startup.exitStatus();

    Orvex::Window window;
    window.setConfigPath(startup.configPath());
    window.setCxpXsdPath(startup.cxpXsdPath());
    window.setClXsdPath(startup.clXsdPath());
    if (!startup.filePath().isEmpty())
        window.openFile(startup.filePath());
    window.show();
    return app.exec();
}
