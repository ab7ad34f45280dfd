#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

namespace {

// xmllint's exit status for a document that breaks its schema (a schema that fails to compile gives 5).
constexpr int kInvalid = 3;

const char* const kClSchema = "config/Vrm/LUMEX-CL.xsd";
const char* const kCxpSchema = "config/Pld/LUMEX-CXP.xsd";
const char* const kClExample = "examples/Example_CL.lumex";
const char* const kCxpExample = "examples/Example_CXP.lumex";
// Comments, unknown elements, unknown attributes and stray text: kept by the editor, refused by the schema.
const char* const kUnknownContentExample = "examples/Example_CL_with_notes.lumex";

QByteArray readAll(const QString& a_path)
{
    QFile file(a_path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

struct CameraFacts
{
    QString standardAttribute;
    QString standardFeature;
    QStringList modes;
};

// Reads what the frame of a camera file says about the camera, by element path from the root.
CameraFacts cameraFacts(const QString& a_path)
{
    CameraFacts facts;
    QFile file(a_path);
    if (!file.open(QIODevice::ReadOnly))
        return facts;
    QXmlStreamReader reader(&file);
    QStringList path;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement()) {
            path << reader.name().toString();
            const QString joined = path.join('>');
            if (joined == "quarnel_config>camera")
                facts.standardAttribute = reader.attributes().value("standard").toString();
            else if (joined == "quarnel_config>camera>modes>mode")
                facts.modes << reader.attributes().value("name").toString();
            else if (joined == "quarnel_config>camera>features>standard")
                facts.standardFeature = reader.readElementText().trimmed();
            if (reader.isEndElement())
                path.removeLast();
        } else if (reader.isEndElement()) {
            path.removeLast();
        }
    }
    if (reader.hasError())
        facts = CameraFacts{};
    return facts;
}

// The constructs of the schema language that a schema is made of, under the names that schemaCoverage
// expects. The element names of the camera file's frame tell categories from feature lists and tables.
QSet<QString> schemaConstructs(const QString& a_path)
{
    QSet<QString> found;
    QFile file(a_path);
    if (!file.open(QIODevice::ReadOnly))
        return found;
    QXmlStreamReader reader(&file);
    QVector<QPair<QString, QXmlStreamAttributes>> stack;
    const auto tag = [&stack](int a_up) {
        return a_up < stack.size() ? stack.at(stack.size() - 1 - a_up).first : QString();
    };
    const QStringList facets = {"xs:pattern", "xs:maxLength", "xs:minInclusive", "xs:maxInclusive",
                                "xs:fractionDigits"};
    const QStringList frame = {"quarnel_config", "camera", "modes"};
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isEndElement())
            stack.removeLast();
        if (!reader.isStartElement())
            continue;
        const QString name = reader.qualifiedName().toString();
        const QXmlStreamAttributes attributes = reader.attributes();
        stack.append({name, attributes});
        for (const char* type : {"type", "base"}) {
            if (attributes.value(type).startsWith(QLatin1String("xs:")))
                found << attributes.value(type).toString();
        }
        if (name == "xs:element" || name == "xs:attribute") {
            if (attributes.hasAttribute("default"))
                found << "default value";
            if (attributes.hasAttribute("fixed"))
                found << "fixed value";
        }
        if (name == "xs:element" && attributes.hasAttribute("type") &&
            !attributes.value("type").startsWith(QLatin1String("xs:")))
            found << "element of a named type";
        if (name == "xs:element" && attributes.value("type").startsWith(QLatin1String("xs:")) &&
            !attributes.value("maxOccurs").isEmpty() && attributes.value("maxOccurs") != QLatin1String("1"))
            found << "repeated simple feature";
        if (name == "xs:attribute") {
            const QString use = attributes.value("use").toString();
            found << (use.isEmpty() ? QStringLiteral("attribute without use") : "attribute, use " + use);
            if (tag(1) == "xs:extension" && tag(2) == "xs:simpleContent")
                found << "simple content with attributes";
        }
        if (facets.contains(name))
            found << name;
        if (name == "xs:minLength" && attributes.value("value") == QLatin1String("0"))
            found << "xs:minLength 0";
        if (name == "xs:documentation" && tag(1) == "xs:annotation")
            found << "documented " + tag(2);
        // The content of an element's own complex type: a category below a mode, or a feature list or
        // table when the element stands below a category.
        if ((name == "xs:sequence" || name == "xs:all" || name == "xs:attribute") &&
            tag(1) == "xs:complexType" && tag(2) == "xs:element") {
            const QXmlStreamAttributes& element = stack.at(stack.size() - 3).second;
            QString parent;
            for (int up = 3; up < stack.size() && parent.isEmpty(); ++up) {
                if (tag(up) == "xs:element")
                    parent = stack.at(stack.size() - 1 - up).second.value("name").toString();
            }
            const QString maxOccurs = element.value("maxOccurs").toString();
            if (parent == "mode")
                found << "anonymous category";
            else if (!parent.isEmpty() && !frame.contains(parent))
                found << (maxOccurs == "unbounded" || maxOccurs.toUInt() > 1 ? "feature table"
                                                                             : "feature list");
        }
    }
    if (reader.hasError())
        found.clear();
    return found;
}

} // namespace

class TestShippedFiles : public QObject
{
    Q_OBJECT

private slots:
    void validation_data();
    void validation();
    void schemaCoverage_data();
    void schemaCoverage();
    void schemaConstraints_data();
    void schemaConstraints();
    void configCopies_data();
    void configCopies();
    void standard_data();
    void standard();
    void attachedFiles_data();
    void attachedFiles();
};

void TestShippedFiles::validation_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("schema");
    QTest::addColumn<int>("status");

    // Every example against the schema of its standard.
    const QDir examples(OrvexTest::sourcePath("examples"));
    const QStringList files = examples.entryList({"*.lumex"}, QDir::Files, QDir::Name);
    QVERIFY(files.size() >= 4);
    for (const QString& name : files) {
        const QString file = "examples/" + name;
        const bool coaXPress = cameraFacts(OrvexTest::sourcePath(file)).standardFeature == "CoaXPress";
        QTest::addRow("%s, own schema", qPrintable(name)) << file << (coaXPress ? kCxpSchema : kClSchema)
                                                          << (file == kUnknownContentExample ? kInvalid : 0);
    }
    QTest::newRow("Camera Link example, CoaXPress schema") << kClExample << kCxpSchema << kInvalid;
    QTest::newRow("CoaXPress example, Camera Link schema") << kCxpExample << kClSchema << kInvalid;
}

void TestShippedFiles::validation()
{
    QFETCH(QString, file);
    QFETCH(QString, schema);
    QFETCH(int, status);

    QString output;
    QCOMPARE(OrvexTest::runXmllint(OrvexTest::sourcePath(file), OrvexTest::sourcePath(schema), &output),
             status);
    if (status == 0)
        QVERIFY2(output.contains("validates"), qPrintable(output));
}

void TestShippedFiles::schemaCoverage_data()
{
    QTest::addColumn<QString>("schema");

    QTest::newRow("Camera Link") << kClSchema;
    QTest::newRow("CoaXPress") << kCxpSchema;
}

// Each shipped schema uses every construct that the editor reads from a schema.
void TestShippedFiles::schemaCoverage()
{
    QFETCH(QString, schema);

    QStringList expected = {"xs:string",
                            "xs:boolean",
                            "anonymous category",
                            "element of a named type",
                            "attribute, use optional",
                            "attribute, use required",
                            "attribute without use",
                            "simple content with attributes",
                            "documented xs:enumeration",
                            "xs:pattern",
                            "xs:maxLength",
                            "xs:minLength 0",
                            "xs:minInclusive",
                            "xs:maxInclusive",
                            "xs:fractionDigits",
                            "default value",
                            "fixed value",
                            "repeated simple feature",
                            "feature list",
                            "feature table",
                            "documented xs:element",
                            "documented xs:attribute"};
    for (const QString& type :
         QStringLiteral(
             "integer positiveInteger negativeInteger nonNegativeInteger nonPositiveInteger long "
             "unsignedLong int unsignedInt short unsignedShort byte unsignedByte decimal float double")
             .split(' '))
        expected << "xs:" + type;
    const QSet<QString> found = schemaConstructs(OrvexTest::sourcePath(schema));
    QStringList missing;
    for (const QString& construct : expected) {
        if (!found.contains(construct))
            missing << construct;
    }
    QVERIFY2(missing.isEmpty(), qPrintable("missing: " + missing.join(", ")));
}

// Each row breaks one rule of a schema in a copy of an example, which must then fail to validate.
void TestShippedFiles::schemaConstraints_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("schema");
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");

    QTest::newRow("duplicate mode name") << kClExample << kClSchema << "<mode name=\"Fast\">"
                                         << "<mode name=\"Default\">";
    QTest::newRow("mode name with @") << kCxpExample << kCxpSchema << "<mode name=\"Slow\">"
                                      << "<mode name=\"Slow@1\">";
    QTest::newRow("mode without name") << kCxpExample << kCxpSchema << "<mode name=\"Slow\">"
                                       << "<mode>";
    QTest::newRow("camera without standard") << kClExample << kClSchema << "<camera standard=\"CameraLink\">"
                                             << "<camera>";
    QTest::newRow("board register data in decimal") << kClExample << kClSchema << "<data>0x000000C8</data>"
                                                    << "<data>200</data>";
    QTest::newRow("board register name with a blank")
        << kCxpExample << kCxpSchema << "<address>Encoder0Filter</address>"
        << "<address>Encoder0 Filter</address>";
    QTest::newRow("camera register address in decimal")
        << kCxpExample << kCxpSchema << "<address>0x6000</address>"
        << "<address>24576</address>";
    QTest::newRow("exposure below its bound")
        << kClExample << kClSchema << "<ExposureTime>1500</ExposureTime>"
        << "<ExposureTime>0.5</ExposureTime>";
    QTest::newRow("gamma with three fraction digits") << kClExample << kClSchema << "<Gamma>0.45</Gamma>"
                                                      << "<Gamma>0.455</Gamma>";
    QTest::newRow("unknown link speed") << kCxpExample << kCxpSchema << "<LinkSpeed>CXP-6</LinkSpeed>"
                                        << "<LinkSpeed>CXP-7</LinkSpeed>";
    QTest::newRow("duplicate look-up table index") << kClExample << kClSchema << "<Entry Index=\"64\""
                                                   << "<Entry Index=\"16\"";
    QTest::newRow("strobe width of zero") << kCxpExample << kCxpSchema << "Width=\"800\"/>"
                                          << "Width=\"0\"/>";
    QTest::newRow("fixed standard feature changed")
        << kCxpExample << kCxpSchema << "<standard>CoaXPress</standard>"
        << "<standard>CameraLink</standard>";
}

void TestShippedFiles::schemaConstraints()
{
    QFETCH(QString, file);
    QFETCH(QString, schema);
    QFETCH(QString, from);
    QFETCH(QString, to);

    QString text = QString::fromUtf8(readAll(OrvexTest::sourcePath(file)));
    QCOMPARE(text.count(from), 1);
    text.replace(from, to);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString broken = dir.filePath("broken.lumex");
    QFile out(broken);
    QVERIFY(out.open(QIODevice::WriteOnly));
    QVERIFY(out.write(text.toUtf8()) > 0);
    out.close();

    QString output;
    QCOMPARE(OrvexTest::runXmllint(broken, OrvexTest::sourcePath(schema), &output), kInvalid);
    QVERIFY2(output.contains("validity error"), qPrintable(output));
}

void TestShippedFiles::configCopies_data()
{
    QTest::addColumn<QString>("example");
    QTest::addColumn<QString>("copy");

    QTest::newRow("Camera Link") << kClExample << "config/Vrm/Example_CL.lumex";
    QTest::newRow("CoaXPress") << kCxpExample << "config/Pld/Example_CXP.lumex";
}

void TestShippedFiles::configCopies()
{
    QFETCH(QString, example);
    QFETCH(QString, copy);

    const QByteArray original = readAll(OrvexTest::sourcePath(example));
    QVERIFY(!original.isEmpty());
    QVERIFY2(readAll(OrvexTest::sourcePath(copy)) == original, qPrintable(copy + " differs from " + example));
}

void TestShippedFiles::standard_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("standard");

    QTest::newRow("Camera Link") << kClExample << "CameraLink";
    QTest::newRow("CoaXPress") << kCxpExample << "CoaXPress";
}

void TestShippedFiles::standard()
{
    QFETCH(QString, file);
    QFETCH(QString, standard);

    const CameraFacts facts = cameraFacts(OrvexTest::sourcePath(file));
    QCOMPARE(facts.standardAttribute, standard);
    QCOMPARE(facts.standardFeature, standard);
}

// The simulated boards list camera files as mode@file or file, resolved against the folder of the
// board's standard; each must exist, validate against that folder's schema and hold the mode named.
void TestShippedFiles::attachedFiles_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("schema");
    QTest::addColumn<QString>("mode");

    const QJsonDocument boards =
        QJsonDocument::fromJson(readAll(OrvexTest::sourcePath("config/SimBoards.json")));
    QVERIFY(boards.isObject());
    int rows = 0;
    for (const QJsonValue& board : boards.object().value("boards").toArray()) {
        const QString kind = board.toObject().value("kind").toString();
        const QString folder = kind == "CoaXPress" ? "config/Pld/" : "config/Vrm/";
        const QString schema = kind == "CoaXPress" ? kCxpSchema : kClSchema;
        const QJsonArray list = board.toObject().value("registry").toObject().value("QNCamList").toArray();
        for (const QJsonValue& entry : list) {
            const QString text = entry.toString();
            const int at = text.indexOf('@');
            QTest::addRow("%s %s", qPrintable(board.toObject().value("model").toString()), qPrintable(text))
                << folder + text.mid(at + 1) << schema << (at < 0 ? QString() : text.left(at));
            ++rows;
        }
    }
    QVERIFY(rows >= 4);
}

void TestShippedFiles::attachedFiles()
{
    QFETCH(QString, file);
    QFETCH(QString, schema);
    QFETCH(QString, mode);

    const QString path = OrvexTest::sourcePath(file);
    QVERIFY2(QFile::exists(path), qPrintable(path));
    QString output;
    QVERIFY2(OrvexTest::runXmllint(path, OrvexTest::sourcePath(schema), &output) == 0, qPrintable(output));
    const QStringList modes = cameraFacts(path).modes;
    QVERIFY(!modes.isEmpty());
    if (!mode.isEmpty())
        QVERIFY2(modes.contains(mode), qPrintable(modes.join(", ")));
}

QTEST_GUILESS_MAIN(TestShippedFiles)

#include "tst_shippedfiles.moc"
