#include "Lumex.h"
#include "TestSupport.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <limits>

namespace {

QString dataFile(const char* a_name)
{
    return OrvexTest::sourcePath(QStringLiteral("tests/platform/data/") + QLatin1String(a_name));
}

QByteArray localPath(const QString& a_path)
{
    return QFile::encodeName(a_path);
}

QByteArray fileBytes(const QString& a_path)
{
    QFile file(a_path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

QString text(const char* a_text)
{
    return a_text ? QString::fromUtf8(a_text) : QStringLiteral("<null>");
}

// Everything the markup interface shows of a subtree, one line per node, so that two documents can be
// compared through the interface itself.
void describe(const Lumex::CamProperty& a_node, int a_depth, QStringList& a_lines)
{
    QString line = QString(a_depth * 2, QLatin1Char(' '));
    if (a_node.is(Lumex::CamProperty::CommentNode))
        line += QLatin1String("comment ");
    else if (a_node.is(Lumex::CamProperty::TextNode))
        line += QLatin1String("text ");
    else if (a_node.is(Lumex::CamProperty::OtherNode))
        line += QLatin1String("other ");
    else
        line += QLatin1String("element ");
    line += text(a_node.name()) + QLatin1Char(' ');
    for (unsigned i = 0; i < a_node.attribute_count(); ++i) {
        const char* value = nullptr;
        a_node.get(a_node.attribute(i), value);
        line += QStringLiteral("@%1=[%2] ").arg(text(a_node.attribute(i)), text(value));
    }
    line += QLatin1Char('[') + text(a_node.get()) + QLatin1Char(']');
    a_lines << line;
    for (auto it = a_node.begin(nullptr); it != a_node.end(nullptr); ++it)
        describe(*it, a_depth + 1, a_lines);
}

QStringList describe(const Lumex::CamProperty& a_root)
{
    QStringList lines;
    describe(a_root, 0, lines);
    return lines;
}

QStringList diagnostics(const Lumex::Error& a_error)
{
    QStringList lines;
    for (Lumex::Error current = a_error; !current; current = current.skip_next(Lumex::Error::NextError))
        lines << text(current.name()) + QLatin1String(" | ") + text(current.message()) +
                     QLatin1String(" | ") + text(current.comment());
    return lines;
}

int g_globalErrors = 0;

void countGlobalError(void*, xmlErrorPtr)
{
    ++g_globalErrors;
}

long peakResidentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

} // namespace

class TestLumex : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void failedLoad_data();
    void failedLoad();
    void failedLoadKeepsDocument();
    void loadLeavesGlobalHandlersAlone();
    void latin1DocumentWrittenAsUtf8();
    void errorChainCopies();

    void countAndChildren();
    void nodeKinds_data();
    void nodeKinds();
    void absentChildren_data();
    void absentChildren();
    void iteration();

    void attributes();
    void numericAttributes_data();
    void numericAttributes();

    void builtDocumentRoundTrip();
    void fileRoundTrip_data();
    void fileRoundTrip();
    void editing();
    void returnedTextsOutliveChanges();
    void invalidInput_data();
    void invalidInput();

    void declaration_data();
    void declaration();
    void writeFailure_data();
    void writeFailure();

    void externalEntitiesRefused_data();
    void externalEntitiesRefused();
    void entityAmplification_data();
    void entityAmplification();

private:
    QTemporaryDir m_temp;
};

void TestLumex::initTestCase()
{
    QVERIFY(m_temp.isValid());
}

void TestLumex::failedLoad_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("minimumDiagnostics");
    QTest::addColumn<QString>("commentPart");

    QTest::newRow("four faults in one file") << dataFile("malformed.xml") << QByteArray() << 4 << "line 4";
    QTest::newRow("empty file") << dataFile("empty.xml") << QByteArray() << 1 << QString();
    QTest::newRow("missing file") << m_temp.filePath(QStringLiteral("absent.lumex")) << QByteArray() << 1
                                  << "absent.lumex";
    QTest::newRow("unclosed root in text")
        << QString() << QByteArray("<quarnel_config><camera/>") << 1 << "line 1";
    QTest::newRow("two roots in text") << QString() << QByteArray("<a/>\n<b/>") << 1 << "line 2";
}

void TestLumex::failedLoad()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, text);
    QFETCH(int, minimumDiagnostics);
    QFETCH(QString, commentPart);

    Lumex::CamFile file;
    const Lumex::Error result = path.isEmpty() ? file.load(text.constData(), Lumex::CamFile::SourceText)
                                               : file.load(localPath(path).constData(), 0);
    QVERIFY(!result);
    QVERIFY(!bool(result));
    QVERIFY2(result.count() >= unsigned(minimumDiagnostics), qPrintable(diagnostics(result).join('\n')));

    Lumex::Error current = result;
    int previousLine = 0;
    for (unsigned i = 0; i < result.count(); ++i) {
        QVERIFY(!current);
        QVERIFY(current.name() && *current.name());
        QVERIFY(current.message() && *current.message());
        QVERIFY(!QString::fromUtf8(current.message()).endsWith(QLatin1Char('\n')));
        const QString comment = QString::fromUtf8(current.comment() ? current.comment() : "");
        if (comment.startsWith(QLatin1String("line "))) {
            const int line =
                comment.mid(5).section(QLatin1Char(','), 0, 0).section(QLatin1Char(':'), 0, 0).toInt();
            QVERIFY2(line >= previousLine, "diagnostics come in document order");
            previousLine = line;
        }
        current = current.skip_next(Lumex::Error::NextError);
    }
    QVERIFY(bool(current));
    QVERIFY(!current.name() && !current.message() && !current.comment());
    if (!commentPart.isEmpty())
        QVERIFY2(diagnostics(result).join('\n').contains(commentPart),
                 qPrintable(diagnostics(result).join('\n')));
    QVERIFY(file.isEmpty());
    QVERIFY(!file.root().get());
}

void TestLumex::failedLoadKeepsDocument()
{
    Lumex::CamFile file("<quarnel_config><camera/></quarnel_config>", Lumex::CamFile::SourceText);
    QVERIFY(file.status());
    const Lumex::CamProperty camera = file.root()["camera"];
    QVERIFY(!file.load("<broken", Lumex::CamFile::SourceText));
    QCOMPARE(text(file.root().name()), QStringLiteral("quarnel_config"));
    QCOMPARE(text(camera.name()), QStringLiteral("camera"));

    Lumex::CamFile fromPath(localPath(dataFile("malformed.xml")).constData(), 0);
    QVERIFY(!fromPath.status());
    QVERIFY(fromPath.isEmpty());
}

void TestLumex::loadLeavesGlobalHandlersAlone()
{
    const xmlExternalEntityLoader loader = xmlGetExternalEntityLoader();
    g_globalErrors = 0;
    xmlSetStructuredErrorFunc(nullptr, countGlobalError);
    Lumex::CamFile file;
    const Lumex::Error malformed = file.load(localPath(dataFile("malformed.xml")).constData(), 0);
    const Lumex::Error laughs = file.load(localPath(dataFile("billion_laughs.xml")).constData(), 0);
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    QVERIFY(!malformed);
    QVERIFY(!laughs);
    QCOMPARE(g_globalErrors, 0);
    QVERIFY(xmlGetExternalEntityLoader() == loader);
}

void TestLumex::latin1DocumentWrittenAsUtf8()
{
    const Lumex::CamFile file("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<r a=\"\xe9\">caf\xe9</r>",
                              Lumex::CamFile::SourceText);
    QVERIFY2(file.status(), qPrintable(diagnostics(file.status()).join('\n')));
    QCOMPARE(text(file.root().get()), QString::fromUtf8("caf\xc3\xa9"));
    const QString path = m_temp.filePath(QString::fromUtf8("caf\xc3\xa9 latin.lumex"));
    QVERIFY(file.write(localPath(path).constData()));
    QCOMPARE(fileBytes(path),
             QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r a=\"\xc3\xa9\">caf\xc3\xa9</r>\n"));
    const Lumex::CamFile reread(localPath(path).constData(), Lumex::CamFile::SourcePath);
    QVERIFY(reread.status());
    QCOMPARE(text(reread.root().get()), QString::fromUtf8("caf\xc3\xa9"));
}

void TestLumex::errorChainCopies()
{
    Lumex::Error chain("first", "one", nullptr);
    chain.append("second", nullptr, "two");
    const Lumex::Error copy = chain;
    chain.append("third", "three", "3");
    QCOMPARE(copy.count(), 2u);
    QCOMPARE(chain.count(), 3u);

    const Lumex::Error next = chain.skip_next(1);
    QCOMPARE(text(chain.name()), QStringLiteral("first"));
    QCOMPARE(text(next.name()), QStringLiteral("second"));
    QVERIFY(!next.message());
    QCOMPARE(text(next.comment()), QStringLiteral("two"));

    Lumex::Error assigned;
    QVERIFY(assigned);
    assigned = next.skip_next(Lumex::Error::NextError);
    QCOMPARE(text(assigned.name()), QStringLiteral("third"));
    QVERIFY(assigned.skip_next(1));
    QVERIFY(assigned.skip_next(1).skip_next(1));

    // Appending to a positioned chain keeps only what lies ahead of it.
    Lumex::Error tail = next;
    tail.append(copy);
    QCOMPARE(diagnostics(tail).size(), 4);
    QCOMPARE(text(tail.skip_next(1).skip_next(1).name()), QStringLiteral("first"));
    QCOMPARE(text(next.skip_next(1).name()), QStringLiteral("third"));
}

void TestLumex::countAndChildren()
{
    Lumex::CamFile file("<r>text<!--note--><x n='0'/> <x n='1'/><y/><?pi data?></r>",
                        Lumex::CamFile::SourceText);
    QVERIFY(file.status());
    const Lumex::CamProperty root = file.root();
    QCOMPARE(root.count(nullptr), 7u);
    QCOMPARE(root.count("x"), 2u);
    QCOMPARE(root.count("y"), 1u);
    QCOMPARE(root.count("z"), 0u);
    QCOMPARE(root.count("pi"), 0u);

    const char* n = nullptr;
    QVERIFY(root.child("x", 1).get("n", n));
    QCOMPARE(text(n), QStringLiteral("1"));
    QVERIFY(root.child(nullptr, 1).is(Lumex::CamProperty::CommentNode));
    QCOMPARE(text(root.child(nullptr, 1).get()), QStringLiteral("note"));
    QVERIFY(root.child(nullptr, 3).is(Lumex::CamProperty::TextNode));
    QCOMPARE(text(root.child(nullptr, 3).get()), QStringLiteral(" "));
    QCOMPARE(root.child(nullptr, 5).property(), root["y"]);
    QVERIFY(root.child(nullptr, 6).is(Lumex::CamProperty::OtherNode));
    QCOMPARE(text(root.get()), QStringLiteral("text "));

    const Lumex::ConstCamProperty first = root["x"];
    QVERIFY(!!first.property());
    QVERIFY(first.property() == root.child("x", 0).property());
    QVERIFY(first.property() != root.child("x", 1).property());
    QVERIFY(Lumex::CamProperty() == Lumex::CamProperty());
    QCOMPARE(root["x"].count(nullptr), 0u);
}

void TestLumex::nodeKinds_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<unsigned>("kinds");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");

    const unsigned element = 0;
    QTest::newRow("element") << 0 << element << "e"
                             << "inside";
    QTest::newRow("text") << 1 << unsigned(Lumex::CamProperty::TextNode) << "<null>"
                          << "plain & text";
    QTest::newRow("cdata") << 2 << unsigned(Lumex::CamProperty::TextNode) << "<null>"
                           << "<raw>";
    QTest::newRow("comment") << 3 << unsigned(Lumex::CamProperty::CommentNode) << "<null>"
                             << " remark ";
    QTest::newRow("processing instruction") << 4 << unsigned(Lumex::CamProperty::OtherNode) << "target"
                                            << "some data";
    QTest::newRow("entity reference") << 5 << unsigned(Lumex::CamProperty::OtherNode) << "ent"
                                      << "";
}

void TestLumex::nodeKinds()
{
    QFETCH(int, index);
    QFETCH(unsigned, kinds);
    QFETCH(QString, name);
    QFETCH(QString, value);

    Lumex::CamFile file(
        "<!DOCTYPE r [<!ENTITY ent \"expanded\">]><r><e>inside</e>plain &amp; text<![CDATA[<raw>]]>"
        "<!-- remark --><?target some data?>&ent;</r>",
        Lumex::CamFile::SourceText);
    QVERIFY2(file.status(), qPrintable(diagnostics(file.status()).join('\n')));
    const Lumex::ConstCamProperty node = file.root().child(nullptr, unsigned(index));
    QVERIFY(!node.isNull());
    for (unsigned bit : {4u, 8u, 16u})
        QCOMPARE(node.is(bit), (kinds & bit) != 0);
    QCOMPARE(node.is(4u | 8u | 16u), kinds != 0);
    QCOMPARE(text(node.name()), name);
    QCOMPARE(text(node.get()), value);
    QCOMPARE(node.attribute_count(), 0u);
    const unsigned element = 0;
    QCOMPARE(node.count(nullptr), kinds == element ? 1u : 0u);
}

void TestLumex::absentChildren_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("child by name") << "child";
    QTest::newRow("child beyond last") << "index";
    QTest::newRow("any child beyond last") << "anyIndex";
    QTest::newRow("const operator[]") << "subscript";
    QTest::newRow("chained operator[]") << "chained";
    QTest::newRow("begin of absent name") << "begin";
    QTest::newRow("iteration past last") << "past";
    QTest::newRow("null property") << "null";
}

void TestLumex::absentChildren()
{
    QFETCH(QString, how);

    const Lumex::CamFile file("<r><a/><b/><a/></r>", Lumex::CamFile::SourceText);
    const Lumex::ConstCamProperty root = file.root();
    QVERIFY(!!root.property());
    Lumex::ConstCamProperty found;
    if (how == QLatin1String("child"))
        found = root.child("c", 0);
    else if (how == QLatin1String("index"))
        found = root.child("a", 2);
    else if (how == QLatin1String("anyIndex"))
        found = root.child(nullptr, 3);
    else if (how == QLatin1String("subscript"))
        found = root["c"];
    else if (how == QLatin1String("chained"))
        found = root["c"]["d"]["e"];
    else if (how == QLatin1String("begin"))
        found = *root.begin("c");
    else if (how == QLatin1String("past")) {
        auto it = root.begin("a");
        ++it;
        it++;
        QVERIFY(!(it != root.end("a")));
        found = *it;
        QVERIFY(it->isNull());
    } else {
        found = Lumex::CamProperty().child("a", 0);
    }
    QVERIFY(!found);
    QVERIFY(found.isNull());
    const Lumex::Error why = found.error();
    QVERIFY(!why);
    QVERIFY(why.message() && *why.message());
    QVERIFY(!found.name());
    QVERIFY(!found.get());
    QCOMPARE(found.count(nullptr), 0u);

    QVERIFY(!Lumex::ConstCamProperty());
    QVERIFY(!Lumex::ConstCamProperty(Lumex::CamProperty()).error());
    QVERIFY(!Lumex::CamProperty());

    Lumex::CamFile writable("<r><a/></r>", Lumex::CamFile::SourceText);
    Lumex::CamProperty writableRoot = writable.root();
    QVERIFY(!writableRoot["c"]);
    QVERIFY(writableRoot["c"].isNull());
    QVERIFY(!writableRoot["a"].isNull());
}

void TestLumex::iteration()
{
    const Lumex::CamFile file("<r><m i='0'/><!--c--><m i='1'/><n/>tail<m i='2'/></r>",
                              Lumex::CamFile::SourceText);
    const Lumex::ConstCamProperty root = file.root();

    QStringList order;
    for (auto it = root.begin("m"); it != root.end("m"); ++it) {
        const char* i = nullptr;
        QVERIFY(it->get("i", i));
        order << text(i);
    }
    QCOMPARE(order, QStringList({"0", "1", "2"}));

    auto it = root.property().cbegin("m");
    const auto previous = it++;
    QCOMPARE(text((*previous).get()), QString());
    const char* i = nullptr;
    QVERIFY((*previous).get("i", i));
    QCOMPARE(text(i), QStringLiteral("0"));
    QVERIFY(it->get("i", i));
    QCOMPARE(text(i), QStringLiteral("1"));
    QVERIFY(!(it.end() != root.end("m")));

    QStringList kinds;
    for (const Lumex::ConstCamProperty& child : root.property())
        kinds << (child.name() ? text(child.name()) : text(child.get()));
    QCOMPARE(kinds, QStringList({"m", "c", "m", "n", "tail", "m"}));

    QVERIFY(!(root.begin("absent") != root.end("absent")));
    QVERIFY(!(Lumex::CamProperty().begin(nullptr) != Lumex::CamProperty().end(nullptr)));
}

void TestLumex::attributes()
{
    const Lumex::CamFile file(localPath(dataFile("roundtrip.xml")).constData(), Lumex::CamFile::SourcePath);
    QVERIFY2(file.status(), qPrintable(diagnostics(file.status()).join('\n')));
    const Lumex::ConstCamProperty root = file.root();
    QCOMPARE(root.attribute_count(), 3u);
    QCOMPARE(text(root.attribute(0)), QStringLiteral("xmlns:xsi"));
    QCOMPARE(text(root.attribute(1)), QStringLiteral("xsi:noNamespaceSchemaLocation"));
    QCOMPARE(text(root.attribute(2)), QStringLiteral("note"));
    QVERIFY(!root.attribute(3));

    const char* value = "unchanged";
    QVERIFY(root.get("xmlns:xsi", value));
    QCOMPARE(text(value), QStringLiteral("http://www.w3.org/2001/XMLSchema-instance"));
    QVERIFY(root.get("xsi:noNamespaceSchemaLocation", value));
    QCOMPARE(text(value), QStringLiteral("camera.xsd"));
    QVERIFY(root.get("note", value));
    QCOMPARE(text(value), QStringLiteral("a & b < c > d \"q\""));

    value = "unchanged";
    const Lumex::Error absent = root.get("noNamespaceSchemaLocation", value);
    QVERIFY(!absent);
    QVERIFY(absent.message());
    QCOMPARE(text(value), QStringLiteral("unchanged"));
    QVERIFY(!root.get("xmlns", value));
    QVERIFY(!root.get(nullptr, value));
    QVERIFY(!root["camera"].get("note", value));
    QCOMPARE(text(value), QStringLiteral("unchanged"));
}

void TestLumex::numericAttributes_data()
{
    QTest::addColumn<QByteArray>("attribute");
    QTest::addColumn<QString>("type");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<double>("expected");

    QTest::newRow("int") << QByteArray("v='42'") << "int" << true << 42.0;
    QTest::newRow("int with blanks and sign") << QByteArray("v=' -7 '") << "int" << true << -7.0;
    QTest::newRow("int hexadecimal") << QByteArray("v='0x1F'") << "int" << true << 31.0;
    QTest::newRow("int minimum") << QByteArray("v='-2147483648'") << "int" << true << -2147483648.0;
    QTest::newRow("int overflow") << QByteArray("v='2147483648'") << "int" << false << 0.0;
    QTest::newRow("int with trailing text") << QByteArray("v='12abc'") << "int" << false << 0.0;
    QTest::newRow("int decimal point") << QByteArray("v='1.5'") << "int" << false << 0.0;
    QTest::newRow("int empty") << QByteArray("v=''") << "int" << false << 0.0;
    QTest::newRow("int absent") << QByteArray("w='1'") << "int" << false << 0.0;
    QTest::newRow("unsigned maximum") << QByteArray("v='4294967295'") << "unsigned" << true << 4294967295.0;
    QTest::newRow("unsigned overflow") << QByteArray("v='4294967296'") << "unsigned" << false << 0.0;
    QTest::newRow("unsigned negative") << QByteArray("v='-1'") << "unsigned" << false << 0.0;
    QTest::newRow("unsigned words") << QByteArray("v='unbounded'") << "unsigned" << false << 0.0;
    QTest::newRow("unsigned absent") << QByteArray("w='1'") << "unsigned" << false << 0.0;
    QTest::newRow("double exponent") << QByteArray("v='1.5e3'") << "double" << true << 1500.0;
    QTest::newRow("double plus sign") << QByteArray("v='+0.25'") << "double" << true << 0.25;
    QTest::newRow("double infinity") << QByteArray("v='INF'") << "double" << true
                                     << std::numeric_limits<double>::infinity();
    QTest::newRow("double decimal comma") << QByteArray("v='1,5'") << "double" << false << 0.0;
    QTest::newRow("double text") << QByteArray("v='fast'") << "double" << false << 0.0;
    QTest::newRow("double absent") << QByteArray("w='1'") << "double" << false << 0.0;
}

void TestLumex::numericAttributes()
{
    QFETCH(QByteArray, attribute);
    QFETCH(QString, type);
    QFETCH(bool, valid);
    QFETCH(double, expected);

    const QByteArray document = "<r " + attribute + "/>";
    const Lumex::CamFile file(document.constData(), Lumex::CamFile::SourceText);
    const Lumex::ConstCamProperty root = file.root();
    QVERIFY(!!root.property());
    Lumex::Error result;
    double read = 0.0;
    if (type == QLatin1String("int")) {
        int value = 99;
        result = root.get("v", value);
        if (!valid)
            QCOMPARE(value, 99);
        read = value;
    } else if (type == QLatin1String("unsigned")) {
        unsigned value = 99;
        result = root.get("v", value);
        if (!valid)
            QCOMPARE(value, 99u);
        read = value;
    } else {
        double value = 99.0;
        result = root.get("v", value);
        if (!valid)
            QCOMPARE(value, 99.0);
        read = value;
    }
    QCOMPARE(bool(result), valid);
    if (valid)
        QCOMPARE(read, expected);
    else
        QVERIFY(result.message() && *result.message());
}

void TestLumex::builtDocumentRoundTrip()
{
    Lumex::CamFile built("quarnel_config", 2);
    QVERIFY(built.status());
    Lumex::CamProperty root = built.root();
    QCOMPARE(text(root.name()), QStringLiteral("quarnel_config"));
    QVERIFY(root.set("xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance"));
    QVERIFY(root.set("xsi:noNamespaceSchemaLocation", "camera.xsd"));
    QVERIFY(root.push_back(Lumex::CamProperty::CommentNode).set(" written by the test "));
    Lumex::CamProperty camera = root.push_back("camera");
    QVERIFY(camera.set("name", "Cam \"A\" <&> 'x'\n\ttabbed"));
    Lumex::CamProperty features = camera.push_back("features");
    QVERIFY(features.push_back(16).set("\n    "));
    Lumex::CamProperty standard = features.push_back("standard");
    QVERIFY(standard.set("CameraLink"));
    QVERIFY(features.push_back(Lumex::CamProperty::TextNode).set("\n    "));
    QVERIFY(features.push_back("script").set("if (a < b && c > d) ]]> \"q\" \r done"));
    QVERIFY(features.push_back(4).set("between <features> & such"));
    QVERIFY(features.push_back("blank").set("   "));
    QVERIFY(features.push_back("unicode").set("caf\xc3\xa9 \xe2\x98\x83 \xf0\x9d\x84\x9e"));
    features.push_back("empty");
    Lumex::CamProperty modes = root.push_back("modes");
    for (const char* name : {"Default", "Fast", "Slow"}) {
        Lumex::CamProperty mode = modes.push_back("mode");
        QVERIFY(mode.set("name", name));
        QVERIFY(mode.set("index", QByteArray::number(modes.count("mode")).constData()));
    }
    QVERIFY(root.push_back(Lumex::CamProperty::TextNode).set("\n"));
    built.setDeclaration(nullptr);

    const QString path = m_temp.filePath(QStringLiteral("built.lumex"));
    const Lumex::Error written = built.write(localPath(path).constData());
    QVERIFY2(written, qPrintable(diagnostics(written).join('\n')));

    QString lint;
    QCOMPARE(OrvexTest::runXmllint(path, QString(), &lint), 0);
    QVERIFY2(lint.trimmed().isEmpty(), qPrintable(lint));
    const QByteArray bytes = fileBytes(path);
    QVERIFY(bytes.startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<quarnel_config"));

    Lumex::CamFile reread;
    const Lumex::Error loaded = reread.load(localPath(path).constData(), 0);
    QVERIFY2(loaded, qPrintable(diagnostics(loaded).join('\n')));
    QCOMPARE(describe(reread.root()), describe(root));

    const QString again = m_temp.filePath(QStringLiteral("built-again.lumex"));
    QVERIFY(reread.write(localPath(again).constData()));
    QCOMPARE(fileBytes(again), bytes);
}

void TestLumex::fileRoundTrip_data()
{
    QTest::addColumn<QString>("source");
    QTest::newRow("comments, CDATA, PIs, white space, namespaces") << dataFile("roundtrip.xml");
}

void TestLumex::fileRoundTrip()
{
    QFETCH(QString, source);

    Lumex::CamFile file;
    const Lumex::Error loaded = file.load(localPath(source).constData(), Lumex::CamFile::SourcePath);
    QVERIFY2(loaded, qPrintable(diagnostics(loaded).join('\n')));
    const QString target = m_temp.filePath(QStringLiteral("roundtrip.lumex"));
    QVERIFY(file.write(localPath(target).constData()));
    QCOMPARE(QString::fromUtf8(fileBytes(target)), QString::fromUtf8(fileBytes(source)));

    const Lumex::ConstCamProperty features = file.root()["camera"]["features"];
    QCOMPARE(text(features["script"].get()), QStringLiteral("if (a < b && c) { return \"]]\"; }"));
    QCOMPARE(text(features["mixed"].get()), QStringLiteral("before<inside>after & more"));
    QCOMPARE(features["mixed"].count(nullptr), 3u);
    QCOMPARE(text(features["spaces"].get()), QStringLiteral("   "));
    QCOMPARE(text(features["empty"].get()), QString());
    QCOMPARE(text(features["multiline"].get()), QStringLiteral("first line\nsecond line\twith tab"));
    QCOMPARE(text(features["unicode"].get()), QString::fromUtf8("caf\xc3\xa9 \xe2\x98\x83 \xf0\x9d\x84\x9e"));
    QCOMPARE(text(file.root()["modes"].child(nullptr, 0).get()), QStringLiteral("  "));
}

void TestLumex::editing()
{
    Lumex::CamFile file("<p:r xmlns:p='urn:p' a='1'><p:c/>one<x/>two<!--k--></p:r>",
                        Lumex::CamFile::SourceText);
    Lumex::CamProperty root = file.root();
    QCOMPARE(text(root.name()), QStringLiteral("p:r"));
    QCOMPARE(root.count("p:c"), 1u);
    QCOMPARE(root.count("c"), 0u);

    QVERIFY(root.set("value"));
    QCOMPARE(text(root.get()), QStringLiteral("value"));
    QCOMPARE(root.count(nullptr), 4u);
    QCOMPARE(text(root.child(nullptr, 1).get()), QStringLiteral("value"));

    QVERIFY(root.set("a", "2"));
    QVERIFY(root.set("b", "3"));
    QVERIFY(root.set("xmlns:p", "urn:q"));
    QCOMPARE(root.attribute_count(), 3u);
    QCOMPARE(text(root.attribute(1)), QStringLiteral("a"));
    const char* value = nullptr;
    QVERIFY(root.get("a", value));
    QCOMPARE(text(value), QStringLiteral("2"));
    QVERIFY(root.get("xmlns:p", value));
    QCOMPARE(text(value), QStringLiteral("urn:q"));

    root.set_name("renamed");
    QCOMPARE(text(root.name()), QStringLiteral("renamed"));
    root.set_name("not a name");
    QCOMPARE(text(root.name()), QStringLiteral("renamed"));

    QVERIFY(root.set(nullptr));
    QCOMPARE(text(root.get()), QString());
    QCOMPARE(root.count(nullptr), 3u);

    Lumex::CamProperty comment = root.child(nullptr, 2).property();
    QVERIFY(comment.set("changed"));
    QCOMPARE(text(comment.get()), QStringLiteral("changed"));

    root.clear();
    QCOMPARE(root.count(nullptr), 0u);
    QCOMPARE(root.attribute_count(), 0u);
    QCOMPARE(text(root.name()), QStringLiteral("renamed"));

    Lumex::CamFile prefixed("<p:r xmlns:p='urn:p'><c/></p:r>", Lumex::CamFile::SourceText);
    Lumex::CamProperty prefixedRoot = prefixed.root();
    prefixedRoot.clear();
    QCOMPARE(text(prefixedRoot.name()), QStringLiteral("p:r"));
    const QString path = m_temp.filePath(QStringLiteral("cleared.lumex"));
    QVERIFY(prefixed.write(localPath(path).constData()));
    QVERIFY(fileBytes(path).contains("<p:r/>"));
}

void TestLumex::returnedTextsOutliveChanges()
{
    Lumex::CamFile file("quarnel_config", 2);
    Lumex::CamProperty root = file.root();
    Lumex::CamProperty feature = root.push_back("feature");
    QVERIFY(feature.set("first value"));
    QVERIFY(feature.set("attribute", "first attribute"));
    Lumex::CamProperty note = root.push_back(Lumex::CamProperty::CommentNode);
    QVERIFY(note.set("first note"));

    const char* value = feature.get();
    const char* attribute = nullptr;
    QVERIFY(feature.get("attribute", attribute));
    const char* name = feature.name();
    const char* noteText = note.get();

    QVERIFY(feature.set("second value"));
    QVERIFY(feature.set("attribute", "second attribute"));
    feature.set_name("renamed");
    QVERIFY(note.set("second note"));
    feature.clear();

    QCOMPARE(text(value), QStringLiteral("first value"));
    QCOMPARE(text(attribute), QStringLiteral("first attribute"));
    QCOMPARE(text(name), QStringLiteral("feature"));
    QCOMPARE(text(noteText), QStringLiteral("first note"));
    QCOMPARE(text(note.get()), QStringLiteral("second note"));
}

void TestLumex::invalidInput_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QByteArray>("argument");

    QTest::newRow("comment with double dash") << "comment" << QByteArray("a--b");
    QTest::newRow("comment ending in dash") << "comment" << QByteArray("a-");
    QTest::newRow("control character in text") << "text" << QByteArray("a\x01z");
    QTest::newRow("invalid UTF-8 in text") << "text" << QByteArray("a\xc3z");
    QTest::newRow("control character in attribute") << "attribute" << QByteArray("\x02");
    QTest::newRow("element name with blank") << "element" << QByteArray("bad name");
    QTest::newRow("element name with digit first") << "element" << QByteArray("1st");
    QTest::newRow("empty element name") << "element" << QByteArray("");
    QTest::newRow("attribute name with two colons") << "attributeName" << QByteArray("a:b:c");
    QTest::newRow("root name") << "root" << QByteArray("<root>");
}

void TestLumex::invalidInput()
{
    QFETCH(QString, operation);
    QFETCH(QByteArray, argument);

    Lumex::CamFile file("quarnel_config", 2);
    Lumex::CamProperty root = file.root();
    Lumex::CamProperty text = root.push_back(Lumex::CamProperty::TextNode);
    QVERIFY(text.set("kept"));
    if (operation == QLatin1String("comment")) {
        QVERIFY(!root.push_back(Lumex::CamProperty::CommentNode).set(argument.constData()));
    } else if (operation == QLatin1String("text")) {
        QVERIFY(!text.set(argument.constData()));
        QVERIFY(!root.set(argument.constData()));
    } else if (operation == QLatin1String("attribute")) {
        QVERIFY(!root.set("a", argument.constData()));
    } else if (operation == QLatin1String("element")) {
        QVERIFY(root.push_back(argument.constData()).isNull());
    } else if (operation == QLatin1String("attributeName")) {
        QVERIFY(!root.set(argument.constData(), "v"));
    } else {
        Lumex::CamFile bad(argument.constData(), 2);
        QVERIFY(!bad.status());
        QVERIFY(bad.isEmpty());
        QVERIFY(!bad.write(localPath(m_temp.filePath(QStringLiteral("bad.lumex"))).constData()));
    }
    QVERIFY(root.push_back(0).isNull());
    QVERIFY(text.push_back("child").isNull());

    const QString path = m_temp.filePath(QStringLiteral("invalid-input.lumex"));
    QVERIFY(file.write(localPath(path).constData()));
    QCOMPARE(OrvexTest::runXmllint(path, QString()), 0);
}

void TestLumex::declaration_data()
{
    QTest::addColumn<QByteArray>("declaration");
    QTest::addColumn<bool>("useNull");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<QByteArray>("encodedText");

    const QByteArray cafeUtf8("caf\xc3\xa9");
    QTest::newRow("default") << QByteArray() << true << true
                             << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r>") << cafeUtf8;
    QTest::newRow("none") << QByteArray("") << false << true << QByteArray("<r>") << cafeUtf8;
    QTest::newRow("whole declaration")
        << QByteArray("<?xml version='1.0' standalone='yes'?>") << false << true
        << QByteArray("<?xml version='1.0' standalone='yes'?>\n<r>") << cafeUtf8;
    QTest::newRow("pseudo-attributes in Latin-1")
        << QByteArray("version=\"1.0\" encoding=\"ISO-8859-1\"") << false << true
        << QByteArray("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<r>") << QByteArray("caf\xe9");
    QTest::newRow("not a declaration")
        << QByteArray("hello") << false << false << QByteArray() << QByteArray();
    QTest::newRow("unknown encoding") << QByteArray("version=\"1.0\" encoding=\"no-such-charset\"") << false
                                      << false << QByteArray() << QByteArray();
    QTest::newRow("encoding that is not ASCII") << QByteArray("version=\"1.0\" encoding=\"UTF-16\"") << false
                                                << false << QByteArray() << QByteArray();
}

void TestLumex::declaration()
{
    QFETCH(QByteArray, declaration);
    QFETCH(bool, useNull);
    QFETCH(bool, valid);
    QFETCH(QByteArray, start);
    QFETCH(QByteArray, encodedText);

    Lumex::CamFile file("r", 2);
    QVERIFY(file.root().set("caf\xc3\xa9"));
    file.setDeclaration(useNull ? nullptr : declaration.constData());
    const QString path = m_temp.filePath(QStringLiteral("declaration.lumex"));
    QFile::remove(path);
    const Lumex::Error written = file.write(localPath(path).constData());
    QCOMPARE(bool(written), valid);
    if (!valid) {
        QVERIFY(written.message());
        QVERIFY(!QFile::exists(path));
        return;
    }
    const QByteArray bytes = fileBytes(path);
    QVERIFY2(bytes.startsWith(start), bytes.constData());
    QVERIFY(bytes.contains("<r>" + encodedText + "</r>"));
    QCOMPARE(OrvexTest::runXmllint(path, QString()), 0);
    Lumex::CamFile reread(localPath(path).constData(), 0);
    QVERIFY(reread.status());
    QCOMPARE(text(reread.root().get()), QString::fromUtf8("caf\xc3\xa9"));
}

void TestLumex::writeFailure_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("empty");

    QTest::newRow("folder that is a file") << "file.txt/camera.lumex" << false;
    QTest::newRow("missing folder") << "missing/folder/camera.lumex" << false;
    QTest::newRow("path is a folder") << "." << false;
    QTest::newRow("empty path") << "" << false;
    QTest::newRow("empty document") << "empty.lumex" << true;
}

void TestLumex::writeFailure()
{
    QFETCH(QString, path);
    QFETCH(bool, empty);

    QFile blocker(m_temp.filePath(QStringLiteral("file.txt")));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();

    Lumex::CamFile file;
    if (!empty)
        file = Lumex::CamFile("quarnel_config", 2);
    const QByteArray target = path.isEmpty() ? QByteArray() : localPath(m_temp.filePath(path));
    const Lumex::Error written = file.write(target.constData());
    QVERIFY(!written);
    QVERIFY(written.name() && *written.name());
    QVERIFY(written.message() && *written.message());
    QVERIFY(written.skip_next(1));
}

void TestLumex::externalEntitiesRefused_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("marker");

    QFile hostname(QStringLiteral("/etc/hostname"));
    QString host;
    if (hostname.open(QIODevice::ReadOnly))
        host = QString::fromUtf8(hostname.readAll()).trimmed();
    QTest::newRow("system entity on /etc/hostname") << dataFile("xxe_hostname.xml") << host;
    QTest::newRow("system entity on a local file") << dataFile("xxe_local.xml") << "LUMEX-XXE-MARKER-4c1e9";
    QTest::newRow("external parameter entity") << dataFile("xxe_parameter.xml") << "LUMEX-XXE-MARKER-4c1e9";
    QTest::newRow("external document type")
        << dataFile("xxe_external_subset.xml") << "LUMEX-XXE-MARKER-4c1e9";
}

void TestLumex::externalEntitiesRefused()
{
    QFETCH(QString, source);
    QFETCH(QString, marker);

    Lumex::CamFile file;
    const Lumex::Error loaded = file.load(localPath(source).constData(), 0);
    if (!loaded) {
        QVERIFY(file.isEmpty());
        if (!marker.isEmpty())
            QVERIFY(!diagnostics(loaded).join('\n').contains(marker));
        return;
    }
    const Lumex::ConstCamProperty leak = file.root()["leak"];
    QVERIFY(!!leak.property());
    QCOMPARE(text(leak.get()), QString());
    for (const Lumex::ConstCamProperty& child : leak.property())
        QVERIFY(!child.is(Lumex::CamProperty::TextNode));
    if (marker.isEmpty())
        QSKIP("No host name to look for");
    QVERIFY(!describe(file.root()).join('\n').contains(marker));
    const QString path = m_temp.filePath(QStringLiteral("xxe.lumex"));
    QVERIFY(file.write(localPath(path).constData()));
    const QByteArray written = fileBytes(path);
    QVERIFY(!written.contains(marker.toUtf8()));
    QVERIFY(written.contains("<leak>&"));
}

void TestLumex::entityAmplification_data()
{
    QTest::addColumn<QString>("source");
    QTest::newRow("in element content") << dataFile("billion_laughs.xml");
    QTest::newRow("in an attribute value") << dataFile("billion_laughs_attribute.xml");
}

void TestLumex::entityAmplification()
{
    QFETCH(QString, source);

    const long peakBefore = peakResidentKiB();
    QElapsedTimer timer;
    timer.start();
    Lumex::CamFile file;
    const Lumex::Error loaded = file.load(localPath(source).constData(), 0);
    const qint64 elapsed = timer.elapsed();
    QVERIFY2(elapsed < 1000, qPrintable(QStringLiteral("took %1 ms").arg(elapsed)));
    QVERIFY(!loaded);
    QVERIFY(loaded.count() >= 1);
    QVERIFY(loaded.message() && *loaded.message());
    const long peakAfter = peakResidentKiB();
    if (peakBefore > 0 && peakAfter > 0)
        QVERIFY2(peakAfter - peakBefore < 64 * 1024,
                 qPrintable(QStringLiteral("grew by %1 KiB").arg(peakAfter - peakBefore)));
}

QTEST_GUILESS_MAIN(TestLumex)
#include "tst_lumex.moc"
