#include "TestSupport.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/ModeElement.h"
#include "elements/ValueFeatureElementBase.h"
#include "elements/WindowElement.h"
#include "fileio/LumexParser.h"
#include "fileio/LumexPrinter.h"
#include "fileio/SchemaParser.h"
#include "model/LumexTree.h"
#include "model/OperationCanceledException.h"
#include "widgets/ProgressStepper.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace Orvex;

namespace {

const QString s_cxpSchema = OrvexTest::sourcePath(QStringLiteral("config/Pld/LUMEX-CXP.xsd"));
const QString s_clSchema = OrvexTest::sourcePath(QStringLiteral("config/Vrm/LUMEX-CL.xsd"));

// One global feature "Value" of the given type, a repeated "Keyword" and modes without categories.
QString smallSchema(const QString& a_valueType)
{
    return QStringLiteral(
               R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">)"
               R"(<xs:element name="quarnel_config"><xs:complexType><xs:sequence>)"
               R"(<xs:element name="camera" minOccurs="0"><xs:complexType><xs:sequence>)"
               R"(<xs:element minOccurs="0" name="features"><xs:complexType><xs:sequence>)"
               R"(<xs:element name="standard" type="xs:string"/><xs:element name="Value" type="%1"/>)"
               R"(<xs:element name="Keyword" type="xs:string" minOccurs="0" maxOccurs="unbounded"/>)"
               R"(</xs:sequence></xs:complexType></xs:element>)"
               R"(<xs:element name="modes" minOccurs="0"><xs:complexType><xs:sequence>)"
               R"(<xs:element name="mode" minOccurs="1" maxOccurs="unbounded"><xs:complexType><xs:all/>)"
               R"(</xs:complexType></xs:element></xs:sequence></xs:complexType></xs:element>)"
               R"(</xs:sequence></xs:complexType></xs:element></xs:sequence></xs:complexType></xs:element>)"
               R"(</xs:schema>)")
        .arg(a_valueType);
}

QString smallFile(const QString& a_value)
{
    return QStringLiteral(R"(<quarnel_config><camera><features><standard>CoaXPress</standard>)"
                          R"(<Value>%1</Value><Keyword>k</Keyword></features><modes><mode name="A"/></modes>)"
                          R"(</camera></quarnel_config>)")
        .arg(a_value);
}

// A feature element of a kind the camera file format does not know.
class OddFeature : public FeatureElementBase
{
public:
    using FeatureElementBase::FeatureElementBase;
    QVariant dataSet() const override { return QVariant(); }
    void setDataSet(const QVariant&) override {}
    void highlight(size_t) override {}

protected:
    void insertInstanceValue(size_t) override {}
    void removeInstanceValue(size_t) override {}
    void moveInstanceValue(size_t, size_t) override {}
};

QByteArray contents(const QString& a_path)
{
    QFile file(a_path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString write(const QString& a_path, const QString& a_text)
{
    QFile file(a_path);
    if (file.open(QIODevice::WriteOnly))
        file.write(a_text.toUtf8());
    return a_path;
}

// The first line in which the texts differ, with its number; empty when they are equal.
QString firstDifference(const QByteArray& a_actual, const QByteArray& a_expected)
{
    const QList<QByteArray> actual = a_actual.split('\n');
    const QList<QByteArray> expected = a_expected.split('\n');
    for (int line = 0; line < qMax(actual.size(), expected.size()); ++line) {
        if (actual.value(line) != expected.value(line)) {
            return QStringLiteral("line %1\n  written:  %2\n  expected: %3")
                .arg(line + 1)
                .arg(QString::fromUtf8(actual.value(line, "<end of file>")),
                     QString::fromUtf8(expected.value(line, "<end of file>")));
        }
    }
    return QString();
}

// An open document: a camera read from a file against its schema, and the document tree.
struct Document
{
    WindowElement window{nullptr};
    LumexTree tree{QString()};
    QString schema;

    CameraElement* camera() { return window.camera(); }

    // As the main window does: the file first, then the schema of its standard, then the values.
    void load(const QString& a_file, const QString& a_schema = QString())
    {
        LumexParser parser(a_file, &tree, nullptr);
        schema = !a_schema.isEmpty() ? a_schema : parser.isCameraLink() ? s_clSchema : s_cxpSchema;
        SchemaParser schemaParser(nullptr, &tree, nullptr, schema);
        schemaParser.loadCamera(camera());
        parser.parse(camera());
    }
    bool save(const QString& a_file, bool a_extraData = true)
    {
        LumexPrinter printer(nullptr, &tree);
        printer.setSchemaPaths(schema == s_clSchema ? QString() : schema, s_clSchema);
        printer.setPreserveExtraData(a_extraData);
        printer.print(camera());
        return printer.save(a_file);
    }
};

} // namespace

class TestLumexPrinter : public QObject
{
    Q_OBJECT

private slots:
    void roundTrip_data();
    void roundTrip();
    void keepsValueTexts_data();
    void keepsValueTexts();
    void rejectsCamera_data();
    void rejectsCamera();
    void failedSaveKeepsFile_data();
    void failedSaveKeepsFile();
    void cancelledPrintWritesNothing();
};

void TestLumexPrinter::roundTrip_data()
{
    QTest::addColumn<QString>("folder");
    const QDir cases(OrvexTest::sourcePath(QStringLiteral("tests/model/data/roundtrip")));
    for (const QString& name : cases.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        QTest::newRow(qPrintable(name)) << cases.filePath(name);
}

void TestLumexPrinter::roundTrip()
{
    QFETCH(QString, folder);
    QTemporaryDir dir;
    const QString input = QDir(folder).filePath(QStringLiteral("input.lumex"));
    const QString written = dir.filePath(QStringLiteral("written.lumex"));

    Document document;
    document.load(input);
    QVERIFY(document.save(written));
    const QString difference =
        firstDifference(contents(written), contents(QDir(folder).filePath(QStringLiteral("expected.lumex"))));
    QVERIFY2(difference.isEmpty(), qPrintable(difference));

    QString output;
    QVERIFY2(OrvexTest::runXmllint(written, QString(), &output) == 0, qPrintable(output));
    if (OrvexTest::runXmllint(input, document.schema) == 0)
        QVERIFY2(OrvexTest::runXmllint(written, document.schema, &output) == 0, qPrintable(output));
    // Without the extra data, what is left is the schema's content alone, and valid.
    const QString schemaOnly = dir.filePath(QStringLiteral("schema-only.lumex"));
    QVERIFY(document.save(schemaOnly, false));
    QVERIFY2(OrvexTest::runXmllint(schemaOnly, document.schema, &output) == 0, qPrintable(output));

    Document reread;
    reread.load(written);
    const QString rewritten = dir.filePath(QStringLiteral("rewritten.lumex"));
    QVERIFY(reread.save(rewritten));
    const QString drift = firstDifference(contents(rewritten), contents(written));
    QVERIFY2(drift.isEmpty(), qPrintable(drift));
}

void TestLumexPrinter::keepsValueTexts_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("fileText");
    // Null: the value stays as it was read.
    QTest::addColumn<QVariant>("edit");
    QTest::addColumn<QString>("written");

    QTest::newRow("decimal zeros") << "xs:decimal"
                                   << "250.50" << QVariant() << "250.50";
    QTest::newRow("hexadecimal") << "xs:int"
                                 << "0x1F" << QVariant() << "0x1F";
    QTest::newRow("smallest long") << "xs:long"
                                   << "-9223372036854775808" << QVariant() << "-9223372036854775808";
    QTest::newRow("blanks") << "xs:int"
                            << " 12 " << QVariant() << "12";
    QTest::newRow("boolean digit") << "xs:boolean"
                                   << "1" << QVariant() << "1";
    QTest::newRow("markup characters") << "xs:string"
                                       << "a&lt;b&amp;c" << QVariant() << "a<b&c";
    QTest::newRow("edited number") << "xs:int"
                                   << "0x1F" << QVariant(32) << "32";
    QTest::newRow("edited boolean") << "xs:boolean"
                                    << "1" << QVariant(false) << "false";
    QTest::newRow("same value set") << "xs:decimal"
                                    << "250.50" << QVariant(250.5) << "250.50";
    QTest::newRow("nearly same value") << "xs:double"
                                       << "250.50" << QVariant(250.50000000001) << "250.50000000001";
}

void TestLumexPrinter::keepsValueTexts()
{
    QFETCH(QString, type);
    QFETCH(QString, fileText);
    QFETCH(QVariant, edit);
    QFETCH(QString, written);

    QTemporaryDir dir;
    Document document;
    document.load(write(dir.filePath(QStringLiteral("in.lumex")), smallFile(fileText)),
                  write(dir.filePath(QStringLiteral("small.xsd")), smallSchema(type)));
    auto* value =
        qobject_cast<ValueFeatureElementBase*>(document.camera()->globalCategory()->feature("Value"));
    if (edit.isValid())
        value->setValue(0, edit);
    const QString output = dir.filePath(QStringLiteral("out.lumex"));
    QVERIFY(document.save(output));

    Lumex::CamFile file;
    QVERIFY(file.load(QFile::encodeName(output), 0));
    const Lumex::ConstCamProperty element = file.root()["camera"]["features"]["Value"];
    QVERIFY(!!element);
    QCOMPARE(QString::fromUtf8(element.get()), written);
}

void TestLumexPrinter::rejectsCamera_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("message");

    QTest::newRow("long hint")
        << "Value=quarnel_config"
        << "BadPathHintException"
        << "printPath"
        << "Excessively long path hint (quarnel_config>camera>features) for print path "
           "(quarnel_config).";
    QTest::newRow("hint mismatch") << "Value=quarnel_config,other,features"
                                   << "BadPathHintException"
                                   << "printPath"
                                   << "Internal mismatch from path hint (quarnel_config>camera>features) for "
                                      "print path (quarnel_config>other>features).";
    QTest::newRow("unnamed path element") << "Value=quarnel_config,camera,features,,x"
                                          << "BadPathException"
                                          << "printPath"
                                          << "Unnamed element in path (quarnel_config>camera>features>>x).";
    QTest::newRow("no schema") << "schemas"
                               << "MissingFeatureException"
                               << "printCamera"
                               << "Unable to determine the device standard for file generation.";
    QTest::newRow("mode path") << "mode=other"
                               << "ModeLoadErrorException"
                               << "printMode"
                               << R"(Unable to print a path  for the "A" mode.)";
    QTest::newRow("category path") << "features=other"
                                   << "ModeLoadErrorException"
                                   << "printFeatureList"
                                   << R"(Unable to print a path for the "features" feature list.)";
    QTest::newRow("feature path") << "Value=quarnel_config,camera,other"
                                  << "FeatureLoadErrorException"
                                  << "printFeature"
                                  << R"(Unable to print a path for the "Value" feature.)";
    QTest::newRow("unnamed repeated feature") << "Keyword="
                                              << "FeatureLoadErrorException"
                                              << "printFeature"
                                              << "Unnamed feature at path (quarnel_config>camera>features).";
    QTest::newRow("unknown feature type") << "odd"
                                          << "UnknownFeatureTypeException"
                                          << "printFeature"
                                          << R"(The "Odd" feature is an unknown type.)";
}

void TestLumexPrinter::rejectsCamera()
{
    QFETCH(QString, change);
    QFETCH(QString, kind);
    QFETCH(QString, function);
    QFETCH(QString, message);

    QTemporaryDir dir;
    Document document;
    document.load(write(dir.filePath(QStringLiteral("in.lumex")), smallFile(QStringLiteral("v"))),
                  write(dir.filePath(QStringLiteral("small.xsd")), smallSchema(QStringLiteral("xs:string"))));
    CameraGlobalCategory* global = document.camera()->globalCategory();
    const QString target = change.section(QLatin1Char('='), 0, 0);
    const QStringList value = change.section(QLatin1Char('='), 1).split(QLatin1Char(','));
    LumexPrinter printer(nullptr, &document.tree);
    printer.setSchemaPaths(document.schema, QString());
    if (target == QLatin1String("schemas")) {
        printer.setSchemaPaths(QString(), QString());
    } else if (target == QLatin1String("mode")) {
        document.camera()->mode(0)->setElementPath(value);
    } else if (target == QLatin1String("features")) {
        global->setElementPath(value);
    } else if (target == QLatin1String("Keyword")) {
        global->feature(target)->setName(QString());
    } else if (target == QLatin1String("odd")) {
        auto* odd = new OddFeature(global);
        odd->setName(QStringLiteral("Odd"));
        odd->setElementPath(global->elementPath());
        global->addFeature(odd);
    } else {
        global->feature(target)->setElementPath(value);
    }

    QString text;
    try {
        printer.print(document.camera());
    } catch (const ExceptionBase& a_error) {
        text = QString::fromUtf8(a_error.what());
    }
    const QRegularExpression expected(
        QStringLiteral("^%1 thrown from Orvex::LumexPrinter::%2 in LumexPrinter\\.cpp\\[\\d+\\]: ")
            .arg(kind, function) +
        QRegularExpression::escape(message) + QLatin1Char('$'));
    QVERIFY2(expected.match(text).hasMatch(), qPrintable(text));
}

void TestLumexPrinter::failedSaveKeepsFile_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("readOnlyFolder");
    QTest::addColumn<QString>("error");

    QTest::newRow("missing folder") << "missing/camera.lumex" << false
                                    << "The file could not be opened for writing.";
    QTest::newRow("read-only folder")
        << "camera.lumex" << true << "The folder does not allow a temporary file.";
}

void TestLumexPrinter::failedSaveKeepsFile()
{
    QFETCH(QString, target);
    QFETCH(bool, readOnlyFolder);
    QFETCH(QString, error);

    if (readOnlyFolder && geteuid() == 0)
        QSKIP("Folder permissions do not bind the superuser.");
    QTemporaryDir dir;
    Document document;
    document.load(OrvexTest::sourcePath(QStringLiteral("examples/Example_CXP.lumex")));
    const QString path = dir.filePath(target);
    const QByteArray previous = contents(write(path, QStringLiteral("previous")));
    if (readOnlyFolder)
        QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner));

    QTest::ignoreMessage(
        QtDebugMsg,
        QRegularExpression(QStringLiteral("^\\[LumexPrinter::save@\\d+\\] Camera file write error: ") +
                           QRegularExpression::escape(error) + QLatin1Char('$')));
    const bool saved = document.save(path);
    QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QVERIFY(!saved);
    QCOMPARE(contents(path), previous);
    QCOMPARE(QDir(QFileInfo(path).absolutePath()).entryList(QDir::Files | QDir::Hidden).size(),
             int(!previous.isEmpty()));
}

void TestLumexPrinter::cancelledPrintWritesNothing()
{
    QTemporaryDir dir;
    Document document;
    document.load(OrvexTest::sourcePath(QStringLiteral("examples/Example_CXP.lumex")));
    const QString path = write(dir.filePath(QStringLiteral("camera.lumex")), QStringLiteral("previous"));

    ProgressStepper stepper(nullptr, 0, 100);
    stepper.cancel();
    LumexPrinter printer(&stepper, &document.tree);
    printer.setSchemaPaths(s_cxpSchema, s_clSchema);
    QVERIFY_EXCEPTION_THROWN(printer.print(document.camera()), OperationCanceledException);
    QCOMPARE(contents(path), QByteArray("previous"));
}

QTEST_MAIN(TestLumexPrinter)
#include "tst_lumexprinter.moc"
