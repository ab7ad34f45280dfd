#pragma once

#include <QString>
#include <QStringList>

#include <cstdio>

namespace Orvex {

class CameraFileSession;

// The command line of orvex-tool and its commands, which load camera files exactly as the editor
// does (standard, schema, file) and save them as its Save does. The editor's folder and schema options
// may stand anywhere on the line and have the editor's defaults.
//
// Exit status: 0 when everything asked for succeeded, 1 when a file could not be loaded or written or
// (check) holds errors,
// 2 for a wrong command line (reported with the usage text on standard error).
class OrvexToolCommand
{
public:
    enum ExitStatus
    {
        Success = 0,
        Failure = 1,
        UsageError = 2
    };

    // a_arguments without the program name.
    explicit OrvexToolCommand(const QStringList& a_arguments);

    int run();

    static QString usageText();

    // A message of the editor as one line of plain text: tags removed (a paragraph or list item that
    // follows text is set off by a blank), character entities decoded (a non-breaking space as a blank)
    // and line breaks with the blanks around them turned into one blank.
    static QString plainText(const QString& a_html);

private:
    int check(const QStringList& a_files);
    int dump(const QString& a_file);
    int roundtrip(const QString& a_input, const QString& a_output);
    // Exits as diff(1) does: 0 equal, 1 different, 2 when the files cannot be compared.
    int diff(const QString& a_left, const QString& a_right);

    // On failure writes "FILE: " and the reason to a_failures and returns false. The messages that the
    // editor would show after a successful load go to standard error.
    // a_failures may be null, a_failure receives the reason when given.
    bool load(CameraFileSession& a_session, const QString& a_file, std::FILE* a_failures,
              QString* a_failure = nullptr) const;
    int usageError(const QString& a_problem) const;

    static void writeLine(std::FILE* a_stream, const QString& a_line);

    QStringList m_arguments;
    QString m_coaXPressXsdPath;
    QString m_cameraLinkXsdPath;
    bool m_warningsAsErrors = false;
    bool m_json = false;
};

} // namespace Orvex
