#include "FileFixtures.h"
#include "TestSupport.h"
#include "app/HeadlessDocumentHost.h"
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
    HeadlessDocumentHost host;
    CameraFileSession session{&host};

    CameraElement* camera() { return session.camera(); }
    QStringList modeNames()
    {
        QStringList names;
        for (const ModeElement* mode : camera()->modes())
            names << mode->name();
        return names;
    }
    // "Kind thrown from ...: message" of the refusal, empty when the file loaded. Without a_schema, the
    // shipped schema of the file's standard is read.
    QString openOrRefuse(const QString& a_file, const QString& a_schema = QString())
    {
        const QString coaXPress =
            a_schema.isEmpty() ? OrvexTest::sourcePath("config/Pld/LUMEX-CXP.xsd") : a_schema;
        const QString cameraLink =
            a_schema.isEmpty() ? OrvexTest::sourcePath("config/Vrm/LUMEX-CL.xsd") : a_schema;
        try {
            if (session.load(a_file, coaXPress, cameraLink, nullptr) != CameraFileSession::LoadResult::Loaded)
                return CameraFileSession::unknownStandardText();
        } catch (const ExceptionBase& a_error) {
            return QString::fromUtf8(a_error.what());
        }
        return QString();
    }
    // Saves and opens what was written in a fresh document; the refusal of that, if any.
    QString saveAndReopen(std::unique_ptr<Document>& a_self, const QString& a_file, const QString& a_schema)
    {
        try {
            if (!session.save(a_file, nullptr, true))
                return QStringLiteral("not saved");
        } catch (const ExceptionBase& a_error) {
            return QString::fromUtf8(a_error.what());
        }
        a_self = std::make_unique<Document>();
        return a_self->openOrRefuse(a_file, a_schema);
    }
};

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
    void init() { m_peakBefore = peakResidentKiB(); }
    void cleanup();
    void cleanupTestCase();
    void loadsOrRefuses_data();
    void loadsOrRefuses();
    void fuzzFindings_data();
    void fuzzFindings();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    // The mode names of the shipped examples as read before any hostile input.
    QMap<QString, QStringList> m_exampleModes;
    long m_peakBefore = 0;
};

void TestHostileFiles::initTestCase()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    writtenFile(m_dir->filePath(QStringLiteral("secret.txt")), s_secret);
    writtenFile(m_dir->filePath(QStringLiteral("secret.dtd")), "<!ENTITY leak \"" + s_secret + "\">");
    for (const QString example : {"examples/Example_CL.lumex", "examples/Example_CXP.lumex"}) {
        Document document;
        const QString refusal = document.openOrRefuse(OrvexTest::sourcePath(example));
        QVERIFY2(refusal.isEmpty(), qPrintable(refusal));
        m_exampleModes.insert(example, document.modeNames());
    }
}

void TestHostileFiles::cleanup()
{
    const long peakAfter = peakResidentKiB();
    if (m_peakBefore > 0 && peakAfter > 0)
        QVERIFY2(peakAfter - m_peakBefore < s_memoryGuardKiB,
                 qPrintable(QStringLiteral("peak grew by %1 KiB").arg(peakAfter - m_peakBefore)));
}

// Whatever the rows did, the editor still opens the shipped examples in the same process.
void TestHostileFiles::cleanupTestCase()
{
    for (auto example = m_exampleModes.cbegin(); example != m_exampleModes.cend(); ++example) {
        Document document;
        const QString refusal = document.openOrRefuse(OrvexTest::sourcePath(example.key()));
        QVERIFY2(refusal.isEmpty(), qPrintable(refusal));
        QCOMPARE(document.modeNames(), example.value());
    }
}

void TestHostileFiles::loadsOrRefuses_data()
{
    QTest::addColumn<QByteArray>("file");
    // Empty: the shipped schema of the file's standard.
    QTest::addColumn<QString>("schema");
    // The modes loaded, or -1 when the file is refused with an exception of that kind whose message
    // holds the fragment.
    QTest::addColumn<int>("modes");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("fragment");
    // Mode names the loaded file must hold; all of them are kept again after saving and reading back.
    QTest::addColumn<QStringList>("names");
    // Text that saving the loaded file must write again.
    QTest::addColumn<QByteArray>("kept");

    const QStringList example{"Default", "Fast", "Precision", "Calibration"};
    const auto refused = [](const char* a_row, const QByteArray& a_file, const char* a_kind,
                            const char* a_fragment, const QString& a_schema = QString()) {
        QTest::newRow(a_row) << a_file << a_schema << -1 << a_kind << a_fragment << QStringList()
                             << QByteArray();
    };
    const auto loaded = [](const char* a_row, const QByteArray& a_file, int a_modes,
                           const QStringList& a_names, const QByteArray& a_kept,
                           const QString& a_schema = QString()) {
        QTest::newRow(a_row) << a_file << a_schema << a_modes << QString() << QString() << a_names << a_kept;
    };
    const QString hostile = OrvexTest::sourcePath(QStringLiteral("tests/model/data/hostileschema/"));

    refused("empty file", "", "LumexLoadException", "Document is empty");
    refused("not XML", QByteArray("PK\x03\x04\x14\x00 this is a zip archive, not a camera file", 48),
            "LumexLoadException", "Start tag expected");
    QByteArray utf16("\xFF\xFE");
    for (const QChar character : QString::fromUtf8(clExample(R"(encoding="UTF-8")", R"(encoding="UTF-16")")))
        utf16.append(char(character.unicode() & 0xFF)).append(char(character.unicode() >> 8));
    loaded("UTF-16 with a byte-order mark", utf16, 4, example, "<Author>Vision lab, line 2</Author>");
    refused("invalid UTF-8", clExample("Quarnel Imaging", "Quarnel \xC3\x28 Imaging \xFF"),
            "LumexLoadException", "Input is not proper UTF-8");
    refused("NUL byte", clExample("Quarnel Imaging", QByteArray("Quarnel\0Imaging", 15)),
            "LumexLoadException", "Char 0x0 out of allowed range");
    refused("nesting 100,000 deep",
            clExample("<Notes>",
                      QByteArray("<n>").repeated(100000) + QByteArray("</n>").repeated(100000) + "<Notes>"),
            "LumexLoadException", "Excessive depth in document");
    // Just over the markup library's bound for one text.
    refused("11 MB of text in one element", clExample("<Notes>", "<Notes>" + QByteArray(11000000, 'x')),
            "LumexLoadException", "huge text node");
    const QByteArray longValue = "<Notes>" + QByteArray(1024 * 1024, 'x');
    loaded("1 MB value beyond its feature's length", clExample("<Notes>", longValue), 4, example, longValue);
    const QByteArray attribute = "note=\"" + QByteArray(1024 * 1024, 'a') + '"';
    loaded("1 MB attribute", clExample("<camera ", "<camera " + attribute + ' '), 4, example, attribute);
    refused("attribute name that is no qualified name", clExample("<camera ", "<camera types:1xsi=\"x\" "),
            "LumexLoadException", "Failed to parse QName");
    refused("namespace name holding markup", clExample("<camera ", "<camera xmlns:note=\"urn:a &amp; b\" "),
            "LumexLoadException", "A namespace name holds");
    // Modes of no content: the walk over the modes is what grows with their number, not the work within one.
    QByteArray modes = "<modes><mode name=\"Default\"/>";
    for (int index = 1; index < s_manyModes; ++index)
        modes += "<mode name=\"Mode" + QByteArray::number(index) + "\"/>";
    const QString shared = OrvexTest::sourcePath(QStringLiteral("tests/model/data/schema/camera"));
    const QByteArray sharedFile = fileBytes(shared + QStringLiteral(".lumex"));
    loaded("2,000 modes",
           sharedFile.left(sharedFile.indexOf("<modes>")) + modes + "</modes></camera></quarnel_config>",
           s_manyModes, {"Default", "Mode1", "Mode1999"}, "<mode name=\"Mode1999\"/>",
           shared + QStringLiteral(".xsd"));
    refused("two modes of one name", withModes({"Twin", "Twin"}), "BadModeException",
            R"(The camera mode name "Twin" is used by more than one mode.)");
    refused("two modes of one 1 MB name",
            withModes({QByteArray(1024 * 1024, 'm'), QByteArray(1024 * 1024, 'm')}), "BadModeException",
            "is used by more than one mode.");
    loaded("markup characters in mode names",
           withModes(
               {"Default", "&lt;b&gt;bold&lt;/b&gt; &amp; &quot;q&quot; 'a' @1", "]]&gt; &lt;!-- x --&gt;"}),
           3, {"Default", R"(<b>bold</b> & "q" 'a' @1)", "]]> <!-- x -->"},
           R"(<mode name="]]&gt; &lt;!-- x --&gt;">)");
    loaded("external document type",
           withDocumentType("<!DOCTYPE quarnel_config SYSTEM \"secret.dtd\">", "&leak;"), 4, example,
           "<Author/>");
    refused("external parameter entity",
            withDocumentType(
                "<!DOCTYPE quarnel_config [<!ENTITY % definitions SYSTEM \"secret.dtd\"> %definitions;]>",
                "&leak;"),
            "LumexLoadException", "Entity 'leak' not defined");
    loaded("external entity",
           withDocumentType("<!DOCTYPE quarnel_config [<!ENTITY leak SYSTEM \"secret.txt\">]>", "&leak;"), 4,
           example, "<Author/>");
    QByteArray laughs = "<!DOCTYPE quarnel_config [<!ENTITY lol0 \"lol\">";
    for (int level = 1; level < 10; ++level) {
        laughs += "<!ENTITY lol" + QByteArray::number(level) + " \"" +
                  QByteArray("&lol" + QByteArray::number(level - 1) + ";").repeated(10) + "\">";
    }
    refused("billion laughs", withDocumentType(laughs + "]>", "&lol9;"), "LumexLoadException", "entit");
    // The category's named type holds a feature of that same type.
    refused("schema referring to itself through its types", fileBytes(hostile + "self-referent/camera.lumex"),
            "UnknownFeatureTypeException", R"(Unknown feature type "LoopType" on the "Inner" feature.)",
            hostile + "self-referent/schema.xsd");
    loaded("category of no features", fileBytes(hostile + "category-of-no-features/camera.lumex"), 1,
           {"Default"}, "<Nothing/>", hostile + "category-of-no-features/schema.xsd");
}

void TestHostileFiles::loadsOrRefuses()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, schema);
    QFETCH(int, modes);
    QFETCH(QString, kind);
    QFETCH(QString, fragment);
    QFETCH(QStringList, names);
    QFETCH(QByteArray, kept);

    QVERIFY2(!file.isNull(), "the example no longer holds the text this row edits");
    auto document = std::make_unique<Document>();
    const QString refusal =
        document->openOrRefuse(writtenFile(m_dir->filePath("hostile.lumex"), file), schema);
    if (modes < 0) {
        QVERIFY2(refusal.startsWith(kind + QLatin1String(" thrown from ")), qPrintable(refusal.left(2000)));
        QVERIFY2(refusal.contains(fragment), qPrintable(refusal.left(2000)));
        QVERIFY(!refusal.contains(QString::fromLatin1(s_secret)));
        // A message the user can read, whatever the size of the file.
        QVERIFY2(refusal.size() < s_messageLimit, qPrintable(QString::number(refusal.size())));
        return;
    }
    QVERIFY2(refusal.isEmpty(), qPrintable(refusal.left(2000)));
    QCOMPARE(document->camera()->modeCount(), modes);
    for (const QString& name : qAsConst(names))
        QVERIFY2(document->modeNames().contains(name), qPrintable(name));
    QCOMPARE(document->modeNames().removeDuplicates(), 0);

    // Nothing read is lost on saving, and nothing from outside the file is let in.
    const QString saved = m_dir->filePath(QStringLiteral("saved.lumex"));
    const QStringList loadedNames = document->modeNames();
    const QString reread = document->saveAndReopen(document, saved, schema);
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
        if (!loaded) {
            QVERIFY(loaded.message() && *loaded.message());
            return;
        }
        // What is written reads back, and writes again the same.
        const QByteArray first = QFile::encodeName(m_dir->filePath(QStringLiteral("first.xml")));
        const QByteArray second = QFile::encodeName(m_dir->filePath(QStringLiteral("second.xml")));
        QVERIFY(file.write(first.constData()));
        Lumex::CamFile reread;
        const Lumex::Error again = reread.load(first.constData(), Lumex::CamFile::SourcePath);
        QVERIFY2(again, again.message());
        QVERIFY(reread.write(second.constData()));
        QCOMPARE(fileBytes(QFile::decodeName(second)), fileBytes(QFile::decodeName(first)));
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
    const QString reread =
        document->saveAndReopen(document, m_dir->filePath(QStringLiteral("finding.lumex")), schema);
    QVERIFY2(reread.isEmpty(), qPrintable(reread.left(2000)));
    QCOMPARE(document->modeNames(), names);
}

QTEST_MAIN(TestHostileFiles)
#include "tst_hostilefiles.moc"
