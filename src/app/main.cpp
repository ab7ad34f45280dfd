#include "Startup.h"

#include <QApplication>
#include <QMainWindow>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    Orvex::Startup startup(QApplication::arguments().mid(1));
    if (!startup.run())
        return startup.exitStatus();

    QMainWindow window;
    window.setObjectName(QStringLiteral("OrvexWindow"));
    window.setWindowTitle(QStringLiteral("Orvex"));
    window.resize(1024, 720);
    window.show();
    return app.exec();
}
