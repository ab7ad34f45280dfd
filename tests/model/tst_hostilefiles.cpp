#include "TestSupport.h"
#include "app/HeadlessDocumentHost.h"
#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "fileio/CameraFileSession.h"
#include "model/ExceptionBase.h"
#include "platform/Lumex.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

using namespace Orvex;

namespace {

// Far beyond any honest load, so that only a hang or a runaway allocation trips them; ten thousand
// fully populated modes take about a minute to build under the sanitizers.
constexpr qint64 s_timeGuardMs = 20000;
constexpr qint64 s_manyModesTimeGuardMs = 180000;
constexpr long s_memoryGuardKiB = 3L * 1024 * 1024;
constexpr int s_messageLimit = 16 * 1024;

const QByteArray s_secret = "ORVEX-SECRET-MARKER-5d02";

enum Hostile
{
    Empty,
    NotXml,
    Utf16WithBom,
    InvalidUtf8,
    NulByte,
    DeepNesting,
    HugeText,
    LongValue,
    HugeAttribute,
    UnqualifiedName,
    NamespaceNameWithMarkup,
    ManyModes,
    DuplicateModeNames,
    DuplicateLongModeNames,
    MarkupModeNames,
    ExternalDtd,
    ExternalEntity,
    BillionLaughs,
    SelfReferentSchema,
    CategoryWithoutFeatures,
};

// A small schema of the editor's shape: one global string feature besides the standard, and the given
// mode categories and top-level types.
QByteArray smallSchema(const QByteArray& a_categories, const QByteArray& a_types = QByteArray())
{
    return R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">)"
           R"(<xs:element name="quarnel_config"><xs:complexType><xs:sequence>)"
           R"(<xs:element name="camera" minOccurs="0"><xs:complexType><xs:sequence>)"
           R"(<xs:element minOccurs="0" name="features"><xs:complexType><xs:sequence>)"
           R"(<xs:element name="standard" type="xs:string"/><xs:element name="Notes" type="xs:string"/>)"
           R"(</xs:sequence></xs:complexType></xs:element>)"
           R"(<xs:element name="modes" minOccurs="0"><xs:complexType><xs:sequence>)"
           R"(<xs:element name="mode" minOccurs="1" maxOccurs="unbounded"><xs:complexType><xs:all>)" +
           a_categories +
           R"(</xs:all></xs:complexType></xs:element></xs:sequence></xs:complexType></xs:element>)"
           R"(</xs:sequence></xs:complexType></xs:element></xs:sequence></xs:complexType></xs:element>)" +
           a_types + "</xs:schema>";
}

QByteArray smallFile(const QByteArray& a_mode)
{
    return "<quarnel_config><camera><features><standard>CoaXPress</standard><Notes>n</Notes></features>"
           "<modes><mode name=\"Default\">" +
           a_mode + "</mode></modes></camera></quarnel_config>";
}

QByteArray contents(const QString& a_path)
{
    QFile file(a_path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString write(const QString& a_path, const QByteArray& a_bytes)
{
    QFile file(a_path);
    if (file.open(QIODevice::WriteOnly))
        file.write(a_bytes);
    return a_path;
}

// Set when an edit of the example found nothing to replace, so that a changed example cannot turn a
// row into a test of the untouched file.
bool s_anchorMissing = false;

QByteArray replacedOnce(QByteArray a_text, const QByteArray& a_from, const QByteArray& a_to)
{
    const int at = a_text.indexOf(a_from);
    if (at < 0)
        s_anchorMissing = true;
    else
        a_text.replace(at, a_from.size(), a_to);
    return a_text;
}

// The shipped Camera Link example with a_to put in place of the first a_from.
QByteArray clExample(const QByteArray& a_from = QByteArray(), const QByteArray& a_to = QByteArray())
{
    const QByteArray text = contents(OrvexTest::sourcePath(QStringLiteral("examples/Example_CL.lumex")));
    return a_from.isEmpty() ? text : replacedOnce(text, a_from, a_to);
}

// The example with a document type ahead of its root and a_author as the text of its "Author".
QByteArray withDocumentType(const QByteArray& a_doctype, const QByteArray& a_author)
{
    return replacedOnce(clExample("<quarnel_config", a_doctype + "\n<quarnel_config"),
                        "<Author>Vision lab, line 2</Author>", "<Author>" + a_author + "</Author>");
}

QByteArray withModes(const QByteArray& a_modes)
{
    QByteArray text = clExample();
    const int open = text.indexOf("<modes>") + int(qstrlen("<modes>"));
    const int close = text.indexOf("</modes>");
    if (open < int(qstrlen("<modes>")) || close < open)
        s_anchorMissing = true;
    else
        text.replace(open, close - open, a_modes);
    return text;
}

QByteArray defaultMode(const QByteArray& a_name)
{
    const QByteArray text = clExample();
    const int start = text.indexOf("<mode name=\"Default\">");
    const int end = text.indexOf("</mode>", start);
    if (start < 0 || end < 0) {
        s_anchorMissing = true;
        return QByteArray();
    }
    return replacedOnce(text.mid(start, end + int(qstrlen("</mode>")) - start), "\"Default\"",
                        '"' + a_name + '"');
}

struct Input
{
    QByteArray file;
    // Empty: the shipped schema of the file's standard.
    QByteArray schema;
};

Input hostileInput(Hostile a_kind)
{
    switch (a_kind) {
    case Empty:
        return {QByteArray(), {}};
    case NotXml:
        return {QByteArray("PK\x03\x04\x14\x00 this is a zip archive, not a camera file", 48), {}};
    case Utf16WithBom: {
        const QString text = QString::fromUtf8(clExample(R"(encoding="UTF-8")", R"(encoding="UTF-16")"));
        QByteArray bytes("\xFF\xFE");
        for (const QChar character : text)
            bytes.append(char(character.unicode() & 0xFF)).append(char(character.unicode() >> 8));
        return {bytes, {}};
    }
    case InvalidUtf8:
        return {clExample("Quarnel Imaging", "Quarnel \xC3\x28 Imaging \xFF"), {}};
    case NulByte:
        return {clExample("Quarnel Imaging", QByteArray("Quarnel\0Imaging", 15)), {}};
    case DeepNesting:
        return {clExample("<Notes>", QByteArray("<n>").repeated(100000) +
                                         QByteArray("</n>").repeated(100000) + "<Notes>"),
                {}};
    case HugeText:
        return {clExample("<Notes>", "<Notes>" + QByteArray(50 * 1024 * 1024, 'x')), {}};
    case LongValue:
        return {clExample("<Notes>", "<Notes>" + QByteArray(5 * 1024 * 1024, 'x')), {}};
    case HugeAttribute:
        return {clExample("<camera ", "<camera note=\"" + QByteArray(1024 * 1024, 'a') + "\" "), {}};
    case UnqualifiedName:
        return {clExample("<camera ", "<camera types:1xsi=\"x\" "), {}};
    case NamespaceNameWithMarkup:
        return {clExample("<camera ", "<camera xmlns:note=\"urn:a &amp; b\" "), {}};
    case ManyModes: {
        const QByteArray mode = defaultMode("@");
        QByteArray modes = defaultMode("Default");
        for (int index = 1; index < 10000; ++index)
            modes += QByteArray(mode).replace("\"@\"", "\"Mode" + QByteArray::number(index) + '"');
        return {withModes(modes), {}};
    }
    case DuplicateModeNames:
        return {withModes(defaultMode("Twin") + defaultMode("Twin")), {}};
    case DuplicateLongModeNames: {
        const QByteArray name(1024 * 1024, 'm');
        return {withModes(defaultMode(name) + defaultMode(name)), {}};
    }
    case MarkupModeNames:
        return {withModes(defaultMode("Default") +
                          defaultMode("&lt;b&gt;bold&lt;/b&gt; &amp; &quot;q&quot; 'a' @1") +
                          defaultMode("]]&gt; &lt;!-- x --&gt;")),
                {}};
    case ExternalDtd:
        return {withDocumentType("<!DOCTYPE quarnel_config SYSTEM \"secret.dtd\">", "&leak;"), {}};
    case ExternalEntity:
        return {
            withDocumentType("<!DOCTYPE quarnel_config [<!ENTITY leak SYSTEM \"secret.txt\">]>", "&leak;"),
            {}};
    case BillionLaughs: {
        QByteArray doctype = "<!DOCTYPE quarnel_config [<!ENTITY lol0 \"lol\">";
        for (int level = 1; level < 10; ++level) {
            doctype += "<!ENTITY lol" + QByteArray::number(level) + " \"" +
                       QByteArray("&lol" + QByteArray::number(level - 1) + ";").repeated(10) + "\">";
        }
        return {withDocumentType(doctype + "]>", "&lol9;"), {}};
    }
    case SelfReferentSchema:
        // The category's named type holds a feature of that same type.
        return {smallFile("<Loop><Inner/></Loop>"),
                smallSchema(R"(<xs:element name="Loop" type="LoopType" minOccurs="0"/>)",
                            R"(<xs:complexType name="LoopType"><xs:sequence>)"
                            R"(<xs:element name="Inner" type="LoopType" minOccurs="0"/>)"
                            R"(</xs:sequence></xs:complexType>)")};
    case CategoryWithoutFeatures:
        return {smallFile("<Nothing/>"),
                smallSchema(R"(<xs:element name="Nothing" minOccurs="0"><xs:complexType/></xs:element>)"
                            R"(<xs:element name="Hollow" minOccurs="0"><xs:complexType><xs:sequence/>)"
                            R"(</xs:complexType></xs:element>)")};
    }
    return {};
}

// One open document, held as the editor holds it.
struct Document
{
    HeadlessDocumentHost host;
    CameraFileSession session{&host};

    CameraElement* camera() { return session.camera(); }
    bool save(const QString& a_file) { return session.save(a_file, nullptr, true); }
    QStringList modeNames()
    {
        QStringList names;
        for (const ModeElement* mode : camera()->modes())
            names << mode->name();
        return names;
    }
};

// "Kind thrown from ...: message" of the refusal, empty when the file loaded. Without a_schema, the
// shipped schema of the file's standard is read.
QString openOrRefuse(Document& a_document, const QString& a_file, const QString& a_schema = QString())
{
    const QString coaXPress =
        a_schema.isEmpty() ? OrvexTest::sourcePath(QStringLiteral("config/Pld/LUMEX-CXP.xsd")) : a_schema;
    const QString cameraLink =
        a_schema.isEmpty() ? OrvexTest::sourcePath(QStringLiteral("config/Vrm/LUMEX-CL.xsd")) : a_schema;
    try {
        if (a_document.session.load(a_file, coaXPress, cameraLink, nullptr) !=
            CameraFileSession::LoadResult::Loaded)
            return CameraFileSession::unknownStandardText();
    } catch (const ExceptionBase& a_error) {
        return QString::fromUtf8(a_error.what());
    }
    return QString();
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

class TestHostileFiles : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void loadsOrRefuses_data();
    void loadsOrRefuses();
    void fuzzFindings_data();
    void fuzzFindings();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    // The mode names of the shipped examples as read before any hostile input.
    QMap<QString, QStringList> m_exampleModes;
    QElapsedTimer m_timer;
    long m_peakBefore = 0;
};

void TestHostileFiles::initTestCase()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    write(m_dir->filePath(QStringLiteral("secret.txt")), s_secret);
    write(m_dir->filePath(QStringLiteral("secret.dtd")), "<!ENTITY leak \"" + s_secret + "\">");
    for (const QString example : {"examples/Example_CL.lumex", "examples/Example_CXP.lumex"}) {
        Document document;
        const QString refusal = openOrRefuse(document, OrvexTest::sourcePath(example));
        QVERIFY2(refusal.isEmpty(), qPrintable(refusal));
        m_exampleModes.insert(example, document.modeNames());
    }
}

void TestHostileFiles::init()
{
    m_peakBefore = peakResidentKiB();
    m_timer.start();
}

// Whatever a row did, the editor must still open the shipped examples in the same process.
void TestHostileFiles::cleanup()
{
    const qint64 guard =
        QTest::currentDataTag() == QLatin1String("10,000 modes") ? s_manyModesTimeGuardMs : s_timeGuardMs;
    QVERIFY2(m_timer.elapsed() < guard, qPrintable(QStringLiteral("%1 ms").arg(m_timer.elapsed())));
    const long peakAfter = peakResidentKiB();
    if (m_peakBefore > 0 && peakAfter > 0)
        QVERIFY2(peakAfter - m_peakBefore < s_memoryGuardKiB,
                 qPrintable(QStringLiteral("peak grew by %1 KiB").arg(peakAfter - m_peakBefore)));
    for (auto example = m_exampleModes.cbegin(); example != m_exampleModes.cend(); ++example) {
        Document document;
        const QString refusal = openOrRefuse(document, OrvexTest::sourcePath(example.key()));
        QVERIFY2(refusal.isEmpty(), qPrintable(refusal));
        QCOMPARE(document.modeNames(), example.value());
    }
}

void TestHostileFiles::loadsOrRefuses_data()
{
    QTest::addColumn<int>("hostile");
    // The modes loaded, or -1 when the file is refused with an exception of that kind whose message
    // holds the fragment.
    QTest::addColumn<int>("modes");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("fragment");
    // Mode names the loaded file must hold; all of them are kept again after saving and reading back.
    QTest::addColumn<QStringList>("names");
    // Text that saving the loaded file must write again; empty: the file is not saved.
    QTest::addColumn<QByteArray>("kept");

    const QStringList example{"Default", "Fast", "Precision", "Calibration"};
    const auto refused = [](const char* a_row, Hostile a_hostile, const char* a_kind,
                            const char* a_fragment) {
        QTest::newRow(a_row) << int(a_hostile) << -1 << a_kind << a_fragment << QStringList() << QByteArray();
    };
    const auto loaded = [](const char* a_row, Hostile a_hostile, int a_modes, const QStringList& a_names,
                           const QByteArray& a_kept) {
        QTest::newRow(a_row) << int(a_hostile) << a_modes << QString() << QString() << a_names << a_kept;
    };
    refused("empty file", Empty, "LumexLoadException", "Document is empty");
    refused("not XML", NotXml, "LumexLoadException", "Start tag expected");
    loaded("UTF-16 with a byte-order mark", Utf16WithBom, 4, example, "<Author>Vision lab, line 2</Author>");
    refused("invalid UTF-8", InvalidUtf8, "LumexLoadException", "Input is not proper UTF-8");
    refused("NUL byte", NulByte, "LumexLoadException", "Char 0x0 out of allowed range");
    refused("nesting 100,000 deep", DeepNesting, "LumexLoadException", "Excessive depth in document");
    refused("50 MB of text in one element", HugeText, "LumexLoadException", "huge text node");
    loaded("5 MB value beyond its feature's length", LongValue, 4, example,
           "<Notes>" + QByteArray(5 * 1024 * 1024, 'x'));
    loaded("1 MB attribute", HugeAttribute, 4, example, "note=\"" + QByteArray(1024 * 1024, 'a') + '"');
    refused("attribute name that is no qualified name", UnqualifiedName, "LumexLoadException",
            "Failed to parse QName");
    refused("namespace name holding markup", NamespaceNameWithMarkup, "LumexLoadException",
            "A namespace name holds");
    // Saved and read back, they would take minutes more.
    loaded("10,000 modes", ManyModes, 10000, {"Default", "Mode1", "Mode9999"}, QByteArray());
    refused("two modes of one name", DuplicateModeNames, "BadModeException",
            R"(The camera mode name "Twin" is used by more than one mode.)");
    refused("two modes of one 1 MB name", DuplicateLongModeNames, "BadModeException",
            "is used by more than one mode.");
    loaded("markup characters in mode names", MarkupModeNames, 3,
           {"Default", R"(<b>bold</b> & "q" 'a' @1)", "]]> <!-- x -->"},
           R"(<mode name="]]&gt; &lt;!-- x --&gt;">)");
    loaded("external document type", ExternalDtd, 4, example, "<Author/>");
    loaded("external entity", ExternalEntity, 4, example, "<Author/>");
    refused("billion laughs", BillionLaughs, "LumexLoadException", "entit");
    refused("schema referring to itself through its types", SelfReferentSchema, "UnknownFeatureTypeException",
            R"(Unknown feature type "LoopType" on the "Inner" feature.)");
    loaded("category of no features", CategoryWithoutFeatures, 1, {"Default"}, "<Nothing/>");
}

void TestHostileFiles::loadsOrRefuses()
{
    QFETCH(int, hostile);
    QFETCH(int, modes);
    QFETCH(QString, kind);
    QFETCH(QString, fragment);
    QFETCH(QStringList, names);
    QFETCH(QByteArray, kept);

    s_anchorMissing = false;
    const Input input = hostileInput(Hostile(hostile));
    QVERIFY2(!s_anchorMissing, "the example no longer holds the text this row edits");
    const QString file = write(m_dir->filePath(QStringLiteral("hostile.lumex")), input.file);
    const QString schema = input.schema.isEmpty()
                               ? QString()
                               : write(m_dir->filePath(QStringLiteral("hostile.xsd")), input.schema);

    auto document = std::make_unique<Document>();
    const QString refusal = openOrRefuse(*document, file, schema);
    if (modes < 0) {
        QVERIFY2(refusal.startsWith(kind + QLatin1String(" thrown from ")), qPrintable(refusal.left(2000)));
        QVERIFY2(refusal.contains(fragment), qPrintable(refusal.left(2000)));
        // A message the user can read, whatever the size of the file.
        QVERIFY2(refusal.size() < s_messageLimit, qPrintable(QString::number(refusal.size())));
        return;
    }
    QVERIFY2(refusal.isEmpty(), qPrintable(refusal.left(2000)));
    QCOMPARE(document->camera()->modeCount(), modes);
    for (const QString& name : qAsConst(names))
        QVERIFY2(document->modeNames().contains(name), qPrintable(name));
    QCOMPARE(document->modeNames().removeDuplicates(), 0);

    if (kept.isEmpty())
        return;
    // Nothing read is lost on saving, and nothing from outside the file is let in.
    const QString saved = m_dir->filePath(QStringLiteral("saved.lumex"));
    QVERIFY(document->save(saved));
    const QByteArray written = contents(saved);
    QVERIFY(!written.contains(s_secret));
    QVERIFY2(written.contains(kept), kept.left(200).constData());
    const QStringList loadedNames = document->modeNames();
    document = std::make_unique<Document>();
    const QString reread = openOrRefuse(*document, saved, schema);
    QVERIFY2(reread.isEmpty(), qPrintable(reread.left(2000)));
    QCOMPARE(document->modeNames(), loadedNames);
}

// Each input a fuzzer once failed on, kept under data/hostile/<harness>/, must now pass that harness's
// checks: refused with a message, or loaded, and then written and read back alike.
void TestHostileFiles::fuzzFindings_data()
{
    QTest::addColumn<QString>("harness");
    QTest::addColumn<QString>("path");
    for (const QString& root : {OrvexTest::sourcePath(QStringLiteral("tests/model/data/hostile")),
                                OrvexTest::sourcePath(QStringLiteral("tests/platform/data/hostile"))}) {
        QDirIterator files(root, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            const QString harness = QFileInfo(path).dir().dirName();
            QTest::newRow(qPrintable(harness + QLatin1Char('/') + QFileInfo(path).fileName()))
                << harness << path;
        }
    }
}

void TestHostileFiles::fuzzFindings()
{
    QFETCH(QString, harness);
    QFETCH(QString, path);

    if (harness == QLatin1String("markup")) {
        Lumex::CamFile file;
        const Lumex::Error loaded =
            file.load(QFile::encodeName(path).constData(), Lumex::CamFile::SourcePath);
        if (!loaded) {
            QVERIFY(loaded.message() && *loaded.message());
            return;
        }
        // Every name and attribute read can be written, as the printer copies them.
        Lumex::CamFile copy("copy", Lumex::CamFile::SourceRootName);
        std::vector<Lumex::CamProperty> pending{file.root()};
        while (!pending.empty()) {
            const Lumex::CamProperty node = pending.back();
            pending.pop_back();
            Lumex::CamProperty element = copy.root().push_back(node.name());
            QVERIFY2(!element.isNull(), node.name());
            for (unsigned index = 0; index < node.attribute_count(); ++index) {
                const char* value = nullptr;
                QVERIFY(node.get(node.attribute(index), value));
                QVERIFY2(element.set(node.attribute(index), value), node.attribute(index));
            }
            for (auto child = node.begin(nullptr); child != node.end(nullptr); ++child) {
                if (!child->is(Lumex::CamProperty::CommentNode | Lumex::CamProperty::OtherNode |
                               Lumex::CamProperty::TextNode))
                    pending.push_back(child->property());
            }
        }
        // What is written reads back, and writes again the same.
        const QByteArray first = QFile::encodeName(m_dir->filePath(QStringLiteral("first.xml")));
        const QByteArray second = QFile::encodeName(m_dir->filePath(QStringLiteral("second.xml")));
        QVERIFY(file.write(first.constData()));
        Lumex::CamFile reread;
        const Lumex::Error again = reread.load(first.constData(), Lumex::CamFile::SourcePath);
        QVERIFY2(again, again.message());
        QVERIFY(reread.write(second.constData()));
        QCOMPARE(contents(QFile::decodeName(second)), contents(QFile::decodeName(first)));
        return;
    }
    QVERIFY2(harness == QLatin1String("camerafile") || harness == QLatin1String("schema"), qPrintable(path));
    const QString schema = harness == QLatin1String("schema") ? path : QString();
    const QString file =
        schema.isEmpty() ? path : OrvexTest::sourcePath(QStringLiteral("examples/Example_CL.lumex"));
    auto document = std::make_unique<Document>();
    const QString refusal = openOrRefuse(*document, file, schema);
    QVERIFY2(refusal.size() < s_messageLimit, qPrintable(QString::number(refusal.size())));
    if (!refusal.isEmpty()) {
        QVERIFY2(refusal == CameraFileSession::unknownStandardText() ||
                     refusal.contains(QLatin1String(" thrown from ")),
                 qPrintable(refusal.left(2000)));
        return;
    }
    const QString saved = m_dir->filePath(QStringLiteral("finding.lumex"));
    try {
        QVERIFY(document->save(saved));
    } catch (const ExceptionBase& a_error) {
        QFAIL(a_error.what());
    }
    const QStringList names = document->modeNames();
    document = std::make_unique<Document>();
    const QString reread = openOrRefuse(*document, saved, schema);
    QVERIFY2(reread.isEmpty(), qPrintable(reread.left(2000)));
    QCOMPARE(document->modeNames(), names);
}

QTEST_MAIN(TestHostileFiles)
#include "tst_hostilefiles.moc"
