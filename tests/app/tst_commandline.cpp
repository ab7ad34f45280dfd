#include "FileFixtures.h"
#include "app/CommandLine.h"

#include <QTest>

using Orvex::CommandLine;

class TestCommandLine : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        OrvexTest::addTableRows("tests/app/data/commandline.txt",
                                {"mode", "arguments", "outcome", "error", "values", "remaining"});
    }

    void parse()
    {
        QFETCH(QByteArray, mode);
        QFETCH(QByteArray, arguments);
        QFETCH(QByteArray, outcome);
        QFETCH(QByteArray, error);
        QFETCH(QByteArray, values);
        QFETCH(QByteArray, remaining);
        const auto list = [](const QByteArray& a_field) {
            return QString(a_field).split(',', Qt::SkipEmptyParts);
        };

        const CommandLine line = CommandLine::parse(
            list(arguments), mode == "shared" ? CommandLine::Mode::SharedOptions : CommandLine::Mode::Editor);
        const CommandLine::Outcome expected = outcome == "error"  ? CommandLine::Outcome::Error
                                              : outcome == "help" ? CommandLine::Outcome::Help
                                                                  : CommandLine::Outcome::Proceed;
        QCOMPARE(line.outcome(), expected);
        QCOMPARE(line.errorText(), QString(error));
        if (expected == CommandLine::Outcome::Error)
            return;
        QCOMPARE(line.helpRequested(), expected == CommandLine::Outcome::Help);
        QCOMPARE((QStringList{line.filePath(), line.configDir(), line.cxpXsdPath(), line.clXsdPath(),
                              line.verbose() ? "verbose" : ""}),
                 QString(values).split(','));
        QCOMPARE(line.remaining(), list(remaining));
    }
};

QTEST_APPLESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
