#include "app/Startup.h"
#include "platform/QNDriver.h"
#include "widgets/DialogSeam.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include "FileFixtures.h"
#include "TestSupport.h"

using Orvex::DialogSeam;
using Orvex::Startup;

class TestStartup : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    // Placeholders of the data rows, here and in data/startup.txt: {good} a complete configuration folder,
    // {bare} one without schemas, {missing} a folder that does not exist, {upper} a schema named .XSD,
    // {folder} a folder named .xsd, {cxp} and {cl} schemas outside any configuration folder.
    QStringList expand(const QStringList& a_texts) const
    {
        QStringList result = a_texts;
        for (const char* name : {"good", "bare", "missing", "upper", "folder", "cxp", "cl"})
            result.replaceInStrings(QStringLiteral("{%1}").arg(QLatin1String(name)),
                                    m_dir.filePath(QLatin1String(name)));
        return result;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        const QDir root(m_dir.path());
        for (const char* folder : {"good/Pld", "good/Vrm", "bare", "folder/schema.xsd"})
            QVERIFY(root.mkpath(folder));
        for (const char* file :
             {"good/Pld/LUMEX-CXP.xsd", "good/Vrm/LUMEX-CL.xsd", "upper.XSD", "cxp.xsd", "cl.xsd"}) {
            QFile out(root.filePath(file));
            QVERIFY(out.open(QIODevice::WriteOnly));
            out.write("<xs:schema/>");
        }
        QVERIFY(QFile::copy(OrvexTest::sourcePath("config/SimBoards.json"),
                            root.filePath("good/SimBoards.json")));
    }

    void init()
    {
        qunsetenv("QN_SIM_BOARDS");
        qunsetenv(Startup::configDirVariable);
        // Without the variable, a build run where it was built still finds the repository's folder.
        QVERIFY(QFileInfo(Startup::defaultConfigPath()).isDir());
        QNSimReset();
        DialogSeam::reset();
        DialogSeam::setTestMode(true);
    }

    void cleanup() { DialogSeam::reset(); }

    void settle_data()
    {
        OrvexTest::addTableRows("tests/app/data/startup.txt",
                                {"arguments", "answers", "fileNames", "dialogs", "settled"});
    }

    void settle()
    {
        QFETCH(QByteArray, arguments);
        QFETCH(QByteArray, answers);
        QFETCH(QByteArray, fileNames);
        QFETCH(QByteArray, dialogs);
        QFETCH(QByteArray, settled);
        const auto list = [](const QByteArray& a_field) {
            return a_field.isEmpty() ? QStringList() : QString(a_field).split(',');
        };

        for (const QString& answer : QString(answers).split(' ', Qt::SkipEmptyParts))
            DialogSeam::queueAnswer(answer == "open" ? QMessageBox::Open : QMessageBox::Close);
        for (const QString& name : expand(list(fileNames)))
            DialogSeam::queueFileName(name);

        QStringList argumentList = expand(QString(arguments).split(' ', Qt::SkipEmptyParts));
        // "NAME=value" sets an environment variable instead of passing an argument.
        for (const QString& setting : argumentList.filter(QStringLiteral("=")))
            qputenv(qPrintable(setting.section('=', 0, 0)), QFile::encodeName(setting.section('=', 1)));
        argumentList = argumentList.filter(QRegularExpression("^[^=]*$"));
        Startup startup(argumentList);
        const bool proceed = startup.run();

        QStringList shown;
        for (const DialogSeam::Record& record : DialogSeam::log())
            shown << (record.m_kind == DialogSeam::Kind::Question ? "ask: " : "choose: ") + record.m_title;
        QCOMPARE(shown, list(dialogs));
        QCOMPARE(DialogSeam::pendingAnswers(), 0);
        QCOMPARE(DialogSeam::pendingFileNames(), 0);
        QCOMPARE(proceed, !settled.isEmpty());
        if (!proceed) {
            QCOMPARE(startup.exitStatus(), 1);
            return;
        }
        QCOMPARE(startup.exitStatus(), 0);
        const QStringList expected = expand(list(settled));
        QCOMPARE(startup.configPath(), QDir::toNativeSeparators(expected[0]));
        QCOMPARE(startup.cxpXsdPath(), QDir::toNativeSeparators(expected[1]));
        QCOMPARE(startup.clXsdPath(), QDir::toNativeSeparators(expected[2]));
        QCOMPARE(startup.filePath(), argumentList.contains("-F") ? QStringLiteral("x.lumex") : QString());

        // The simulated boards come from the settled folder.
        HwBrdEntry board;
        QCOMPARE(HwSysBrdFind(HwSelectorFrameGrabber, 0, &board) == 0, expected[0] == m_dir.filePath("good"));
    }

    void questionWording_data()
    {
        OrvexTest::addTableRows(
            "tests/app/data/startup-questions.txt",
            {"arguments", "title", "text", "chooserTitle", "chooserFilter", "chooserStart"});
    }

    void questionWording()
    {
        QFETCH(QByteArray, arguments);
        QFETCH(QByteArray, title);
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, chooserTitle);
        QFETCH(QByteArray, chooserFilter);
        QFETCH(QByteArray, chooserStart);

        DialogSeam::queueAnswer(QMessageBox::Open);
        Startup startup(expand(QString(arguments).split(' ')));
        QVERIFY(!startup.run());

        const QList<DialogSeam::Record> log = DialogSeam::log();
        QCOMPARE(log.size(), 3);
        QCOMPARE((QStringList{log[0].m_title, log[0].m_text}), (QStringList{title, expand({text})[0]}));
        QCOMPARE(log[0].m_buttons, QMessageBox::Open | QMessageBox::Close);
        QCOMPARE(log[0].m_defaultButton, QMessageBox::Close);
        QCOMPARE(log[1].m_kind, chooserFilter.isEmpty() ? DialogSeam::Kind::ExistingDirectory
                                                        : DialogSeam::Kind::OpenFileName);
        QCOMPARE((QStringList{log[1].m_title, log[1].m_text, log[1].m_directory}),
                 (QStringList{chooserTitle, chooserFilter,
                              QDir::toNativeSeparators(chooserStart == "~" ? QDir::homePath()
                                                                           : expand({chooserStart})[0])}));
        // Nothing chosen: the question comes back and, unanswered, ends start-up.
        QCOMPARE(log[2].m_title, QString(title));
        QCOMPARE(log[2].m_answer, QMessageBox::Close);
    }

    void withoutWideFills_data()
    {
        QTest::addColumn<QByteArray>("current");
        QTest::addColumn<QByteArray>("needed");
        QTest::newRow("unset") << QByteArray() << QByteArray("avx2");
        QTest::newRow("blank") << QByteArray("  ") << QByteArray("avx2");
        QTest::newRow("other feature kept") << QByteArray("rdrnd ") << QByteArray("rdrnd avx2");
        QTest::newRow("named alone") << QByteArray("avx2") << QByteArray();
        QTest::newRow("named after another") << QByteArray("rdrnd avx2") << QByteArray();
        QTest::newRow("a name Qt reads as avx2") << QByteArray("avx2x") << QByteArray();
        QTest::newRow("plain avx only") << QByteArray("avx") << QByteArray("avx avx2");
        QTest::newRow("inside another word") << QByteArray("noavx2") << QByteArray("noavx2 avx2");
    }

    void withoutWideFills()
    {
        QFETCH(QByteArray, current);
        QFETCH(QByteArray, needed);
        QCOMPARE(Startup::withoutWideFills(current), needed);
    }
};

QTEST_MAIN(TestStartup)
#include "tst_startup.moc"
