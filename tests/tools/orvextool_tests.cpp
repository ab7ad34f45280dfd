#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

QString contents(const QString& a_path)
{
    return QString::fromUtf8(OrvexTest::fileBytes(a_path));
}

struct Run
{
    int exitCode = -1;
    QStringList out;
    QString err;
};

} // namespace

// Runs the built tool on the test's own schema and camera file and on the shipped example.
class TestOrvexTool : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    Run run(const QStringList& a_arguments) const
    {
        QProcess process;
        process.setWorkingDirectory(m_dir.path());
        process.start(qEnvironmentVariable("ORVEX_TOOL"), a_arguments);
        Run result;
        if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit)
            return result;
        result.exitCode = process.exitCode();
        result.out = QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
        result.err = QString::fromUtf8(process.readAllStandardError());
        return result;
    }

    void write(const QString& a_name, const QString& a_text) const
    {
        QVERIFY(OrvexTest::writeFile(m_dir.filePath(a_name), a_text.toUtf8()));
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(QFileInfo(qEnvironmentVariable("ORVEX_TOOL")).isExecutable(), "ORVEX_TOOL names no program");
        const QString schema = contents(OrvexTest::sourcePath("tests/tools/data/schema.xsd"));
        const QString file = contents(OrvexTest::sourcePath("tests/tools/data/camera/input.lumex"));
        write("schema.xsd", schema);
        write("cfg/Pld/LUMEX-CXP.xsd", schema);
        write("ok.lumex", file);
        write("notxml.lumex", "camera file");
        write("gige.lumex", QString(file).replace(">CoaXPress<", ">GigE<"));
        write("refused.lumex", QString(file).replace(">100<", ">a&lt;b<"));
        // Values, a list instance and a global value changed or dropped, a mode renamed.
        write("other.lumex", contents(OrvexTest::sourcePath("tests/tools/data/other.lumex")));
    }

    void commands_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QStringList>("lines");

        for (const QString& line :
             contents(OrvexTest::sourcePath("tests/tools/data/commands.txt")).split('\n')) {
            QStringList fields = line.split('|');
            if (line.startsWith('#') || fields.size() < 4)
                continue;
            QTest::newRow(qPrintable(fields[0]))
                << fields[2].split(' ', Qt::SkipEmptyParts) << fields[1].toInt()
                << QString(fields[3]).replace("\\n", "\n")
                << fields.mid(4)
                       .replaceInStrings("{line}", "\\[\\d+\\]")
                       .replaceInStrings("{plain}", "(?:(?!</?[a-z]+>|&[a-z]+;).)*");
        }
    }

    // A failed load leaves no output file behind.
    void commands()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, error);
        QFETCH(QStringList, lines);

        const Run result = run(arguments);
        QCOMPARE(result.out.size(), lines.size());
        for (int index = 0; index < lines.size(); ++index) {
            const QRegularExpression pattern(QRegularExpression::anchoredPattern(lines.at(index)));
            QVERIFY2(pattern.match(result.out.at(index)).hasMatch(), qPrintable(result.out.at(index)));
        }
        QCOMPARE(result.exitCode, exitCode);
        QVERIFY2(result.err.contains(error), qPrintable(result.err));
        QVERIFY(!QFile::exists(m_dir.filePath("never.lumex")));
    }

    // The tool writes what the editor's printer writes after the editor's load sequence.
    void roundtrip_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("schema");
        QTest::addColumn<bool>("valid");

        QTest::newRow("extra data") << "tests/tools/data/camera" << m_dir.filePath("schema.xsd") << false;
        QTest::newRow("shipped CoaXPress example")
            << "tests/model/data/roundtrip/cxp_example" << OrvexTest::sourcePath("config/Pld/LUMEX-CXP.xsd")
            << true;
    }

    void roundtrip()
    {
        QFETCH(QString, folder);
        QFETCH(QString, schema);
        QFETCH(bool, valid);

        const QDir cases(OrvexTest::sourcePath(folder));
        const QString input = cases.filePath("input.lumex");
        const QString output = m_dir.filePath(QStringLiteral("out.lumex"));
        const Run result = run({"-CLXSD", "unused.xsd", "roundtrip", input, output, "-CXPXSD", schema});
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(contents(output), contents(cases.filePath("expected.lumex")));
        QCOMPARE(OrvexTest::runXmllint(output, schema) == 0, valid);

        if (!QFile::exists(cases.filePath("expected-dump.txt")))
            return;
        const Run dumped = run({"dump", "-CXPXSD", schema, input});
        QCOMPARE(dumped.exitCode, 0);
        QCOMPARE(dumped.out, contents(cases.filePath("expected-dump.txt")).split('\n', Qt::SkipEmptyParts));
    }

    // The README's git set-up, taken word for word, makes git diff show changed values as dump lines.
    void gitTextconv()
    {
        const QString git = QStandardPaths::findExecutable("git");
        if (git.isEmpty())
            QSKIP("git is not installed");
        const QString readme = contents(OrvexTest::sourcePath("README.md"));
        const QRegularExpression attribute("^ {4}(\\*\\.lumex diff=lumex)$",
                                           QRegularExpression::MultilineOption);
        const QRegularExpression textconv("^ {4}git (config diff\\.lumex\\.textconv) \"orvex-tool (.*)\"$",
                                          QRegularExpression::MultilineOption);
        const QRegularExpressionMatch line = attribute.match(readme);
        const QRegularExpressionMatch setting = textconv.match(readme);
        QVERIFY(line.hasMatch() && setting.hasMatch());

        const QDir repository(m_dir.filePath("repository"));
        const auto runGit = [&](const QStringList& a_arguments) {
            QProcess process;
            process.setWorkingDirectory(repository.path());
            process.start(git, QStringList{"-c", "user.name=t", "-c", "user.email=t@t"} + a_arguments);
            process.waitForFinished(60000);
            return QString::fromUtf8(process.readAllStandardOutput());
        };
        write("repository/.gitattributes", line.captured(1) + '\n');
        write("repository/camera.lumex", contents(m_dir.filePath("ok.lumex")));
        runGit({"init", "-q"});
        runGit(setting.captured(1).split(' ') << QString("'%1' -CXPXSD '%2' %3")
                                                     .arg(qEnvironmentVariable("ORVEX_TOOL"),
                                                          m_dir.filePath("schema.xsd"), setting.captured(2)));
        runGit({"add", "."});
        runGit({"commit", "-q", "-m", "first"});
        write("repository/camera.lumex", contents(m_dir.filePath("other.lumex")));
        const QStringList changed =
            runGit({"diff", "-U0"}).split('\n').filter(QRegularExpression("^[-+][^-+]"));
        QCOMPARE(
            changed,
            contents(OrvexTest::sourcePath("tests/tools/data/git-diff.txt")).split('\n', Qt::SkipEmptyParts));
    }
};

QTEST_MAIN(TestOrvexTool)
#include "orvextool_tests.moc"
