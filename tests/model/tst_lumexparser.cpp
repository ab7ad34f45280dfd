#include "FileFixtures.h"
#include "TestSupport.h"
#include "app/FailureWarning.h"
#include "elements/CameraElement.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/ValueFeatureElementBase.h"
#include "fileio/CameraValidator.h"
#include "fileio/LumexParser.h"
#include "model/LumexDiagnostics.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

Q_DECLARE_METATYPE(Lumex::Error)

using namespace Orvex;
using OrvexTest::CameraDocument;

namespace {

const QString s_schema = OrvexTest::sourcePath(QStringLiteral("tests/model/data/schema/camera.xsd"));

QByteArray baseFile()
{
    return OrvexTest::fileBytes(
        OrvexTest::sourcePath(QStringLiteral("tests/model/data/schema/camera.lumex")));
}

// Alters the camera between the schema and the values as a faulty caller could: "Feature=a,b" gives
// a global feature that element path, "modes" reads into a camera that is not fresh, "presence" adds
// a feature of a kind the file format does not know.
void change(CameraDocument& a_document, const QString& a_change)
{
    const QString target = a_change.section(QLatin1Char('='), 0, 0);
    CameraElement* camera = a_document.camera();
    if (target == QLatin1String("modes")) {
        camera->appendMode(camera->mode(0)->clone());
    } else if (target == QLatin1String("presence")) {
        auto* link = qobject_cast<GenericModeCategory*>(camera->mode(0)->category(0));
        link->addFeature(link->categoryFeature());
    } else if (!target.isEmpty()) {
        a_document.global(target)->setElementPath(
            a_change.section(QLatin1Char('='), 1).split(QLatin1Char(',')));
    }
}

QString item(const QString& a_name, const QString& a_message, const QString& a_comment)
{
    return QLatin1String("<li><b>") + a_name + QLatin1String("</b>&nbsp;&mdash;&nbsp;") + a_message +
           QLatin1String("<p>") + a_comment + QLatin1String("</p></li>");
}

Lumex::Error comment(const QByteArray& a_comment, const char* a_name = "n", const char* a_message = "m")
{
    return Lumex::Error(a_name, a_message, a_comment.constData());
}

} // namespace

class TestLumexParser : public QObject
{
    Q_OBJECT

private slots:
    void rejectsFile_data() { OrvexTest::addFolderRows(QStringLiteral("tests/model/data/parser/rejected")); }

    // Each folder holds the file, the refusal expected, in user.txt the sentence the user reads about it
    // (none for faults of the program) and, in change.txt, what is done to the camera.
    void rejectsFile()
    {
        QFETCH(QString, folder);
        const QDir dir(folder);
        const QString file = dir.filePath(QStringLiteral("camera.lumex"));
        QString expected =
            QString::fromUtf8(OrvexTest::fileBytes(dir.filePath(QStringLiteral("expected.txt")))).trimmed();
        if (expected.contains(QLatin1String("{diagnostics}"))) {
            Lumex::CamFile markup;
            expected.replace(QLatin1String("{diagnostics}"),
                             LumexDiagnostics::toHtml(markup.load(QFile::encodeName(file), 0)));
        }
        const QString alteration =
            QString::fromUtf8(OrvexTest::fileBytes(dir.filePath(QStringLiteral("change.txt")))).trimmed();
        CameraDocument document;
        QString sentence;
        QCOMPARE(OrvexTest::thrownText([&] {
                     try {
                         document.load(file, s_schema, [&] { change(document, alteration); });
                     } catch (const ExceptionBase& a_error) {
                         sentence = failureSentence(a_error.place());
                         throw;
                     }
                 }),
                 expected);
        QCOMPARE(sentence,
                 QString::fromUtf8(OrvexTest::fileBytes(dir.filePath(QStringLiteral("user.txt")))).trimmed());
    }

    void keepsFile_data() { OrvexTest::addFolderRows(QStringLiteral("tests/model/data/parser/kept")); }

    // A value the schema rejects costs the file nothing: it loads, the problem list names the value, and
    // saving writes it back, so that the saved file lists the same problems. Modes are checked as loading
    // left them, and again once built, which must find the same problems at the same elements.
    void keepsFile()
    {
        QFETCH(QString, folder);
        QTemporaryDir dir;
        QStringList listed;
        for (const QString& file : {QDir(folder).filePath("camera.lumex"), dir.filePath("saved.lumex")}) {
            CameraDocument document;
            document.load(file, s_schema);
            const auto check = [&document](bool a_where) {
                const auto where = [](const ValidationProblem& a_problem) {
                    QStringList steps;
                    for (const int step : a_problem.locator.steps())
                        steps << QString::number(step);
                    return QStringLiteral(" at %1 #%2")
                        .arg(steps.join(','))
                        .arg(qlonglong(a_problem.instance));
                };
                QStringList problems;
                for (const ValidationProblem& problem :
                     CameraValidator(document.camera(), &document.tree).checkAll())
                    problems << QStringLiteral("%1: %2: %3 %4: %5%6")
                                    .arg(problem.line)
                                    .arg(ValidationProblem::severityName(problem.severity), problem.mode,
                                         problem.path, problem.message, a_where ? where(problem) : QString());
                return problems.join('\n');
            };
            const QString unbuilt = check(true);
            for (ModeElement* mode : document.camera()->modes())
                mode->categories();
            QCOMPARE(check(true), unbuilt);
            listed << check(false);
            QVERIFY(listed.size() > 1 || document.save(dir.filePath("saved.lumex")));
        }
        QCOMPARE(listed.first(),
                 QString::fromUtf8(OrvexTest::fileBytes(QDir(folder).filePath("expected.txt"))).trimmed());
        QCOMPARE(listed.last().remove(QRegularExpression("^\\d+: |\n\\d+: ")),
                 listed.first().remove(QRegularExpression("^\\d+: |\n\\d+: ")));
    }

    void tellsStandard_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/model/data/parser/standards.txt"),
                                {"standard", "coaXPress", "cameraLink", "root", "why"});
    }

    void tellsStandard()
    {
        QFETCH(QByteArray, standard);
        QFETCH(QByteArray, coaXPress);
        QFETCH(QByteArray, cameraLink);
        QFETCH(QByteArray, root);
        QFETCH(QByteArray, why);

        QTemporaryDir dir;
        LumexTree tree{QString()};
        const LumexParser parser(
            OrvexTest::writtenFile(dir.filePath(QStringLiteral("camera.lumex")),
                                   baseFile()
                                       .replace("<standard>CoaXPress</standard>", standard)
                                       .replace("quarnel_config", root.isEmpty() ? "quarnel_config" : root)),
            &tree, nullptr);
        QCOMPARE(parser.isCoaXPress(), coaXPress == "1");
        QCOMPARE(parser.isCameraLink(), cameraLink == "1");
        if (!why.isEmpty())
            QCOMPARE(failureSentence(parser.standardProblem()), QString::fromUtf8(why));
    }
    void toHtml_data()
    {
        QTest::addColumn<Lumex::Error>("error");
        QTest::addColumn<QString>("expected");

        Lumex::Error chain("<b>", "a & b", "\"q\" <t>");
        chain.append(nullptr, nullptr, nullptr);
        const Lumex::Error copy = chain;
        chain.append(Lumex::Error("third", "three", "3"));
        const QString first = item("&lt;b&gt;", "a &amp; b", "&quot;q&quot; &lt;t&gt;") + item("", "", "");
        const QString third = item("third", "three", "3");
        QTest::newRow("chain, escaped, null texts empty") << chain << first + third;
        QTest::newRow("copy taken before an append") << copy << first;
        QTest::newRow("chain from its current diagnostic") << chain.skip_next(1).skip_next(1) << third;
        QTest::newRow("success") << chain.skip_next(1).skip_next(1).skip_next(1) << QString();
        // Appending to a positioned chain keeps only what lies ahead of it.
        Lumex::Error tail = chain.skip_next(1).skip_next(1);
        tail.append(copy);
        QTest::newRow("appended to a positioned chain") << tail << third + first;
        QTest::newRow("comment of 256 characters")
            << comment(QByteArray(256, 'a')) << item("n", "m", QString(256, 'a'));
        QTest::newRow("comment of 257 characters, long name and message kept")
            << comment(QByteArray(257, 'a'), QByteArray(300, 'n').constData(),
                       QByteArray(300, 'm').constData())
            << item(QString(300, 'n'), QString(300, 'm'), QString(256, 'a') + "&hellip;");
        QTest::newRow("cut after escaping, inside an escape")
            << comment(QByteArray(254, 'a') + '<') << item("n", "m", QString(254, 'a') + "&l&hellip;");
        QTest::newRow("characters, not bytes") << comment(QByteArray("\xc3\xa9").repeated(300))
                                               << item("n", "m", QString(256, QChar(0xe9)) + "&hellip;");
    }

    void toHtml()
    {
        QFETCH(Lumex::Error, error);
        QFETCH(QString, expected);
        // Escaped, and long comments cut after escaping.
        QCOMPARE(Orvex::LumexDiagnostics::toHtml(error),
                 QLatin1String("<ol>") + expected + QLatin1String("</ol>"));
    }
};

QTEST_MAIN(TestLumexParser)
#include "tst_lumexparser.moc"
