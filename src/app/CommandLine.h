#pragma once

#include <QString>
#include <QStringList>

namespace Orvex {

// The editor's command line: options begin with "-" or "/" and are named case-insensitively; an
// option that takes a value takes the next argument, whatever it looks like, so values may be paths
// that begin with "/".
class CommandLine
{
public:
    enum class Mode
    {
        // Every option of the editor; anything else is an error.
        Editor,
        // Only the folder and schema options, for companion tools with options of their own: every
        // other argument, option or not, is kept in remaining() in its original order.
        SharedOptions
    };

    enum class Outcome
    {
        Proceed,
        Help,
        Error
    };

    static constexpr const char* fileOption = "F";
    static constexpr const char* configDirOption = "CFGDIR";
    static constexpr const char* cxpXsdOption = "CXPXSD";
    static constexpr const char* clXsdOption = "CLXSD";
    // Also spelled "--verbose", as on other programs of a Linux desktop.
    static constexpr const char* verboseOption = "VERBOSE";

    // a_arguments without the program name.
    static CommandLine parse(const QStringList& a_arguments, Mode a_mode = Mode::Editor);
    static QString helpText();

    // Parsing stops at the first error; a help option does not stop it, so a later error still
    // shows.
    Outcome outcome() const;
    // Ends with a line break, ready for standard error; empty without an error.
    QString errorText() const { return m_errorText; }
    bool helpRequested() const { return m_helpRequested; }

    QString filePath() const { return m_filePath; }
    QString configDir() const { return m_configDir; }
    QString cxpXsdPath() const { return m_cxpXsdPath; }
    QString clXsdPath() const { return m_clXsdPath; }
    QStringList remaining() const { return m_remaining; }
    // The editor's diagnostic lines asked for on standard error (editor mode only).
    bool verbose() const { return m_verbose; }

private:
    QString* valueSlot(const QString& a_option, Mode a_mode);

    QString m_filePath;
    QString m_configDir;
    QString m_cxpXsdPath;
    QString m_clXsdPath;
    QStringList m_remaining;
    bool m_helpRequested = false;
    bool m_verbose = false;
    QString m_errorText;
};

} // namespace Orvex
