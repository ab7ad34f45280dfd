#include "app/Startup.h"
#include "app/Window.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
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
