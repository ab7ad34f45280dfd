#include <QApplication>
#include <QMainWindow>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Quarnel"));
    QApplication::setApplicationName(QStringLiteral("Orvex"));
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Orvex"));
    window.resize(1024, 720);
    window.show();
    return app.exec();
}
