#include "app/NewWindowLauncher.h"

#include "widgets/DialogSeam.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QStringList>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#include <shellapi.h>
#endif

namespace Orvex {

void NewWindowLauncher::launch(QWidget* a_parent, const QString& a_configPath, const QString& a_cxpXsdPath,
                               const QString& a_clXsdPath)
{
    const QString executable = QCoreApplication::applicationFilePath();
    bool started = false;
#ifdef Q_OS_WIN
    Q_UNUSED(a_configPath)
    Q_UNUSED(a_cxpXsdPath)
    Q_UNUSED(a_clXsdPath)
    const std::wstring file = QDir::toNativeSeparators(executable).toStdWString();
    auto result = reinterpret_cast<INT_PTR>(
        ShellExecuteW(nullptr, L"open", file.c_str(), nullptr, nullptr, SW_SHOWNORMAL));
    if (result == ERROR_ACCESS_DENIED)
        result = reinterpret_cast<INT_PTR>(
            ShellExecuteW(nullptr, L"runas", file.c_str(), nullptr, nullptr, SW_SHOWNORMAL));
    started = result > 32;
#else
    QStringList arguments;
    if (!a_configPath.isEmpty())
        arguments << QStringLiteral("-CFGDIR") << a_configPath;
    if (!a_cxpXsdPath.isEmpty())
        arguments << QStringLiteral("-CXPXSD") << a_cxpXsdPath;
    if (!a_clXsdPath.isEmpty())
        arguments << QStringLiteral("-CLXSD") << a_clXsdPath;
    started = QProcess::startDetached(executable, arguments);
#endif
    if (!started) {
        DialogSeam::warning(a_parent, QStringLiteral("System Error"),
                            QStringLiteral("<p>Unable to create a new window for:</p><p><c>") +
                                QDir::toNativeSeparators(executable).toHtmlEscaped() +
                                QStringLiteral("</c></p>"));
    }
}

} // namespace Orvex
