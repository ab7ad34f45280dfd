#include "app/Startup.h"

#include "app/CommandLine.h"
#include "platform/LogCategories.h"
#include "platform/QNDriver.h"
#include "widgets/DialogSeam.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QSettings>

#include <cstdio>

#if defined(__GLIBC__)
#include <malloc.h>
#endif
#if defined(__linux__)
#include <unistd.h>
#endif

// Q_INIT_RESOURCE must be used outside any namespace.
static void initAppResources()
{
    Q_INIT_RESOURCE(app);
}

namespace Orvex {

namespace {

constexpr int FailureStatus = 1;
constexpr char NoCpuFeature[] = "QT_NO_CPU_FEATURE";

QString nativeAbsolute(const QString& a_path)
{
    if (a_path.isEmpty())
        return a_path;
    return QDir::toNativeSeparators(QDir::cleanPath(QFileInfo(a_path).absoluteFilePath()));
}

QString configOverride()
{
#ifdef Q_OS_WIN
    QSettings key(QStringLiteral("HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\Quarnel"),
                  QSettings::NativeFormat);
    const QVariant value = key.value(QLatin1String(Startup::configDirVariable));
    return value.userType() == QMetaType::QString ? value.toString() : QString();
#else
    return qEnvironmentVariable(Startup::configDirVariable);
#endif
}

// Which path was tried and what is wrong with it, as a paragraph of a question.
QString triedText(const QString& a_path, bool a_wantFolder)
{
    if (a_path.isEmpty())
        return QStringLiteral("No path was given.");
    const QFileInfo info(a_path);
    const char* problem = !info.exists() ? "which does not exist"
                          : a_wantFolder ? "which is not a folder"
                          : info.isDir() ? "which is a folder"
                                         : "which does not end in \".xsd\"";
    return QStringLiteral("Tried <code>%1</code>, %2.")
        .arg(QDir::toNativeSeparators(a_path).toHtmlEscaped(), QLatin1String(problem));
}

void print(std::FILE* a_stream, const QString& a_text)
{
    std::fputs(a_text.toLocal8Bit().constData(), a_stream);
    std::fflush(a_stream);
}

} // namespace

Startup::Startup(const QStringList& a_arguments) : m_arguments(a_arguments)
{
}

bool Startup::run()
{
    initResources();
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/OrvexLogo.ico")));

    if (answersOnConsole(m_arguments, &m_exitStatus))
        return false;
    const CommandLine commandLine = CommandLine::parse(m_arguments);
    applyLoggingRules(commandLine.verbose());
    m_filePath = commandLine.filePath();
    m_configPath = commandLine.configDir().isEmpty() ? defaultConfigPath() : commandLine.configDir();
    m_cxpXsdPath = commandLine.cxpXsdPath();
    m_clXsdPath = commandLine.clXsdPath();

    if (!settleConfigPath())
        return false;
    QNSimSetConfigDir(QFile::encodeName(m_configPath).constData());

    const QDir configDir(m_configPath);
    const QString cxpDefault = QStringLiteral("Pld/LUMEX-CXP.xsd");
    const QString clDefault = QStringLiteral("Vrm/LUMEX-CL.xsd");
    if (m_cxpXsdPath.isEmpty())
        m_cxpXsdPath = configDir.filePath(cxpDefault);
    if (m_clXsdPath.isEmpty())
        m_clXsdPath = configDir.filePath(clDefault);
    m_cxpXsdPath = nativeAbsolute(m_cxpXsdPath);
    m_clXsdPath = nativeAbsolute(m_clXsdPath);
    if (!settleSchemaPath(m_cxpXsdPath, QStringLiteral("CoaXPress Schema"), cxpDefault) ||
        !settleSchemaPath(m_clXsdPath, QStringLiteral("CameraLink Schema"), clDefault))
        return false;

    QApplication::setOrganizationName(QLatin1String(organizationName));
    QApplication::setOrganizationDomain(QLatin1String(organizationDomain));
    QApplication::setApplicationName(QLatin1String(applicationName));
    m_exitStatus = 0;
    return true;
}

bool Startup::answersOnConsole(const QStringList& a_arguments, int* a_exitStatus)
{
    const CommandLine commandLine = CommandLine::parse(a_arguments);
    if (commandLine.outcome() == CommandLine::Outcome::Proceed)
        return false;
    const bool failed = commandLine.outcome() == CommandLine::Outcome::Error;
    if (failed)
        print(stderr, commandLine.errorText());
    print(stdout, CommandLine::helpText());
    *a_exitStatus = failed ? FailureStatus : 0;
    return true;
}

QString Startup::defaultConfigPath()
{
    const QString given = configOverride();
    if (!given.isEmpty())
        return nativeAbsolute(given);

    // Only beside the executable: a copied or installed program must never pick up the folder of the
    // tree it was built from. The build puts a copy of the shipped folder at ../Config, a package
    // installs it under ../share; the first stays the answer when neither is there, as it names the
    // folder a user is most likely to make.
    const QDir executableDir(QCoreApplication::applicationDirPath());
    const QString beside = executableDir.filePath(QStringLiteral("../Config"));
    const QString installed = executableDir.filePath(QStringLiteral("../share/orvex/Config"));
    return nativeAbsolute(!QFileInfo(beside).isDir() && QFileInfo(installed).isDir() ? installed : beside);
}

bool Startup::isUsableSchema(const QString& a_path)
{
    const QFileInfo info(a_path);
    return !a_path.isEmpty() && info.exists() && info.isFile() && info.suffix() == QLatin1String("xsd");
}

void Startup::tuneAllocator()
{
#if defined(__GLIBC__)
    // Small freed blocks wait in glibc's fast bins until a large block is freed, which merges all of
    // them at once; closing a large document then spends most of its time merging the same blocks over
    // and over. Without fast bins every free merges its neighbours right away, which halves the close
    // and costs the open nothing measurable.
    mallopt(M_MXFAST, 0);
#endif
}

void Startup::tunePainting(char* a_argv[])
{
#if defined(__linux__) && defined(__x86_64__)
    __builtin_cpu_init();
    if (!__builtin_cpu_is("intel") || !__builtin_cpu_supports("avx2"))
        return;
    const QByteArray value = withoutWideFills(qgetenv(NoCpuFeature));
    if (value.isEmpty())
        return;
    // The program's own path rather than /proc/self/exe, whose name ps and pgrep would show.
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0 || length == ssize_t(sizeof path - 1))
        return;
    path[length] = '\0';
    qputenv(NoCpuFeature, value);
    execv(path, a_argv);
    // Only the painting is slower when the program cannot start again.
#else
    Q_UNUSED(a_argv)
#endif
}

QByteArray Startup::withoutWideFills(const QByteArray& a_current)
{
    // Qt matches each feature's name, with a space before it, anywhere in the value with a space
    // before it; "avx2" so also turns off plain avx.
    static const QByteArray feature("avx2");
    if ((' ' + a_current).contains(' ' + feature))
        return QByteArray();
    const QByteArray kept = a_current.trimmed();
    return kept.isEmpty() ? feature : kept + ' ' + feature;
}

void Startup::initResources()
{
    static const bool registered = (initAppResources(), true);
    Q_UNUSED(registered)
}

bool Startup::settleConfigPath()
{
    while (m_configPath.isEmpty() || !QFileInfo(m_configPath).isDir()) {
        const QMessageBox::StandardButton answer = DialogSeam::question(
            nullptr, QStringLiteral("CFGDIR Path Missing"),
            QStringLiteral("<html><p>The CFGDIR path is missing or invalid. Orvex cannot proceed without a "
                           "valid path.</p><p>%1</p><p>The configuration folder holds the schema files "
                           "<code>Pld/LUMEX-CXP.xsd</code> and <code>Vrm/LUMEX-CL.xsd</code>.</p>"
                           "<p>Open a new path?</p></html>")
                .arg(triedText(m_configPath, true)),
            QMessageBox::Open | QMessageBox::Close, QMessageBox::Close);
        if (answer != QMessageBox::Open) {
            m_exitStatus = FailureStatus;
            return false;
        }
        const QString chosen = DialogSeam::existingDirectory(
            nullptr, QStringLiteral("Select temporary CFGDIR"), QDir::homePath());
        if (!chosen.isEmpty()) {
            // The user's own choice is taken as it is.
            m_configPath = nativeAbsolute(chosen);
            return true;
        }
    }
    m_configPath = nativeAbsolute(m_configPath);
    return true;
}

bool Startup::settleSchemaPath(QString& a_path, const QString& a_name, const QString& a_expected)
{
    while (!isUsableSchema(a_path)) {
        const QMessageBox::StandardButton answer = DialogSeam::question(
            nullptr, a_name + QStringLiteral(" File Missing"),
            QStringLiteral("<html><p>The %1 file is missing or invalid. Orvex cannot proceed without a valid "
                           "file.</p><p>%2</p><p>Expected: an XSD schema file named <code>*.xsd</code>, by "
                           "default <code>%3</code> in the configuration folder.</p><p>Open a new "
                           "file?</p></html>")
                .arg(a_name, triedText(a_path, false), a_expected),
            QMessageBox::Open | QMessageBox::Close, QMessageBox::Close);
        if (answer != QMessageBox::Open) {
            m_exitStatus = FailureStatus;
            return false;
        }
        a_path =
            nativeAbsolute(DialogSeam::openFileName(nullptr, QStringLiteral("Select temporary ") + a_name,
                                                    a_path, a_name + QStringLiteral(" File (*.xsd)")));
    }
    return true;
}

} // namespace Orvex
