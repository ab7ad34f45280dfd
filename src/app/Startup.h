#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace Orvex {

// Everything the editor settles before its window appears: the command line, the configuration
// folder and the two schema files (asking the user through DialogSeam when any of them is missing),
// the application's identity for the settings store, and the simulated boards' folder.
class Startup
{
public:
    static constexpr const char* organizationName = "Quarnel";
    static constexpr const char* organizationDomain = "quarnel.example";
    static constexpr const char* applicationName = "Orvex";
    static constexpr const char* configDirVariable = "QNConfigDir";

    // a_arguments without the program name. Needs the application object.
    explicit Startup(const QStringList& a_arguments);

    // False when the program must end now with exitStatus(): after an argument error or help (both
    // printed on the console) or when the user closed a question about a missing folder or file.
    bool run();

    // Handles a command line that only asks for help or is wrong, before any window system is needed:
    // prints the help (and the error) and returns true with the status to end with (0 after help, 1
    // after an error); false when the editor should start.
    static bool answersOnConsole(const QStringList& a_arguments, int* a_exitStatus);
    int exitStatus() const { return m_exitStatus; }

    // Absolute paths with native separators; filePath() is as given, empty when none was.
    QString filePath() const { return m_filePath; }
    QString configPath() const { return m_configPath; }
    QString cxpXsdPath() const { return m_cxpXsdPath; }
    QString clXsdPath() const { return m_clXsdPath; }

    // The configuration folder when the command line names none. On Windows the registry value
    // QNConfigDir of the Quarnel service, on other systems the environment variable of that name,
    // wins when set; otherwise "../Config" beside the executable, else "../share/orvex/Config" beside
    // it when only that one exists (an installed /usr/bin/orvex), else "../Config" all the same
    // (start-up then reports it as missing).
    static QString defaultConfigPath();

    static bool isUsableSchema(const QString& a_path);

    // The application's icons and licence texts live in the static GUI library, whose resources
    // register only when asked to; safe to call any number of times.
    static void initResources();

    // Sets up the C library's allocator for an editor that makes hundreds of thousands of small objects
    // per document and frees them all at once when the document closes. Call first thing in main.
    static void tuneAllocator();

    // Keeps Qt's software painter off its AVX code paths on Intel processors. Its AVX2 fill of a run
    // of pixels returns with the upper halves of the vector registers in use, and the older
    // instructions the rest of the painter runs then stall on every switch: a quarter of a page's
    // first paint. Qt reads QT_NO_CPU_FEATURE while its libraries load, before main, so this starts
    // the program again with avx2 added to it; it returns when that is not needed or not possible.
    // Call first thing in main, with main's arguments.
    static void tunePainting(char* a_argv[]);

    // The value QT_NO_CPU_FEATURE needs so that Qt leaves AVX2 unused, keeping what a_current
    // names; empty when a_current already has Qt leave it unused.
    static QByteArray withoutWideFills(const QByteArray& a_current);

private:
    bool settleConfigPath();
    bool settleSchemaPath(QString& a_path, const QString& a_name, const QString& a_expected);

    QStringList m_arguments;
    QString m_filePath;
    QString m_configPath;
    QString m_cxpXsdPath;
    QString m_clXsdPath;
    int m_exitStatus = 0;
};

} // namespace Orvex
