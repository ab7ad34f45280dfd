#include "WindowFixtures.h"

#include "TestSupport.h"
#include "app/CameraTreeModel.h"
#include "app/Window.h"
#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "elements/WindowElement.h"
#include "widgets/DialogSeam.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTreeView>

using namespace Orvex;

namespace OrvexTest {

std::unique_ptr<QTemporaryDir> startWindowTest()
{
    DialogSeam::reset();
    DialogSeam::setTestMode(true);
    return std::make_unique<QTemporaryDir>();
}

std::unique_ptr<Window> makeWindow(const QString& a_configPath)
{
    auto window = std::make_unique<Window>();
    window->setConfigPath(a_configPath.isEmpty() ? sourcePath("config") : a_configPath);
    window->setCxpXsdPath(sourcePath("config/Pld/LUMEX-CXP.xsd"));
    window->setClXsdPath(sourcePath("config/Vrm/LUMEX-CL.xsd"));
    return window;
}

QAction* windowAction(const QWidget& a_window, const QString& a_text)
{
    for (QAction* action : a_window.findChildren<QAction*>()) {
        if (action->text() == a_text)
            return action;
    }
    return nullptr;
}

QStringList messages(bool a_titlesOnly)
{
    QStringList result;
    for (const DialogSeam::Record& record : DialogSeam::log()) {
        if (record.m_kind != DialogSeam::Kind::OpenFileName &&
            record.m_kind != DialogSeam::Kind::SaveFileName)
            result << (a_titlesOnly ? record.m_title : record.m_title + QStringLiteral(": ") + record.m_text);
    }
    return result;
}

QStringList modeNames(const Window& a_window)
{
    QStringList names;
    for (const ModeElement* mode : a_window.windowElement()->camera()->modes())
        names << mode->name();
    return names;
}

bool moveSecondModeUp(Window& a_window)
{
    a_window.cameraTreeView()->setCurrentIndex(a_window.cameraTreeModel()->modeIndex(1));
    windowAction(a_window, QStringLiteral("Move &Up"))->trigger();
    return modeNames(a_window).value(0) == QLatin1String("Fast") && a_window.isDocumentModified();
}

QString copyExample(const QString& a_path)
{
    if (!QDir().mkpath(QFileInfo(a_path).absolutePath()) ||
        !QFile::copy(sourcePath("examples/Example_CL.lumex"), a_path))
        return QString();
    QFile::setPermissions(a_path, QFile::ReadOwner | QFile::WriteOwner);
    return a_path;
}

QByteArray diskState(const QString& a_path)
{
    if (QFileInfo(a_path).isDir())
        return "<folder>";
    QFile file(a_path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<none>");
}

} // namespace OrvexTest
