#include "FileFixtures.h"
#include "TestSupport.h"
#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "fileio/CameraFileSession.h"
#include "model/ExceptionBase.h"
#include "platform/Lumex.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Orvex;
using OrvexTest::fileBytes;
using OrvexTest::writtenFile;

namespace {

// Far beyond any honest load, so that only a runaway allocation trips it.
constexpr long s_memoryGuardKiB = 3L * 1024 * 1024;
constexpr int s_messageLimit = 16 * 1024;
// Enough for a walk over all modes per mode added to stand out in the suite's time, few enough to keep
// that time short; the benchmarks measure how the load grows.
constexpr int s_manyModes = 2000;

const QByteArray s_secret = "ORVEX-SECRET-MARKER-5d02";

// a_text with a_to in place of the first a_from; null when a_from is not there, so that a changed
// example cannot turn a row into a test of the untouched file.
QByteArray edited(QByteArray a_text, const QByteArray& a_from, const QByteArray& a_to)
{
    const int at = a_text.indexOf(a_from);
    return at < 0 ? QByteArray() : a_text.replace(at, a_from.size(), a_to);
}

QByteArray clExample(const QByteArray& a_from, const QByteArray& a_to)
{
    return edited(fileBytes(OrvexTest::sourcePath(QStringLiteral("examples/Example_CL.lumex"))), a_from,
                  a_to);
}

// The example with a document type ahead of its root and a_author as the text of its "Author".
QByteArray withDocumentType(const QByteArray& a_doctype, const QByteArray& a_author)
{
    return edited(clExample("<quarnel_config", a_doctype + "\n<quarnel_config"),
                  "<Author>Vision lab, line 2</Author>", "<Author>" + a_author + "</Author>");
}

// The example's modes replaced by copies of its "Default" mode under the given names.
QByteArray withModes(const QList<QByteArray>& a_names)
{
    const QByteArray text = clExample("", "");
    const int start = text.indexOf("<mode name=\"Default\">");
    const int end = text.indexOf("</modes>");
    const QByteArray mode = text.mid(start, text.indexOf("</mode>", start) + 7 - start);
    QByteArray modes;
    for (const QByteArray& name : a_names)
        modes += QByteArray(mode).replace("\"Default\"", '"' + name + '"');
    return start < 0 ? QByteArray() : QByteArray(text).replace(start, end - start, modes);
}

// One open document, held as the editor holds it.
struct Document
{
    CameraFileSession session;

    QStringList modeNames()
    {
        QStringList names;
        for (const ModeElement* mode : session.camera()->modes())
            names << mode->name();
        return names;
    }
    // "Kind thrown from ...: message" of the refusal, empty when the file loaded. Without a_schema, the
    // shipped schema of the file's standard is read.
    QString openOrRefuse(const QString& a_file, const QString& a_schema = QString())
    {
        const auto schema = [&a_schema](const char* a_shipped) {
            return a_schema.isEmpty() ? OrvexTest::sourcePath(QLatin1String(a_shipped)) : a_schema;
        };
        try {
            if (session.load(a_file, schema("config/Pld/LUMEX-CXP.xsd"), schema("config/Vrm/LUMEX-CL.xsd"),
                             nullptr) != CameraFileSession::LoadResult::Loaded)
                return CameraFileSession::unknownStandardText();
        } catch (const ExceptionBase& a_error) {
            return QString::fromUtf8(a_error.what());
        }
        return QString();
    }
};

// Saves a_document and opens what was written in a fresh one, which replaces it; the refusal, if any.
QString saveAndReopen(std::unique_ptr<Document>& a_document, const QString& a_file, const QString& a_schema)
{
    try {
        if (!a_document->session.save(a_file, nullptr, true))
            return QStringLiteral("not saved");
    } catch (const ExceptionBase& a_error) {
        return QString::fromUtf8(a_error.what());
    }
    a_document = std::make_unique<Document>();
    return a_document->openOrRefuse(a_file, a_schema);
}

long peakResidentKiB()
{
    const QByteArray status = fileBytes(QStringLiteral("/proc/self/status"));
    const int at = status.indexOf("VmHWM:");
    return at < 0 ? -1 : status.mid(at + 6).trimmed().split(' ').value(0).toLong();
}

} // namespace

class TestHostileFiles : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    // The mode names of the shipped examples as read before any hostile input.
    QMap<QString, QStringList> m_exampleModes;
    long m_peakBefore = 0;

private slots:
    void initTestCase();
    void init() { m_peakBefore = peakResidentKiB(); }
    void cleanup()
    {
        const long grown = peakResidentKiB() - m_peakBefore;
        QVERIFY2(m_peakBefore <= 0 || grown < s_memoryGuardKiB, qPrintable(QString::number(grown)));
    }
    // Whatever the rows did, the editor still opens the shipped examples in the same process.
    void cleanupTestCase()
    {
        for (auto example = m_exampleModes.cbegin(); example != m_exampleModes.cend(); ++example) {
            Document document;
            QCOMPARE(document.openOrRefuse(OrvexTest::sourcePath(example.key())), QString());
            QCOMPARE(document.modeNames(), example.value());
        }
    }
    void loadsOrRefuses_data();
    void loadsOrRefuses();
    void fuzzFindings_data();
    void fuzzFindings();
};

void TestHostileFiles::initTestCase()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    writtenFile(m_dir->filePath(QStringLiteral("secret.txt")), s_secret);
    writtenFile(m_dir->filePath(QStringLiteral("secret.dtd")), "<!ENTITY leak \"" + s_secret + "\">");
    for (const QString example : {"examples/Example_CL.lumex", "examples/Example_CXP.lumex"}) {
        Document document;
        QCOMPARE(document.openOrRefuse(OrvexTest::sourcePath(example)), QString());
        m_exampleModes.insert(example, document.modeNames());
    }
}

void TestHostileFiles::loadsOrRefuses_data()
{
    QTest::addColumn<QByteArray>("file");
    // Empty: the shipped schema of the file's standard.
    QTest::addColumn<QString>("schema");
    // Refused: the exception's kind and a fragment of its message. Loaded: the number of modes, then
    // names they must hold, all of them kept again after saving and reading back.
    QTest::addColumn<QStringList>("expected");
    // Null when refused; else text that saving the loaded file must write again.
    QTest::addColumn<QByteArray>("kept");

    const auto row = [](const char* a_row, const QByteArray& a_file, const QStringList& a_expected,
                        const QByteArray& a_kept = QByteArray(), const QString& a_schema = QString()) {
        QTest::newRow(a_row) << a_file << a_schema << a_expected << a_kept;
    };
    const QStringList example{"4", "Default", "Fast", "Precision", "Calibration"};
    const QString load = QStringLiteral("LumexLoadException");
    const QString hostile = OrvexTest::sourcePath(QStringLiteral("tests/model/data/hostileschema/"));

    row("empty file", "", {load, "Document is empty"});
    row("not XML", QByteArray("PK\x03\x04\x14\x00 this is a zip archive, not a camera file", 48),
        {load, "Start tag expected"});
    QByteArray utf16("\xFF\xFE");
    for (const QChar character : QString::fromUtf8(clExample(R"(encoding="UTF-8")", R"(encoding="UTF-16")")))
        utf16.append(char(character.unicode() & 0xFF)).append(char(character.unicode() >> 8));
    row("UTF-16 with a byte-order mark", utf16, example, "<Author>Vision lab, line 2</Author>");
    row("invalid UTF-8", clExample("Quarnel Imaging", "Quarnel \xC3\x28 Imaging \xFF"),
        {load, "Input is not proper UTF-8"});
    row("NUL byte", clExample("Quarnel Imaging", QByteArray("Quarnel\0Imaging", 15)),
        {load, "Char 0x0 out of allowed range"});
    row("nesting 100,000 deep",
        clExample("<Notes>",
                  QByteArray("<n>").repeated(100000) + QByteArray("</n>").repeated(100000) + "<Notes>"),
        {load, "Excessive depth in document"});
    // Just over the markup library's bound for one text.
    row("11 MB of text in one element", clExample("<Notes>", "<Notes>" + QByteArray(11000000, 'x')),
        {load, "huge text node"});
    const QByteArray longValue = "<Notes>" + QByteArray(1024 * 1024, 'x');
    row("1 MB value beyond its feature's length", clExample("<Notes>", longValue), example, longValue);
    const QByteArray attribute = "note=\"" + QByteArray(1024 * 1024, 'a') + '"';
    row("1 MB attribute", clExample("<camera ", "<camera " + attribute + ' '), example, attribute);
    row("attribute name that is no qualified name", clExample("<camera ", "<camera types:1xsi=\"x\" "),
        {load, "Failed to parse QName"});
    row("namespace name holding markup", clExample("<camera ", "<camera xmlns:note=\"urn:a &amp; b\" "),
        {load, "A namespace name holds"});
    // Modes of no content: the walk over the modes is what grows with their number, not the work within one.
    QByteArray modes = "<modes><mode name=\"Default\"/>";
    for (int index = 1; index < s_manyModes; ++index)
        modes += "<mode name=\"Mode" + QByteArray::number(index) + "\"/>";
    const QString shared = OrvexTest::sourcePath(QStringLiteral("tests/model/data/schema/camera"));
    const QByteArray sharedFile = fileBytes(shared + QStringLiteral(".lumex"));
    row("2,000 modes",
        sharedFile.left(sharedFile.indexOf("<modes>")) + modes + "</modes></camera></quarnel_config>",
        {QString::number(s_manyModes), "Default", "Mode1", "Mode1999"}, "<mode name=\"Mode1999\"/>",
        shared + QStringLiteral(".xsd"));
    row("two modes of one 1 MB name", withModes({QByteArray(1024 * 1024, 'm'), QByteArray(1024 * 1024, 'm')}),
        {"BadModeException", "is used by more than one mode."});
    row("markup characters in mode names",
        withModes(
            {"Default", "&lt;b&gt;bold&lt;/b&gt; &amp; &quot;q&quot; 'a' @1", "]]&gt; &lt;!-- x --&gt;"}),
        {"3", "Default", R"(<b>bold</b> & "q" 'a' @1)", "]]> <!-- x -->"},
        R"(<mode name="]]&gt; &lt;!-- x --&gt;">)");
    row("external document type",
        withDocumentType("<!DOCTYPE quarnel_config SYSTEM \"secret.dtd\">", "&leak;"), example,
        "<Author>&leak;</Author>");
    row("external parameter entity",
        withDocumentType(
            "<!DOCTYPE quarnel_config [<!ENTITY % definitions SYSTEM \"secret.dtd\"> %definitions;]>",
            "&leak;"),
        {load, "Entity 'leak' not defined"});
    row("external entity",
        withDocumentType("<!DOCTYPE quarnel_config [<!ENTITY leak SYSTEM \"secret.txt\">]>", "&leak;"),
        {load, "entity 'leak' (secret.txt)"});
    QByteArray laughs = "<!DOCTYPE quarnel_config [<!ENTITY lol0 \"lol\">";
    for (int level = 1; level < 10; ++level) {
        laughs += "<!ENTITY lol" + QByteArray::number(level) + " \"" +
                  QByteArray("&lol" + QByteArray::number(level - 1) + ";").repeated(10) + "\">";
    }
    row("billion laughs", withDocumentType(laughs + "]>", "&lol9;"), {load, "entit"});
    // The category's named type holds a feature of that same type.
    row("schema referring to itself through its types", fileBytes(hostile + "self-referent/camera.lumex"),
        {"UnknownFeatureTypeException", R"(Unknown feature type "LoopType" on the "Inner" feature.)"},
        QByteArray(), hostile + "self-referent/schema.xsd");
    row("category of no features", fileBytes(hostile + "category-of-no-features/camera.lumex"),
        {"1", "Default"}, "<Nothing/>", hostile + "category-of-no-features/schema.xsd");
}

void TestHostileFiles::loadsOrRefuses()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, schema);
    QFETCH(QStringList, expected);
    QFETCH(QByteArray, kept);

    QVERIFY2(!file.isNull(), "the example no longer holds the text this row edits");
    auto document = std::make_unique<Document>();
    const QString refusal =
        document->openOrRefuse(writtenFile(m_dir->filePath("hostile.lumex"), file), schema);
    if (kept.isNull()) {
        QVERIFY2(refusal.startsWith(expected[0] + QLatin1String(" thrown from ")),
                 qPrintable(refusal.left(2000)));
        QVERIFY2(refusal.contains(expected[1]), qPrintable(refusal.left(2000)));
        QVERIFY(!refusal.contains(QString::fromLatin1(s_secret)));
        // A message the user can read, whatever the size of the file.
        QVERIFY2(refusal.size() < s_messageLimit, qPrintable(QString::number(refusal.size())));
        return;
    }
    QVERIFY2(refusal.isEmpty(), qPrintable(refusal.left(2000)));
    const QStringList loadedNames = document->modeNames();
    QCOMPARE(loadedNames.size(), expected[0].toInt());
    for (const QString& name : expected.mid(1))
        QVERIFY2(loadedNames.contains(name), qPrintable(name));
    QCOMPARE(QStringList(loadedNames).removeDuplicates(), 0);

    // Nothing read is lost on saving, and nothing from outside the file is let in.
    const QString saved = m_dir->filePath(QStringLiteral("saved.lumex"));
    const QString reread = saveAndReopen(document, saved, schema);
    QVERIFY2(reread.isEmpty(), qPrintable(reread.left(2000)));
    QCOMPARE(document->modeNames(), loadedNames);
    const QByteArray written = fileBytes(saved);
    QVERIFY(!written.contains(s_secret));
    QVERIFY2(written.contains(kept), kept.left(200).constData());
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
        if (!loaded)
            QVERIFY(loaded.message() && *loaded.message());
        // What is written reads back, and writes again the same.
        QByteArray written[2];
        for (int pass = 0; loaded && pass < 2; ++pass) {
            const QString out = m_dir->filePath(QStringLiteral("markup%1.xml").arg(pass));
            QVERIFY(file.write(QFile::encodeName(out).constData()));
            written[pass] = fileBytes(out);
            const Lumex::Error again =
                file.load(QFile::encodeName(out).constData(), Lumex::CamFile::SourcePath);
            QVERIFY2(again, again.message());
        }
        QCOMPARE(written[1], written[0]);
        return;
    }
    QVERIFY2(harness == QLatin1String("camerafile") || harness == QLatin1String("schema"), qPrintable(path));
    const QString schema = harness == QLatin1String("schema") ? path : QString();
    const QString file =
        schema.isEmpty() ? path : OrvexTest::sourcePath(QStringLiteral("examples/Example_CL.lumex"));
    auto document = std::make_unique<Document>();
    const QString refusal = document->openOrRefuse(file, schema);
    QVERIFY2(refusal.size() < s_messageLimit, qPrintable(QString::number(refusal.size())));
    if (!refusal.isEmpty()) {
        QVERIFY2(refusal == CameraFileSession::unknownStandardText() ||
                     refusal.contains(QLatin1String(" thrown from ")),
                 qPrintable(refusal.left(2000)));
        return;
    }
    const QStringList names = document->modeNames();
    const QString reread = saveAndReopen(document, m_dir->filePath(QStringLiteral("finding.lumex")), schema);
    QVERIFY2(reread.isEmpty(), qPrintable(reread.left(2000)));
    QCOMPARE(document->modeNames(), names);
}

QTEST_MAIN(TestHostileFiles)
#include "tst_hostilefiles.moc"
