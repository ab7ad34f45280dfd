#include "TestSupport.h"
#include "elements/WindowElement.h"
#include "fileio/LumexParser.h"
#include "fileio/LumexPrinter.h"
#include "fileio/SchemaParser.h"
#include "model/LumexTree.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Orvex;

namespace {

const QString s_schema = QStringLiteral(
    R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">)"
    R"(<xs:element name="quarnel_config"><xs:complexType><xs:sequence>)"
    R"(<xs:element name="camera" minOccurs="0"><xs:complexType><xs:sequence>)"
    R"(<xs:element minOccurs="0" name="features"><xs:complexType><xs:sequence>)"
    R"(<xs:element name="standard" type="xs:string"/>)"
    R"(<xs:element name="Note" type="xs:string" minOccurs="0" maxOccurs="unbounded"/>)"
    R"(<xs:element name="Gain" type="xs:int" minOccurs="0"/>)"
    R"(</xs:sequence></xs:complexType></xs:element>)"
    R"(<xs:element name="modes" minOccurs="0"><xs:complexType><xs:sequence>)"
    R"(<xs:element name="mode" minOccurs="1" maxOccurs="unbounded"><xs:complexType><xs:all>)"
    R"(<xs:element name="timing" minOccurs="0"><xs:complexType><xs:sequence>)"
    R"(<xs:element name="exposure" type="xs:int"/>)"
    R"(<xs:element name="timeout" minOccurs="0"><xs:complexType><xs:simpleContent>)"
    R"(<xs:extension base="xs:unsignedInt"><xs:attribute name="enabled" type="xs:boolean" use="optional"/>)"
    R"(</xs:extension></xs:simpleContent></xs:complexType></xs:element>)"
    R"(</xs:sequence><xs:attribute name="clock" type="xs:unsignedInt" use="optional"/></xs:complexType></xs:element>)"
    R"(<xs:element name="regs" minOccurs="0"><xs:complexType><xs:sequence>)"
    R"(<xs:element name="reg" minOccurs="0" maxOccurs="unbounded"><xs:complexType><xs:sequence>)"
    R"(<xs:element name="address" type="xs:string"/><xs:element name="data" type="xs:string"/>)"
    R"(</xs:sequence></xs:complexType></xs:element></xs:sequence></xs:complexType></xs:element>)"
    R"(</xs:all><xs:attribute name="name" type="xs:string" use="required"/></xs:complexType></xs:element>)"
    R"(</xs:sequence></xs:complexType></xs:element></xs:sequence></xs:complexType></xs:element>)"
    R"(</xs:sequence></xs:complexType></xs:element></xs:schema>)");

// The attribute and the timeout come before the exposure here; the file written puts them in schema order.
const QString s_file = QStringLiteral(
    R"(<quarnel_config><camera><features><standard>CoaXPress</standard><Note>first</Note>)"
    R"(<Note>second&#9;note</Note></features><modes><mode name="Default"><timing clock="40000000">)"
    R"(<timeout enabled="true">500</timeout><exposure>100</exposure></timing><!-- kept -->)"
    R"(<regs><reg><address>0x10</address><data>1</data></reg><reg><address>0x14</address><data>2</data>)"
    R"(<unknown>x</unknown></reg></regs></mode><mode name="Fast"><timing><exposure>5</exposure></timing></mode>)"
    R"(</modes></camera></quarnel_config>)");

const QString s_lineNumber = QStringLiteral("\\[\\d+\\]");
// Text without a tag or a character entity left in it.
const QString s_plain = QStringLiteral("(?:(?!</?[a-z]+>|&[a-z]+;).)*");

QString exact(const QString& a_line)
{
    return QRegularExpression::escape(a_line);
}

QString replaced(QString a_text, const QString& a_from, const QString& a_to)
{
    return a_text.replace(a_from, a_to);
}

struct Run
{
    int exitCode = -1;
    QStringList out;
    QString err;
};

} // namespace

class TestOrvexTool : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void check_data();
    void check();
    void dump();
    void roundtrip_data();
    void roundtrip();
    void roundtripKeepsNothingOfAFailedLoad();
    void usageErrors_data();
    void usageErrors();

private:
    Run run(const QStringList& a_arguments) const;
    QString write(const QString& a_name, const QString& a_text) const;

    QTemporaryDir m_dir;
    QString m_schema;
};

void TestOrvexTool::initTestCase()
{
    QVERIFY2(QFileInfo(qEnvironmentVariable("ORVEX_TOOL")).isExecutable(), "ORVEX_TOOL names no program");
    QVERIFY(m_dir.isValid());
    m_schema = write(QStringLiteral("schema.xsd"), s_schema);
    QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("cfg/Pld")));
    write(QStringLiteral("cfg/Pld/LUMEX-CXP.xsd"), s_schema);
    write(QStringLiteral("ok.lumex"), s_file);
    write(QStringLiteral("notxml.lumex"), QStringLiteral("camera file"));
    write(QStringLiteral("gige.lumex"),
          replaced(s_file, QStringLiteral(">CoaXPress<"), QStringLiteral(">GigE<")));
    write(QStringLiteral("refused.lumex"),
          replaced(s_file, QStringLiteral(">100<"), QStringLiteral(">a&lt;b<")));
}

void TestOrvexTool::check_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<int>("exitCode");

    const QStringList schema{QStringLiteral("-CXPXSD"), QStringLiteral("schema.xsd")};
    const QString ok = exact(QStringLiteral("ok.lumex: ok (2 modes)"));
    QTest::newRow("options first") << schema + QStringList{"check", "ok.lumex"} << QStringList{ok} << 0;
    QTest::newRow("folder option last, default schema")
        << QStringList{"check", "ok.lumex", "/CFGDIR", "cfg"} << QStringList{ok} << 0;
    QTest::newRow("not XML") << QStringList{"check", "ok.lumex", "notxml.lumex"} + schema
                             << QStringList{ok, "notxml\\.lumex: LumexLoadException thrown from "
                                                "Orvex::LumexParser::LumexParser in LumexParser\\.cpp" +
                                                    s_lineNumber + ": XML fatal error \\d+ — " + s_plain}
                             << 1;
    QTest::newRow("unknown standard")
        << schema + QStringList{"check", "gige.lumex"}
        << QStringList{exact("gige.lumex: Could not determine the LUMEX file standard type.")} << 1;
    QTest::newRow("missing schema")
        << QStringList{"check", "-CXPXSD", "/nonexistent", "ok.lumex"}
        << QStringList{"ok\\.lumex: XsdLoadException thrown from Orvex::SchemaParser::SchemaParser in "
                       "SchemaParser\\.cpp" +
                       s_lineNumber + ": File error — " + s_plain + "/nonexistent" + s_plain}
        << 1;
    QTest::newRow("refused value")
        << schema + QStringList{"check", "refused.lumex"}
        << QStringList{"refused\\.lumex: BadValueException thrown from Orvex::LumexParser::parseFeature in "
                       "LumexParser\\.cpp" +
                       s_lineNumber +
                       exact(": Unable to retrieve a value for the \"exposure\" feature from \"a<b\".")}
        << 1;
}

void TestOrvexTool::check()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, lines);
    QFETCH(int, exitCode);

    const Run result = run(arguments);
    QCOMPARE(result.out.size(), lines.size());
    for (int index = 0; index < lines.size(); ++index) {
        const QRegularExpression pattern(QRegularExpression::anchoredPattern(lines.at(index)));
        QVERIFY2(pattern.match(result.out.at(index)).hasMatch(), qPrintable(result.out.at(index)));
    }
    QCOMPARE(result.exitCode, exitCode);
}

void TestOrvexTool::dump()
{
    const Run result = run({"dump", "-CXPXSD", m_schema, "ok.lumex"});
    QCOMPARE(result.exitCode, 0);
    const QStringList expected{
        "camera\tstandard\tCoaXPress",        "camera\tNote[0]\tfirst",
        "camera\tNote[1]\tsecond\\tnote",     "mode=Default\ttiming/@clock\t40000000",
        "mode=Default\ttiming/exposure\t100", "mode=Default\ttiming/timeout/@enabled\ttrue",
        "mode=Default\ttiming/timeout\t500",  "mode=Default\tregs/reg[0]/address\t0x10",
        "mode=Default\tregs/reg[0]/data\t1",  "mode=Default\tregs/reg[1]/address\t0x14",
        "mode=Default\tregs/reg[1]/data\t2",  "mode=Fast\ttiming/exposure\t5",
    };
    QCOMPARE(result.out, expected);
}

void TestOrvexTool::roundtrip_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("schema");
    QTest::addColumn<bool>("valid");

    QTest::newRow("extra data") << write(QStringLiteral("ok.lumex"), s_file) << m_schema << false;
    QTest::newRow("shipped CoaXPress example")
        << OrvexTest::sourcePath(QStringLiteral("config/Pld/Example_CXP.lumex"))
        << OrvexTest::sourcePath(QStringLiteral("config/Pld/LUMEX-CXP.xsd")) << true;
}

void TestOrvexTool::roundtrip()
{
    QFETCH(QString, input);
    QFETCH(QString, schema);
    QFETCH(bool, valid);

    const QString output = m_dir.filePath(QStringLiteral("out.lumex"));
    const Run result = run({"-CLXSD", "unused.xsd", "roundtrip", input, output, "-CXPXSD", schema});
    QCOMPARE(result.exitCode, 0);

    // What the editor's printer writes after the editor's load sequence.
    const QString expected = m_dir.filePath(QStringLiteral("expected.lumex"));
    {
        WindowElement window(nullptr);
        LumexTree tree(input);
        LumexParser parser(input, &tree, nullptr);
        SchemaParser schemaParser(nullptr, &tree, nullptr, schema);
        schemaParser.loadCamera(window.camera());
        parser.parse(window.camera());
        LumexPrinter printer(nullptr, &tree);
        printer.setSchemaPaths(schema, QStringLiteral("unused.xsd"));
        printer.print(window.camera());
        QVERIFY(printer.save(expected));
    }
    QFile written(output);
    QFile reference(expected);
    QVERIFY(written.open(QIODevice::ReadOnly) && reference.open(QIODevice::ReadOnly));
    const QByteArray bytes = written.readAll();
    QCOMPARE(bytes, reference.readAll());

    QString diagnostics;
    QCOMPARE(OrvexTest::runXmllint(output, schema, &diagnostics) == 0, valid);
}

void TestOrvexTool::roundtripKeepsNothingOfAFailedLoad()
{
    const QString output = m_dir.filePath(QStringLiteral("never.lumex"));
    const Run result = run({"roundtrip", "notxml.lumex", output, "-CXPXSD", "schema.xsd"});
    QCOMPARE(result.exitCode, 1);
    QVERIFY(result.out.isEmpty());
    QVERIFY2(result.err.contains(QLatin1String("notxml.lumex: LumexLoadException thrown from")),
             qPrintable(result.err));
    QVERIFY(!QFile::exists(output));
}

void TestOrvexTool::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("problem");

    QTest::newRow("nothing") << QStringList() << "No command given.";
    QTest::newRow("unknown command") << QStringList{"verify", "ok.lumex"} << "Unknown command, \"verify\".";
    QTest::newRow("check without files")
        << QStringList{"check", "-CFGDIR", "cfg"} << "\"check\" needs at least one file.";
    QTest::newRow("dump of two files")
        << QStringList{"dump", "ok.lumex", "ok.lumex"} << "\"dump\" needs exactly one file.";
    QTest::newRow("roundtrip without output")
        << QStringList{"roundtrip", "ok.lumex"} << "\"roundtrip\" needs an input and an output file.";
    QTest::newRow("unknown option") << QStringList{"check", "-F", "ok.lumex"} << "Unknown argument, \"-F\".";
    QTest::newRow("option without value")
        << QStringList{"check", "ok.lumex", "-CLXSD"} << "Incomplete argument, \"/CLXSD\".";
    QTest::newRow("option twice") << QStringList{"-cxpxsd", "a.xsd", "check", "ok.lumex", "-CXPXSD", "b.xsd"}
                                  << "Duplicate argument, \"/CXPXSD\".";
}

void TestOrvexTool::usageErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, problem);

    const Run result = run(arguments);
    QCOMPARE(result.exitCode, 2);
    QVERIFY(result.out.isEmpty());
    QVERIFY2(result.err.contains(QStringLiteral("orvex-tool: ") + problem +
                                 QStringLiteral("\n\nUsage: orvex-tool ")),
             qPrintable(result.err));
}

Run TestOrvexTool::run(const QStringList& a_arguments) const
{
    QProcess process;
    process.setWorkingDirectory(m_dir.path());
    process.start(qEnvironmentVariable("ORVEX_TOOL"), a_arguments);
    Run result;
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit)
        return result;
    result.exitCode = process.exitCode();
    const QString out = QString::fromUtf8(process.readAllStandardOutput());
    result.out = out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}

QString TestOrvexTool::write(const QString& a_name, const QString& a_text) const
{
    QFile file(m_dir.filePath(a_name));
    if (file.open(QIODevice::WriteOnly))
        file.write(a_text.toUtf8());
    return file.fileName();
}

QTEST_MAIN(TestOrvexTool)
#include "orvextool_tests.moc"
