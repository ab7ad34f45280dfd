#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/ValueFeatureElementBase.h"
#include "elements/WindowElement.h"
#include "fileio/LumexParser.h"
#include "fileio/SchemaParser.h"
#include "model/LumexDiagnostics.h"
#include "model/LumexTree.h"

#include <QFile>
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
    R"(<xs:element name="standard" fixed="CoaXPress"><xs:simpleType><xs:restriction base="xs:string">)"
    R"(<xs:enumeration value="CoaXPress"/></xs:restriction></xs:simpleType></xs:element>)"
    R"(<xs:element name="Gain"><xs:simpleType><xs:restriction base="xs:int"><xs:minInclusive value="0"/>)"
    R"(<xs:maxInclusive value="100"/></xs:restriction></xs:simpleType></xs:element>)"
    R"(<xs:element name="Offset" type="xs:byte" minOccurs="0"/>)"
    R"(<xs:element name="Version" type="xs:int" fixed="2" minOccurs="0"/>)"
    R"(<xs:element name="Flag" type="xs:boolean" minOccurs="0"/>)"
    R"(<xs:element name="Keyword" type="xs:string" maxOccurs="2"/>)"
    R"(</xs:sequence></xs:complexType></xs:element>)"
    R"(<xs:element name="modes" minOccurs="0"><xs:complexType><xs:sequence>)"
    R"(<xs:element name="mode" minOccurs="1" maxOccurs="unbounded"><xs:complexType><xs:all>)"
    R"(<xs:element name="Link" minOccurs="0"><xs:complexType><xs:sequence>)"
    R"(<xs:element name="Speed"><xs:simpleType><xs:restriction base="xs:string"><xs:enumeration value="Fast"/>)"
    R"(<xs:enumeration value="Slow"/></xs:restriction></xs:simpleType></xs:element>)"
    R"(</xs:sequence><xs:attribute name="enabled" type="xs:boolean"/></xs:complexType></xs:element>)"
    R"(</xs:all></xs:complexType></xs:element></xs:sequence></xs:complexType></xs:element>)"
    R"(</xs:sequence></xs:complexType></xs:element></xs:sequence></xs:complexType></xs:element></xs:schema>)");

const QString s_file = QStringLiteral(
    R"(<quarnel_config><camera><features><standard>CoaXPress</standard><Gain>5</Gain>)"
    R"(<Keyword>a</Keyword></features><modes><mode name="A"><Link enabled="true"><Speed>Fast</Speed></Link>)"
    R"(</mode></modes></camera></quarnel_config>)");

// A camera built from the test schema, and the file to read into it.
struct Document
{
    QTemporaryDir dir;
    WindowElement window{nullptr};
    LumexTree tree{QString()};

    QString write(const QString& a_name, const QString& a_text)
    {
        QFile file(dir.filePath(a_name));
        if (file.open(QIODevice::WriteOnly))
            file.write(a_text.toUtf8());
        return file.fileName();
    }
    CameraElement* camera() { return window.camera(); }
    ValueFeatureElementBase* global(const QString& a_name)
    {
        return qobject_cast<ValueFeatureElementBase*>(camera()->globalCategory()->feature(a_name));
    }
    // Reads the file in the main window's order; a_change alters the camera just before the file is read.
    void load(const QString& a_file, const QString& a_change = QString())
    {
        LumexParser parser(write(QStringLiteral("camera.lumex"), a_file), &tree, nullptr);
        SchemaParser schema(nullptr, &tree, nullptr, write(QStringLiteral("schema.xsd"), s_schema));
        schema.loadCamera(camera());
        const QString target = a_change.section(QLatin1Char('='), 0, 0);
        const QString value = a_change.section(QLatin1Char('='), 1);
        if (target == QLatin1String("modes")) {
            camera()->appendMode(camera()->mode(0)->clone());
        } else if (target == QLatin1String("presence")) {
            // The presence of a category is a feature of neither kind the file format knows.
            auto* link = qobject_cast<GenericModeCategory*>(camera()->mode(0)->category(0));
            link->addFeature(link->categoryFeature());
        } else if (!target.isEmpty()) {
            camera()->globalCategory()->feature(target)->setElementPath(value.split(QLatin1Char(',')));
        }
        parser.parse(camera());
    }
};

QString replaced(QString a_text, const QString& a_from, const QString& a_to)
{
    return a_text.replace(a_from, a_to);
}

} // namespace

class TestLumexParser : public QObject
{
    Q_OBJECT

private slots:
    void rejectsFile_data();
    void rejectsFile();
    void keepsOutOfRangeValues();
    void tellsStandard_data();
    void tellsStandard();
};

void TestLumexParser::rejectsFile_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("function");
    // Empty: the HTML list of the markup library's diagnostics for the file.
    QTest::addColumn<QString>("message");

    const auto row = [](const char* a_name, const QString& a_file, const QString& a_change,
                        const char* a_kind, const char* a_function, const QString& a_message) {
        QTest::newRow(a_name) << a_file << a_change << a_kind << a_function << a_message;
    };
    const auto feature = [](const QString& a_from, const QString& a_to) {
        return replaced(s_file, a_from, a_to);
    };
    const QString gain = QStringLiteral("<Gain>5</Gain>");

    row("malformed", s_file.left(40), "", "LumexLoadException", "LumexParser", "");
    row("long hint", s_file, "Gain=quarnel_config", "BadPathHintException", "parsePath",
        "Excessively long path hint (quarnel_config>camera>features) for print path (quarnel_config).");
    row("hint mismatch", s_file, "Gain=quarnel_config,other,features", "BadPathHintException", "parsePath",
        "Internal mismatch from path hint (quarnel_config>camera>features) for print path "
        "(quarnel_config>other>features).");
    row("unnamed path element", s_file, "Gain=quarnel_config,camera,features,,x", "BadPathException",
        "parsePath", "Unnamed element in path (quarnel_config>camera>features>>x).");
    row("no features", feature("<features>", "<other>").replace("</features>", "</other>"), "",
        "BadCategoryException", "parseCategory", R"(Unable to parse a path for the "features" category.)");
    row("feature path", s_file, "Gain=quarnel_config,camera,features,Missing", "BadFeatureException",
        "parseFeature", R"(Unable to parse a path for the "Gain" feature.)");
    row("required element", feature(gain, ""), "", "BadFeatureException", "parseFeature",
        R"(Unable to find an instance of the required "Gain" feature.)");
    row("required attribute", feature(R"( enabled="true")", ""), "", "BadFeatureException", "parseFeature",
        R"(Unable to find an attribute for the required "enabled" feature.)");
    row("unknown feature type", s_file, "presence", "BadFeatureException", "parseFeature",
        R"(The "Link" feature has an unknown type.)");
    row("too few", feature("<Keyword>a</Keyword>", ""), "", "InstanceCountException", "parseFeature",
        R"(Expected at least 1 instances of the "Keyword" feature, but found 0.)");
    row("too many", feature("<Keyword>a</Keyword>", "<Keyword>a</Keyword><Keyword>b</Keyword><Keyword/>"), "",
        "InstanceCountException", "parseFeature",
        R"(Expected no more than 2 instances of the "Keyword" feature, but found 3.)");
    row("blank number", feature(gain, "<Gain> \n </Gain>"), "", "BadValueException", "parseFeature",
        R"(Empty values unsupported by the "Gain" feature.)");
    row("not a number", feature(gain, "<Gain>1,5</Gain>"), "", "BadValueException", "parseFeature",
        R"(Unable to retrieve a value for the "Gain" feature from "1,5".)");
    row("boolean yes", feature(gain, gain + "<Flag> yes</Flag>"), "", "BadValueException", "parseFeature",
        R"(Unable to retrieve a value for the "Flag" feature from "yes".)");
    row("boolean attribute", feature(R"(enabled="true")", R"(enabled="True")"), "", "BadValueException",
        "parseFeature", R"(Unable to retrieve an attribute value for the "enabled" feature from "True".)");
    row("not an entry", feature("<Speed>Fast</Speed>", "<Speed>Fast &lt;2&gt;</Speed>"), "",
        "BadValueException", "parseFeature",
        R"(Unable to retrieve a value for the "Speed" feature from "Fast &lt;2&gt;".)");
    row("entry in other case", feature("<standard>CoaXPress", "<standard>coaxpress"), "", "BadValueException",
        "parseFeature", R"(Unable to retrieve a value for the "standard" feature from "coaxpress".)");
    row("not the fixed value", feature(gain, gain + "<Version>3</Version>"), "", "BadValueException",
        "parseFeature",
        R"(Unable to retrieve a value for the "Version" feature from "3", which differs from its fixed value "2".)");
    row("no modes element", feature("<modes>", "<other>").replace("</modes>", "</other>"), "",
        "BadCameraException", "parseModes", "Unable to parse the camera mode path.");
    row("no mode", QString(s_file).replace(QRegularExpression("<mode .*</mode>"), QString()), "",
        "BadCameraException", "parseModes", "The camera has no modes.");
    row("camera not fresh", s_file, "modes", "BadCameraObjectException", "parseModes",
        "Cannot parse modes because the camera object wasn't properly initialized (mode count is 2, but "
        "should "
        "be one).");
    row("unnamed mode", feature(R"(<mode name="A">)", R"(<mode name="A"/><mode>)"), "", "BadModeException",
        "parseModes", R"(The camera mode at index 1 has no "name" attribute.)");
    row("mode name twice", feature(R"(<mode name="A">)", R"(<mode name="A"/><mode name="A">)"), "",
        "BadModeException", "parseModes", R"(The camera mode name "A" is used by more than one mode.)");
}

void TestLumexParser::rejectsFile()
{
    QFETCH(QString, file);
    QFETCH(QString, change);
    QFETCH(QString, kind);
    QFETCH(QString, function);
    QFETCH(QString, message);

    Document document;
    if (message.isEmpty()) {
        Lumex::CamFile markup;
        const QString path = document.write(QStringLiteral("camera.lumex"), file);
        message = LumexDiagnostics::toHtml(markup.load(QFile::encodeName(path), 0));
        QVERIFY(message.startsWith(QLatin1String("<ol><li>")));
    }
    QString text;
    try {
        document.load(file, change);
    } catch (const ExceptionBase& a_error) {
        text = QString::fromUtf8(a_error.what());
    }
    const QRegularExpression expected(
        QStringLiteral("^%1 thrown from Orvex::LumexParser::%2 in LumexParser\\.cpp\\[\\d+\\]: ")
            .arg(kind, function) +
        QRegularExpression::escape(message) + QLatin1Char('$'));
    QVERIFY2(expected.match(text).hasMatch(), qPrintable(text));
}

void TestLumexParser::keepsOutOfRangeValues()
{
    Document document;
    document.load(
        replaced(s_file, "<Gain>5</Gain>", "<Gain>150</Gain><Offset>-0x81</Offset><Version>2</Version>"));

    QCOMPARE(document.global("Gain")->value(), QVariant(150LL));
    QCOMPARE(document.global("Offset")->valueText(0), QStringLiteral("-0x81"));
    QCOMPARE(document.global("Version")->valueText(0), QStringLiteral("2"));
    QString title;
    QString text;
    QVERIFY(document.window.popMessage(title, text));
    QCOMPARE(title, LumexParser::OutOfRangeTitle);
    QCOMPARE(text,
             QStringLiteral("The file holds values outside the range of their features; they are kept as "
                            "written: \"Gain\" (150), \"Offset\" (-0x81)."));
    QCOMPARE(document.window.pendingMessageCount(), 0);
}

void TestLumexParser::tellsStandard_data()
{
    QTest::addColumn<QString>("standard");
    QTest::addColumn<bool>("coaXPress");
    QTest::addColumn<bool>("cameraLink");

    QTest::newRow("lower case") << "<standard> coaxpress </standard>" << true << false;
    QTest::newRow("Camera Link") << "<standard>CameraLink</standard>" << false << true;
    QTest::newRow("other") << "<standard>GigE</standard>" << false << false;
    QTest::newRow("missing") << "" << false << false;
}

void TestLumexParser::tellsStandard()
{
    QFETCH(QString, standard);
    QFETCH(bool, coaXPress);
    QFETCH(bool, cameraLink);

    Document document;
    const QString file = replaced(s_file, "<standard>CoaXPress</standard>", standard);
    const LumexParser parser(document.write(QStringLiteral("camera.lumex"), file), &document.tree, nullptr);
    QCOMPARE(parser.isCoaXPress(), coaXPress);
    QCOMPARE(parser.isCameraLink(), cameraLink);
}

QTEST_MAIN(TestLumexParser)
#include "tst_lumexparser.moc"
