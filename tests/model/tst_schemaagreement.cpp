#include "FileFixtures.h"
#include "TestSupport.h"
#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "fileio/CameraValidator.h"
#include "model/ExceptionBase.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <libxml/xmlschemas.h>

#include <cstdio>

using namespace Orvex;
using namespace OrvexTest;

namespace {

// The lines libxml2's schema validator, the one xmllint runs, complains about; none for a valid file.
QSet<int> schemaComplaints(xmlSchemaPtr a_schema, const QByteArray& a_document)
{
    QSet<int> lines;
    xmlDocPtr document =
        xmlReadMemory(a_document.constData(), a_document.size(), "v.lumex", nullptr, XML_PARSE_NONET);
    xmlSchemaValidCtxtPtr context = xmlSchemaNewValidCtxt(a_schema);
    xmlSchemaSetValidStructuredErrors(
        context,
        [](void* a_lines, xmlErrorPtr a_error) { *static_cast<QSet<int>*>(a_lines) << a_error->line; },
        &lines);
    if (!document || xmlSchemaValidateDoc(context, document) != 0)
        lines << -1;
    xmlSchemaFreeValidCtxt(context);
    xmlFreeDoc(document);
    return lines;
}

// Everything a problem tells, for comparing two checks.
QStringList described(const QVector<ValidationProblem>& a_problems)
{
    QStringList lines;
    for (const ValidationProblem& problem : a_problems) {
        QStringList steps;
        for (const int step : problem.locator.steps())
            steps << QString::number(step);
        lines << QString("%1 %2 %3 %4 %5 at %6 #%7")
                     .arg(problem.line)
                     .arg(ValidationProblem::severityName(problem.severity), problem.mode, problem.path,
                          problem.message, steps.join(','))
                     .arg(qulonglong(problem.instance));
    }
    return lines;
}

// Every one-change variant of a_file, each with the line it changed and what it did.
QVector<std::tuple<QByteArray, int, QString>> variants(const QByteArray& a_file, const QStringList& a_texts)
{
    QVector<std::tuple<QByteArray, int, QString>> found;
    const QList<QByteArray> lines = a_file.split('\n');
    static const QRegularExpression value(
        QStringLiteral("(<([\\w:]+)[^<>]*>)([^<>]*)(</\\2>)|([\\w:]+)=\"([^\"]*)\""));
    for (int line = 0; line < lines.size(); ++line) {
        const QString text = QString::fromUtf8(lines[line]);
        const auto with = [&](const QString& a_line) {
            QList<QByteArray> changed = lines;
            changed[line] = a_line.toUtf8();
            return changed.join('\n');
        };
        for (auto match = value.globalMatch(text); match.hasNext();) {
            const QRegularExpressionMatch found1 = match.next();
            const bool element = found1.capturedLength(2) > 0;
            const QString name = element ? found1.captured(2) : '@' + found1.captured(5);
            if (name.startsWith("@xmlns") || name.startsWith("@xsi:"))
                continue;
            const int start = found1.capturedStart(element ? 3 : 6);
            for (const QString& replacement : a_texts)
                found << std::make_tuple(
                    with(QString(text).replace(start, found1.capturedLength(element ? 3 : 6), replacement)),
                    line + 1, name + '=' + replacement.left(24));
        }
        const int open = text.indexOf(QRegularExpression("<\\w"));
        if (open < 0 || text.contains("<?") || text.contains("quarnel_config"))
            continue;
        const int close = text.indexOf(QRegularExpression("/?>"), open);
        found << std::make_tuple(with(QString()), line + 1, QString("removed"))
              << std::make_tuple(with(text + '\n' + text), line + 1, QString("doubled"))
              << std::make_tuple(with(QString(text).insert(close, " unknown=\"1\"")), line + 1,
                                 QString("@unknown"))
              << std::make_tuple(with("<Unknown>1</Unknown>\n" + text), line + 1, QString("<Unknown>"));
    }
    return found;
}

} // namespace

class TestSchemaAgreement : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Loading names every stage it passes; thousands of loads would bury the findings.
        qInstallMessageHandler([](QtMsgType a_type, const QMessageLogContext&, const QString& a_text) {
            if (a_type == QtFatalMsg)
                qt_assert(qPrintable(a_text), "", 0);
        });
    }

    // Every variant the schema rejects gets a refusal or a problem at the changed element (line), every
    // one it accepts loads without errors, but for the named differences. A debug build with sanitizers
    // takes every ORVEX_AGREEMENT_STRIDE-th variant (default 23); 1 runs them all.
    void agreement_data() { addTableRows("tests/model/data/agreement/files.txt", {"file", "schema"}); }

    void agreement()
    {
        QFETCH(QByteArray, file);
        QFETCH(QByteArray, schema);
        QStringList texts;
        for (const QByteArray& line :
             fileBytes(sourcePath("tests/model/data/agreement/mutations.txt")).split('\n'))
            if (!line.startsWith('#') && !line.isEmpty())
                texts << QString::fromUtf8(line).replace("{empty}", "").replace("{long}", QString(300, 'x'));
        QVector<QPair<QString, QRegularExpression>> differences;
        for (const QByteArray& line :
             fileBytes(sourcePath("tests/model/data/agreement/differences.txt")).split('\n'))
            if (!line.startsWith('#') && line.contains('|'))
                differences << qMakePair(
                    QString::fromUtf8(line.left(line.indexOf('|'))).trimmed(),
                    QRegularExpression(QString::fromUtf8(line.mid(line.indexOf('|') + 1)).trimmed()));

        const QString schemaPath = sourcePath(QString::fromUtf8(schema));
        xmlSchemaParserCtxtPtr parser = xmlSchemaNewParserCtxt(QFile::encodeName(schemaPath).constData());
        xmlSchemaPtr checker = xmlSchemaParse(parser);
        xmlSchemaFreeParserCtxt(parser);
        QVERIFY(checker);
        const CameraValidator::SchemaFacts keys = CameraValidator::readSchema(schemaPath);
        const int stride = qMax(1, qEnvironmentVariableIntValue("ORVEX_AGREEMENT_STRIDE") ?: 23);
        QTemporaryDir dir;
        QMap<QString, int> tally;
        QStringList unexplained;
        const auto all = variants(fileBytes(sourcePath(QString::fromUtf8(file))), texts);
        for (int index = 0; index < all.size(); index += stride) {
            const auto& [bytes, line, change] = all[index];
            const QSet<int> complaints = schemaComplaints(checker, bytes);
            CameraDocument document;
            QString outcome = "silent";
            bool near = false;
            try {
                document.load(writtenFile(dir.filePath("v.lumex"), bytes), schemaPath);
                const QVector<ValidationProblem> problems =
                    CameraValidator(document.camera(), &document.tree, keys).checkAll();
                // Loading leaves the modes unbuilt; built, they must show the same problems and write the
                // same file: laid out anew with and without the content the schema does not know, and
                // written into the file's own text, as the editor saves.
                const auto written = [&](bool a_extraData) {
                    const QString path = dir.filePath("w.lumex");
                    return document.save(path, a_extraData) ? fileBytes(path) : QByteArray();
                };
                const auto files = [&] {
                    document.tree.setSource(nullptr);
                    const QByteArray laidOut = written(true) + written(false);
                    document.tree.setSourceText(bytes);
                    return laidOut + written(true);
                };
                const QByteArray unbuiltFiles = files();
                for (ModeElement* mode : document.camera()->modes())
                    mode->categories();
                const QStringList built =
                    described(CameraValidator(document.camera(), &document.tree, keys).checkAll());
                if (built != described(problems))
                    unexplained << QString("line %1: %2: built modes show other problems:\n%3\n%4")
                                       .arg(line)
                                       .arg(change, described(problems).join('\n'), built.join('\n'));
                if (files() != unbuiltFiles)
                    unexplained
                        << QString("line %1: %2: built modes write another file").arg(line).arg(change);
                for (const ValidationProblem& problem : problems) {
                    near = near || problem.line == 0 || problem.line == line ||
                           complaints.contains(problem.line);
                    if (problem.severity == ValidationProblem::Error)
                        outcome = "errors";
                    else if (outcome == "silent" && problem.severity == ValidationProblem::Warning)
                        outcome = "warnings";
                }
            } catch (const ExceptionBase&) {
                outcome = "refused";
            }
            const bool accepted = complaints.isEmpty();
            const bool agrees = accepted ? outcome == "silent" || outcome == "warnings"
                                         : outcome == "refused" || (outcome != "silent" && near);
            const QString described =
                QString("%1 %2 %3").arg(accepted ? "accepted" : "rejected", outcome, change);
            QString reason = agrees ? "agreements" : QString();
            for (int row = 0; reason.isEmpty() && row < differences.size(); ++row)
                if (differences[row].second.match(described).hasMatch())
                    reason = "difference: " + differences[row].first;
            ++tally[reason.isEmpty() ? "unexplained" : reason];
            if (reason.isEmpty())
                unexplained << QString("line %1: %2").arg(line).arg(described);
        }
        xmlSchemaFree(checker);
        QString summary = QString("%1 variants (every %2th of %3):")
                              .arg((all.size() + stride - 1) / stride)
                              .arg(stride)
                              .arg(all.size());
        for (auto count = tally.cbegin(); count != tally.cend(); ++count)
            summary += QString(" %1 %2;").arg(count.value()).arg(count.key());
        std::printf("%s\n", qPrintable(summary));
        QVERIFY2(unexplained.isEmpty(), qPrintable(unexplained.mid(0, 400).join('\n')));
    }
};

QTEST_MAIN(TestSchemaAgreement)
#include "tst_schemaagreement.moc"
