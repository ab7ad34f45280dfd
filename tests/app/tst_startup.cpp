#include "app/Startup.h"
#include "platform/QNDriver.h"
#include "widgets/DialogSeam.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "TestSupport.h"

using Orvex::DialogSeam;
using Orvex::Startup;

class TestStartup : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    // Placeholders of the data rows: {good} a complete configuration folder, {bare} one without schemas,
    // {missing} a folder that does not exist, {upper} a schema named .XSD, {folder} a folder named .xsd,
    // {cxp} and {cl} schemas outside any configuration folder.
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
        QNSimReset();
        DialogSeam::reset();
        DialogSeam::setTestMode(true);
    }

    void cleanup() { DialogSeam::reset(); }

    void settle_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QList<int>>("answers");
        QTest::addColumn<QStringList>("fileNames");
        QTest::addColumn<QStringList>("dialogs");
        // Empty when start-up must end with status 1; else the folder and the two schemas.
        QTest::addColumn<QStringList>("settled");

        const int open = QMessageBox::Open;
        const int close = QMessageBox::Close;
        const QStringList goodPaths{"{good}", "{good}/Pld/LUMEX-CXP.xsd", "{good}/Vrm/LUMEX-CL.xsd"};
        const QString askFolder = "ask: CFGDIR Path Missing";
        const QString chooseFolder = "choose: Select temporary CFGDIR";
        const QString askCxp = "ask: CoaXPress Schema File Missing";
        const QString chooseCxp = "choose: Select temporary CoaXPress Schema";
        const QString askCl = "ask: CameraLink Schema File Missing";

        QTest::newRow("complete folder") << QStringList{"-CFGDIR", "{good}", "-F", "x.lumex"} << QList<int>{}
                                         << QStringList{} << QStringList{} << goodPaths;
        QTest::newRow("schemas given")
            << QStringList{"-CFGDIR", "{bare}", "-CXPXSD", "{cxp}.xsd", "-CLXSD", "{cl}.xsd"} << QList<int>{}
            << QStringList{} << QStringList{} << QStringList{"{bare}", "{cxp}.xsd", "{cl}.xsd"};
        QTest::newRow("argument error, no questions")
            << QStringList{"-CFGDIR"} << QList<int>{} << QStringList{} << QStringList{} << QStringList{};
        QTest::newRow("missing folder, closed") << QStringList{"-CFGDIR", "{missing}"} << QList<int>{close}
                                                << QStringList{} << QStringList{askFolder} << QStringList{};
        QTest::newRow("missing folder, chosen")
            << QStringList{"-CFGDIR", "{missing}"} << QList<int>{open} << QStringList{"{good}"}
            << QStringList{askFolder, chooseFolder} << goodPaths;
        QTest::newRow("chooser cancelled asks again")
            << QStringList{"-CFGDIR", "{missing}"} << QList<int>{open, open} << QStringList{"", "{good}"}
            << QStringList{askFolder, chooseFolder, askFolder, chooseFolder} << goodPaths;
        QTest::newRow("no schemas, closed") << QStringList{"-CFGDIR", "{bare}"} << QList<int>{close}
                                            << QStringList{} << QStringList{askCxp} << QStringList{};
        QTest::newRow("upper-case suffix")
            << QStringList{"-CFGDIR", "{good}", "-CXPXSD", "{upper}.XSD"} << QList<int>{close}
            << QStringList{} << QStringList{askCxp} << QStringList{};
        QTest::newRow("folder named .xsd")
            << QStringList{"-CFGDIR", "{good}", "-CLXSD", "{folder}/schema.xsd"} << QList<int>{close}
            << QStringList{} << QStringList{askCl} << QStringList{};
        QTest::newRow("each answer checked again")
            << QStringList{"-CFGDIR", "{bare}", "-CLXSD", "{cl}.xsd"} << QList<int>{open, open, open}
            << QStringList{"{upper}.XSD", "", "{cxp}.xsd"}
            << QStringList{askCxp, chooseCxp, askCxp, chooseCxp, askCxp, chooseCxp}
            << QStringList{"{bare}", "{cxp}.xsd", "{cl}.xsd"};
        QTest::newRow("CoaXPress first, then Camera Link")
            << QStringList{"-CFGDIR", "{bare}"} << QList<int>{open, open}
            << QStringList{"{cxp}.xsd", "{cl}.xsd"}
            << QStringList{askCxp, chooseCxp, askCl, "choose: Select temporary CameraLink Schema"}
            << QStringList{"{bare}", "{cxp}.xsd", "{cl}.xsd"};
    }

    void settle()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QList<int>, answers);
        QFETCH(QStringList, fileNames);
        QFETCH(QStringList, dialogs);
        QFETCH(QStringList, settled);

        for (int answer : answers)
            DialogSeam::queueAnswer(QMessageBox::StandardButton(answer));
        for (const QString& name : expand(fileNames))
            DialogSeam::queueFileName(name);

        Startup startup(expand(arguments));
        const bool proceed = startup.run();

        QStringList shown;
        for (const DialogSeam::Record& record : DialogSeam::log())
            shown << (record.m_kind == DialogSeam::Kind::Question ? "ask: " : "choose: ") + record.m_title;
        QCOMPARE(shown, dialogs);
        QCOMPARE(DialogSeam::pendingAnswers(), 0);
        QCOMPARE(DialogSeam::pendingFileNames(), 0);
        QCOMPARE(proceed, !settled.isEmpty());
        if (!proceed) {
            QCOMPARE(startup.exitStatus(), 1);
            return;
        }
        QCOMPARE(startup.exitStatus(), 0);
        const QStringList expected = expand(settled);
        QCOMPARE(startup.configPath(), QDir::toNativeSeparators(expected[0]));
        QCOMPARE(startup.cxpXsdPath(), QDir::toNativeSeparators(expected[1]));
        QCOMPARE(startup.clXsdPath(), QDir::toNativeSeparators(expected[2]));
        QCOMPARE(startup.filePath(), arguments.contains("-F") ? QStringLiteral("x.lumex") : QString());

        // The simulated boards come from the settled folder.
        HwBrdEntry board;
        QCOMPARE(HwSysBrdFind(HwSelectorFrameGrabber, 0, &board) == 0, expected[0] == m_dir.filePath("good"));
    }

    void questionWording_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("chooserTitle");
        QTest::addColumn<QString>("chooserFilter");
        QTest::addColumn<QString>("chooserStart");

        QTest::newRow("folder")
            << QStringList{"-CFGDIR", "{missing}"} << "CFGDIR Path Missing"
            << "<html>The CFGDIR path is missing or invalid. Orvex cannot proceed without a valid "
               "path. Open a new path?</html>"
            << "Select temporary CFGDIR"
            << "" << QDir::homePath();
        QTest::newRow("CoaXPress")
            << QStringList{"-CFGDIR", "{bare}"} << "CoaXPress Schema File Missing"
            << "<html>The CoaXPress Schema file is missing or invalid. Orvex cannot proceed "
               "without a valid file. Open a new file?</html>"
            << "Select temporary CoaXPress Schema"
            << "CoaXPress Schema File (*.xsd)"
            << "{bare}/Pld/LUMEX-CXP.xsd";
    }

    void questionWording()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, title);
        QFETCH(QString, text);
        QFETCH(QString, chooserTitle);
        QFETCH(QString, chooserFilter);
        QFETCH(QString, chooserStart);

        DialogSeam::queueAnswer(QMessageBox::Open);
        Startup startup(expand(arguments));
        QVERIFY(!startup.run());

        const QList<DialogSeam::Record> log = DialogSeam::log();
        QCOMPARE(log.size(), 3);
        QCOMPARE((QStringList{log[0].m_title, log[0].m_text}), (QStringList{title, text}));
        QCOMPARE(log[0].m_buttons, QMessageBox::Open | QMessageBox::Close);
        QCOMPARE(log[0].m_defaultButton, QMessageBox::Close);
        QCOMPARE(log[1].m_kind, chooserFilter.isEmpty() ? DialogSeam::Kind::ExistingDirectory
                                                        : DialogSeam::Kind::OpenFileName);
        QCOMPARE(
            (QStringList{log[1].m_title, log[1].m_text, log[1].m_directory}),
            (QStringList{chooserTitle, chooserFilter, QDir::toNativeSeparators(expand({chooserStart})[0])}));
        // Nothing chosen: the question comes back and, unanswered, ends start-up.
        QCOMPARE(log[2].m_title, title);
        QCOMPARE(log[2].m_answer, QMessageBox::Close);
    }

    void configFromEnvironment()
    {
        qputenv(Startup::configDirVariable, QFile::encodeName(m_dir.filePath("good")));
        QCOMPARE(Startup::defaultConfigPath(), QDir::toNativeSeparators(m_dir.filePath("good")));
        Startup settled({});
        QVERIFY(settled.run());
        QCOMPARE(settled.configPath(), QDir::toNativeSeparators(m_dir.filePath("good")));

        qputenv(Startup::configDirVariable, QFile::encodeName(m_dir.filePath("missing")));
        Startup stale({});
        QVERIFY(!stale.run());
        QCOMPARE(DialogSeam::log().size(), 1);
        QCOMPARE(DialogSeam::log()[0].m_title, QStringLiteral("CFGDIR Path Missing"));

        // Without it, a build run where it was built still finds the repository's folder.
        qunsetenv(Startup::configDirVariable);
        QVERIFY(QFileInfo(Startup::defaultConfigPath()).isDir());
    }
};

QTEST_MAIN(TestStartup)
#include "tst_startup.moc"
