#include "app/CommandLine.h"

#include <QTest>

using Orvex::CommandLine;

Q_DECLARE_METATYPE(CommandLine::Mode)
Q_DECLARE_METATYPE(CommandLine::Outcome)

class TestCommandLine : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        using Mode = CommandLine::Mode;
        using Outcome = CommandLine::Outcome;
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<Outcome>("outcome");
        QTest::addColumn<QString>("error");
        // file, folder, CoaXPress schema, Camera Link schema
        QTest::addColumn<QStringList>("values");
        QTest::addColumn<QStringList>("remaining");

        const Mode editor = Mode::Editor;
        const Mode shared = Mode::SharedOptions;
        const QStringList none{"", "", "", ""};
        QTest::newRow("nothing") << editor << QStringList{} << Outcome::Proceed << "" << none
                                 << QStringList{};
        QTest::newRow("dash f") << editor << QStringList{"-f", "a.lumex"} << Outcome::Proceed << ""
                                << QStringList{"a.lumex", "", "", ""} << QStringList{};
        QTest::newRow("slash F") << editor << QStringList{"/F", "a.lumex"} << Outcome::Proceed << ""
                                 << QStringList{"a.lumex", "", "", ""} << QStringList{};
        QTest::newRow("all, mixed case")
            << editor << QStringList{"-CfgDir", "cfg", "/cxpxsd", "c.xsd", "-clXSD", "l.xsd", "-F", "a"}
            << Outcome::Proceed << "" << QStringList{"a", "cfg", "c.xsd", "l.xsd"} << QStringList{};
        QTest::newRow("values that look like options")
            << editor << QStringList{"-F", "-H", "-CFGDIR", "/opt/quarnel/config"} << Outcome::Proceed << ""
            << QStringList{"-H", "/opt/quarnel/config", "", ""} << QStringList{};
        QTest::newRow("f then F") << editor << QStringList{"-f", "a", "/F", "b"} << Outcome::Error
                                  << "Duplicate argument, \"/F\".\n"
                                  << none << QStringList{};
        QTest::newRow("plain first") << editor << QStringList{"a.lumex"} << Outcome::Error
                                     << "Unexpected token, \"a.lumex\".\n"
                                     << none << QStringList{};
        QTest::newRow("plain after value")
            << editor << QStringList{"-F", "a", "b c"} << Outcome::Error << "Unexpected token, \"b c\".\n"
            << none << QStringList{};
        QTest::newRow("F last") << editor << QStringList{"-F"} << Outcome::Error
                                << "Incomplete argument, \"/F\".\n"
                                << none << QStringList{};
        QTest::newRow("F twice, second without value")
            << editor << QStringList{"-F", "a", "-F"} << Outcome::Error << "Incomplete argument, \"/F\".\n"
            << none << QStringList{};
        QTest::newRow("unknown") << editor << QStringList{"-verbose"} << Outcome::Error
                                 << "Unknown argument, \"/VERBOSE\".\n"
                                 << none << QStringList{};
        for (const char* help : {"-h", "/HeLp", "/?"})
            QTest::newRow(help) << editor << QStringList{help} << Outcome::Help << "" << none
                                << QStringList{};
        QTest::newRow("help then error")
            << editor << QStringList{"-H", "-X"} << Outcome::Error << "Unknown argument, \"/X\".\n"
            << none << QStringList{};

        QTest::newRow("shared: own arguments kept in order")
            << shared << QStringList{"in.lumex", "-cfgdir", "cfg", "-o", "out.lumex", "-F", "x", "/H"}
            << Outcome::Proceed << "" << QStringList{"", "cfg", "", ""}
            << QStringList{"in.lumex", "-o", "out.lumex", "-F", "x", "/H"};
        QTest::newRow("shared: schemas")
            << shared << QStringList{"/CXPXSD", "c.xsd", "-clxsd", "l.xsd"} << Outcome::Proceed << ""
            << QStringList{"", "", "c.xsd", "l.xsd"} << QStringList{};
        QTest::newRow("shared: duplicate") << shared << QStringList{"-CLXSD", "a", "x", "-clxsd", "b"}
                                           << Outcome::Error << "Duplicate argument, \"/CLXSD\".\n"
                                           << none << QStringList{};
        QTest::newRow("shared: incomplete") << shared << QStringList{"x", "-CFGDIR"} << Outcome::Error
                                            << "Incomplete argument, \"/CFGDIR\".\n"
                                            << none << QStringList{};
    }

    void parse()
    {
        QFETCH(CommandLine::Mode, mode);
        QFETCH(QStringList, arguments);
        QFETCH(CommandLine::Outcome, outcome);
        QFETCH(QString, error);
        QFETCH(QStringList, values);
        QFETCH(QStringList, remaining);

        const CommandLine line = CommandLine::parse(arguments, mode);
        QCOMPARE(line.outcome(), outcome);
        QCOMPARE(line.errorText(), error);
        if (outcome == CommandLine::Outcome::Error)
            return;
        QCOMPARE(line.helpRequested(), outcome == CommandLine::Outcome::Help);
        QCOMPARE((QStringList{line.filePath(), line.configDir(), line.cxpXsdPath(), line.clXsdPath()}),
                 values);
        QCOMPARE(line.remaining(), remaining);
    }
};

QTEST_APPLESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
