#include "OrvexToolCommand.h"

#include "CameraFileDump.h"
#include "app/CommandLine.h"
#include "app/Startup.h"
#include "elements/CameraElement.h"
#include "elements/FeatureComparison.h"
#include "elements/WindowElement.h"
#include "fileio/CameraFileSession.h"
#include "fileio/CameraValidator.h"
#include "model/ExceptionBase.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace Orvex {

namespace {

const QString s_defaultModeName = QStringLiteral("Default");

QString nativeAbsolute(const QString& a_path)
{
    return QDir::toNativeSeparators(QFileInfo(a_path).absoluteFilePath());
}

bool isHelpOption(const QString& a_argument)
{
    static const QStringList names{QStringLiteral("H"), QStringLiteral("HELP"), QStringLiteral("?"),
                                   QStringLiteral("-HELP")};
    if (a_argument.size() < 2)
        return false;
    // "/" stands for "-" as in the editor, but on its own it also begins every absolute path here, so
    // only the help names count as options after it.
    const QChar first = a_argument.at(0);
    return (first == QLatin1Char('-') || first == QLatin1Char('/')) &&
           names.contains(a_argument.mid(1).toUpper());
}

QString decodedEntity(const QString& a_name)
{
    static const QHash<QString, QString> named{
        {QStringLiteral("amp"), QStringLiteral("&")},       {QStringLiteral("lt"), QStringLiteral("<")},
        {QStringLiteral("gt"), QStringLiteral(">")},        {QStringLiteral("quot"), QStringLiteral("\"")},
        {QStringLiteral("apos"), QStringLiteral("'")},      {QStringLiteral("nbsp"), QStringLiteral(" ")},
        {QStringLiteral("mdash"), QString(QChar(0x2014))},  {QStringLiteral("ndash"), QString(QChar(0x2013))},
        {QStringLiteral("hellip"), QString(QChar(0x2026))}, {QStringLiteral("rarr"), QString(QChar(0x2192))},
        {QStringLiteral("larr"), QString(QChar(0x2190))},   {QStringLiteral("bull"), QString(QChar(0x2022))},
    };
    if (a_name.startsWith(QLatin1Char('#'))) {
        bool ok = false;
        const uint code = a_name.startsWith(QLatin1String("#x"), Qt::CaseInsensitive)
                              ? a_name.mid(2).toUInt(&ok, 16)
                              : a_name.mid(1).toUInt(&ok, 10);
        if (!ok || code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return QString();
        const char32_t character = code;
        return QString::fromUcs4(&character, 1);
    }
    return named.value(a_name);
}

QString decodedEntities(const QString& a_text)
{
    static const QRegularExpression entity(QStringLiteral("&(#[0-9]+|#[xX][0-9A-Fa-f]+|[A-Za-z]+);"));
    QString result;
    int position = 0;
    for (auto match = entity.globalMatch(a_text); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QString decoded = decodedEntity(found.captured(1));
        result += a_text.midRef(position, found.capturedStart() - position);
        result += decoded.isEmpty() ? found.captured() : decoded;
        position = found.capturedEnd();
    }
    return result + a_text.midRef(position);
}

// Releases what closing documents scheduled for deletion; without an event loop nothing else would.
void discard(CameraFileSession& a_session)
{
    a_session.close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

OrvexToolCommand::OrvexToolCommand(const QStringList& a_arguments) : m_arguments(a_arguments)
{
}

int OrvexToolCommand::run()
{
    const CommandLine line = CommandLine::parse(m_arguments, CommandLine::Mode::SharedOptions);
    if (line.outcome() == CommandLine::Outcome::Error)
        return usageError(line.errorText().trimmed());
    QStringList words;
    for (const QString& argument : line.remaining()) {
        if (isHelpOption(argument)) {
            writeLine(stdout, usageText());
            return Success;
        }
        if (argument == QLatin1String("--warnings-as-errors")) {
            m_warningsAsErrors = true;
            continue;
        }
        if (argument == QLatin1String("--format=json") || argument == QLatin1String("--format=text")) {
            m_json = argument.endsWith(QLatin1String("json"));
            continue;
        }
        if (argument.size() > 1 && argument.startsWith(QLatin1Char('-')))
            return usageError(QStringLiteral("Unknown argument, \"%1\".").arg(argument));
        words << argument;
    }

    const QDir configDir(line.configDir().isEmpty() ? Startup::defaultConfigPath() : line.configDir());
    m_coaXPressXsdPath =
        nativeAbsolute(line.cxpXsdPath().isEmpty() ? configDir.filePath(QStringLiteral("Pld/LUMEX-CXP.xsd"))
                                                   : line.cxpXsdPath());
    m_cameraLinkXsdPath =
        nativeAbsolute(line.clXsdPath().isEmpty() ? configDir.filePath(QStringLiteral("Vrm/LUMEX-CL.xsd"))
                                                  : line.clXsdPath());

    const QString command = words.value(0);
    const QStringList files = words.mid(1);
    if (command.isEmpty())
        return usageError(QStringLiteral("No command given."));
    if (command == QLatin1String("check"))
        return files.isEmpty() ? usageError(QStringLiteral("\"check\" needs at least one file."))
                               : check(files);
    if (command == QLatin1String("dump"))
        return files.size() != 1 ? usageError(QStringLiteral("\"dump\" needs exactly one file."))
                                 : dump(files.first());
    if (command == QLatin1String("roundtrip")) {
        return files.size() != 2
                   ? usageError(QStringLiteral("\"roundtrip\" needs an input and an output file."))
                   : roundtrip(files.at(0), files.at(1), true);
    }
    if (command == QLatin1String("set")) {
        return files.size() != 5
                   ? usageError(QStringLiteral(
                         "\"set\" needs an input and an output file, a scope, a path and a value."))
                   : roundtrip(files.at(0), files.at(1), true, files.mid(2));
    }
    if (command == QLatin1String("format")) {
        return files.size() != 2 ? usageError(QStringLiteral("\"format\" needs an input and an output file."))
                                 : roundtrip(files.at(0), files.at(1), false);
    }
    if (command == QLatin1String("diff")) {
        return files.size() != 2 ? usageError(QStringLiteral("\"diff\" needs two files."))
                                 : diff(files.at(0), files.at(1));
    }
    return usageError(QStringLiteral("Unknown command, \"%1\".").arg(command));
}

QString OrvexToolCommand::usageText()
{
    return QStringLiteral(
        "Usage: orvex-tool [-CFGDIR <PATH>] [-CXPXSD <FILE>] [-CLXSD <FILE>] <COMMAND> <FILE>...\n"
        "\n"
        "Loads camera files (LUMEX) exactly as the Orvex editor does, without a display.\n"
        "\n"
        "Commands:\n"
        "  check <FILE>...       Load and check each file; print every problem as\n"
        "                        \"FILE:LINE: SEVERITY: mode=NAME PATH: MESSAGE\" (\"camera PATH\"\n"
        "                        for the global features), then \"FILE: ok (N modes)\", \"FILE: E\n"
        "                        errors, W warnings (N modes)\" or \"FILE: \" and why it could not\n"
        "                        be loaded. Exit status 0 when every file loaded without errors,\n"
        "                        1 otherwise.\n"
        "    --warnings-as-errors  Warnings make the exit status 1 as well.\n"
        "    --format=json       One JSON array instead: per file \"file\", \"loaded\", then\n"
        "                        \"failure\" or \"modes\", \"errors\", \"warnings\" and \"problems\"\n"
        "                        (\"line\", \"severity\", \"mode\", \"path\", \"message\").\n"
        "  dump <FILE>           Print one line per value in file order: the scope (\"camera\"\n"
        "                        or \"mode=NAME\"), a tab, the path below the scope, a tab,\n"
        "                        the value as it would be written.\n"
        "  roundtrip <IN> <OUT>  Load IN and save it to OUT as the editor's Save does, extra\n"
        "                        data included: IN's own layout is kept.\n"
        "  format <IN> <OUT>     As roundtrip, but lays the whole document out anew, with two\n"
        "                        blanks of indentation per level.\n"
        "  set <IN> <OUT> <SCOPE> <PATH> <VALUE>\n"
        "                        As roundtrip, with the value that dump shows at SCOPE and\n"
        "                        PATH set to VALUE first.\n"
        "  diff <A> <B>          Print one line per value that differs: the scope and path as\n"
        "                        dump names them, A's value, B's value, separated by tabs;\n"
        "                        \"(absent)\" for a value, category or mode a file lacks.\n"
        "                        Exit status 0 when equal, 1 when different, 2 when a file\n"
        "                        could not be loaded or the standards differ.\n"
        "\n"
        "Options, anywhere on the line (\"/\" may stand for \"-\" before an option name):\n"
        "  -CFGDIR <PATH>        The configuration folder, as for the editor.\n"
        "  -CXPXSD <FILE>        Schema of CoaXPress files; default <CFGDIR>/Pld/LUMEX-CXP.xsd.\n"
        "  -CLXSD <FILE>         Schema of Camera Link files; default <CFGDIR>/Vrm/LUMEX-CL.xsd.\n"
        "  -H                    Print this help and exit.\n"
        "\n"
        "Exit status 2: the command line is wrong.");
}

QString OrvexToolCommand::plainText(const QString& a_html)
{
    static const QRegularExpression tag(QStringLiteral("<(/?)([A-Za-z][A-Za-z0-9]*)[^<>]*>"));
    static const QStringList blocks{QStringLiteral("p"),    QStringLiteral("li"),   QStringLiteral("ol"),
                                    QStringLiteral("ul"),   QStringLiteral("br"),   QStringLiteral("div"),
                                    QStringLiteral("html"), QStringLiteral("body"), QStringLiteral("h3")};
    static const QRegularExpression lineBreak(QStringLiteral("[ \\t]*[\\r\\n]+[ \\t\\r\\n]*"));
    QString text;
    bool separate = false;
    int position = 0;
    const auto appendText = [&](const QString& a_piece) {
        if (a_piece.isEmpty())
            return;
        if (separate && !text.isEmpty() && !text.at(text.size() - 1).isSpace())
            text += QLatin1Char(' ');
        separate = false;
        text += decodedEntities(a_piece);
    };
    for (auto match = tag.globalMatch(a_html); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        appendText(a_html.mid(position, found.capturedStart() - position));
        if (blocks.contains(found.captured(2).toLower()))
            separate = true;
        position = found.capturedEnd();
    }
    appendText(a_html.mid(position));
    return text.replace(lineBreak, QStringLiteral(" ")).trimmed();
}

int OrvexToolCommand::check(const QStringList& a_files)
{
    CameraFileSession session;
    int status = Success;
    QJsonArray report;
    for (const QString& file : a_files) {
        QJsonObject entry{{QStringLiteral("file"), file}};
        QString failure;
        if (!load(session, file, m_json ? nullptr : stdout, &failure)) {
            status = Failure;
            entry.insert(QStringLiteral("loaded"), false);
            entry.insert(QStringLiteral("failure"), failure);
            report << entry;
            discard(session);
            continue;
        }
        CameraElement* camera = session.camera();
        const QString schema = camera->standard() == CameraElement::StandardCoaXPress
                                   ? session.coaXPressXsdPath()
                                   : session.cameraLinkXsdPath();
        CameraValidator validator(camera, session.tree(), CameraValidator::readSchema(schema));
        const QVector<ValidationProblem> problems = validator.checkAll();
        const int errors = CameraValidator::count(problems, ValidationProblem::Error);
        const int warnings = CameraValidator::count(problems, ValidationProblem::Warning);
        status = errors > 0 || (m_warningsAsErrors && warnings > 0) ? Failure : status;
        QJsonArray listed;
        for (const ValidationProblem& problem : problems) {
            const QString scope =
                (problem.mode.isEmpty() ? (problem.path.isEmpty() ? QString() : QStringLiteral("camera"))
                                        : QStringLiteral("mode=") + problem.mode) +
                (problem.path.isEmpty() ? QString() : QLatin1Char(' ') + problem.path);
            listed << QJsonObject{
                {QStringLiteral("line"), problem.line},
                {QStringLiteral("severity"), ValidationProblem::severityName(problem.severity)},
                {QStringLiteral("mode"), problem.mode},
                {QStringLiteral("path"), problem.path},
                {QStringLiteral("message"), problem.message}};
            if (!m_json)
                writeLine(
                    stdout,
                    QStringLiteral("%1%2: %3: %4%5")
                        .arg(file, problem.line > 0 ? QStringLiteral(":%1").arg(problem.line) : QString(),
                             ValidationProblem::severityName(problem.severity),
                             scope.isEmpty() ? QString() : scope + QStringLiteral(": "), problem.message));
        }
        const int modes = camera->modeCount();
        entry.insert(QStringLiteral("loaded"), true);
        entry.insert(QStringLiteral("modes"), modes);
        entry.insert(QStringLiteral("errors"), errors);
        entry.insert(QStringLiteral("warnings"), warnings);
        entry.insert(QStringLiteral("problems"), listed);
        report << entry;
        if (!m_json) {
            QString summary = QStringLiteral("ok");
            if (errors > 0 || warnings > 0)
                summary = QStringLiteral("%1 error%2, %3 warning%4")
                              .arg(errors)
                              .arg(errors == 1 ? QString() : QStringLiteral("s"))
                              .arg(warnings)
                              .arg(warnings == 1 ? QString() : QStringLiteral("s"));
            writeLine(stdout, QStringLiteral("%1: %2 (%3 modes)").arg(file, summary).arg(modes));
        }
        discard(session);
    }
    if (m_json)
        writeLine(stdout, QString::fromUtf8(QJsonDocument(report).toJson(QJsonDocument::Indented)).trimmed());
    return status;
}

int OrvexToolCommand::dump(const QString& a_file)
{
    CameraFileSession session;
    if (!load(session, a_file, stderr))
        return Failure;
    for (const QString& line : CameraFileDump::lines(session.camera()))
        writeLine(stdout, line);
    discard(session);
    return Success;
}

int OrvexToolCommand::roundtrip(const QString& a_input, const QString& a_output, bool a_keepLayout,
                                const QStringList& a_edit)
{
    CameraFileSession session;
    session.setKeepsLayout(a_keepLayout);
    if (!load(session, a_input, stderr))
        return Failure;
    const QString refused = a_edit.isEmpty() ? QString()
                                             : CameraFileDump::setValue(session.camera(), a_edit.at(0),
                                                                        a_edit.at(1), a_edit.at(2));
    if (!refused.isEmpty()) {
        discard(session);
        writeLine(stderr, a_input + QStringLiteral(": ") + refused);
        return Failure;
    }
    // The editor asks before it saves such a file; a script cannot answer, so it only hears of it.
    if (!session.camera()->modeByName(s_defaultModeName)) {
        writeLine(stderr,
                  a_input + QStringLiteral(": warning: no \"Default\" mode; the frame grabber may not "
                                           "operate correctly in all conditions."));
    }
    QString failure;
    try {
        if (!session.save(a_output, nullptr, true))
            failure =
                QStringLiteral("An error occured saving the camera file. ") + session.saveFailure().m_problem;
    } catch (const ExceptionBase& a_exception) {
        failure = plainText(QString::fromUtf8(a_exception.what()));
    } catch (...) {
        failure = QStringLiteral("Caught an unknown exception while generating the file.");
    }
    discard(session);
    if (failure.isEmpty())
        return Success;
    writeLine(stderr, a_output + QStringLiteral(": ") + failure);
    return Failure;
}

int OrvexToolCommand::diff(const QString& a_left, const QString& a_right)
{
    CameraFileSession left;
    CameraFileSession right;
    if (!load(left, a_left, stderr) || !load(right, a_right, stderr))
        return UsageError;
    if (left.camera()->standard() != right.camera()->standard()) {
        writeLine(stderr, a_right + QStringLiteral(": not of the standard of ") + a_left);
        return UsageError;
    }
    const QVector<FeatureComparison::Row> rows =
        FeatureComparison::compareCameras(left.camera(), right.camera(), false);
    for (const FeatureComparison::Row& row : rows) {
        writeLine(stdout, QStringList{row.scope, row.path, CameraFileDump::escapedValue(row.left),
                                      CameraFileDump::escapedValue(row.right)}
                              .join(QLatin1Char('\t')));
    }
    discard(left);
    discard(right);
    return rows.isEmpty() ? Success : Failure;
}

bool OrvexToolCommand::load(CameraFileSession& a_session, const QString& a_file, std::FILE* a_failures,
                            QString* a_failure) const
{
    QString failure;
    try {
        if (a_session.load(a_file, m_coaXPressXsdPath, m_cameraLinkXsdPath, nullptr) ==
            CameraFileSession::LoadResult::UnknownStandard)
            failure = plainText(CameraFileSession::unknownStandardText());
    } catch (const ExceptionBase& a_exception) {
        failure = plainText(QString::fromUtf8(a_exception.what()));
    } catch (...) {
        failure = QStringLiteral("Caught an unknown exception parsing the file.");
    }
    if (!failure.isEmpty()) {
        if (a_failures)
            writeLine(a_failures, a_file + QStringLiteral(": ") + failure);
        if (a_failure)
            *a_failure = failure;
        return false;
    }
    QString title;
    QString text;
    while (a_session.windowElement()->popMessage(title, text))
        writeLine(stderr, a_file + QStringLiteral(": warning: ") + plainText(title) + QStringLiteral(": ") +
                              plainText(text));
    return true;
}

int OrvexToolCommand::usageError(const QString& a_problem) const
{
    writeLine(stderr, QStringLiteral("orvex-tool: ") + a_problem + QLatin1Char('\n'));
    writeLine(stderr, usageText());
    return UsageError;
}

void OrvexToolCommand::writeLine(std::FILE* a_stream, const QString& a_line)
{
    const QByteArray bytes = a_line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), a_stream);
}

} // namespace Orvex
