#include "BoardFixtures.h"
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
#include <QRegularExpression>
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

// The file a row of tests/model/data/hostile-loads.txt describes, or its kept text, "{text*N}" expanded.
QByteArray built(const QByteArray& a_spec, bool a_file = true)
{
    // Latin-1 keeps every byte as it is.
    QString spec = QString::fromLatin1(a_spec.constData(), a_spec.size());
    static const QRegularExpression repeat(QStringLiteral("\\{([^*{}]+)\\*(\\d+)\\}"));
    for (QRegularExpressionMatch match; (match = repeat.match(spec)).hasMatch();)
        spec.replace(match.capturedStart(), match.capturedLength(),
                     match.captured(1).repeated(match.captured(2).toInt()));
    const QString kind = spec.section(' ', 0, 0);
    const QString rest = spec.section(' ', 1);
    if (!a_file || kind == "bytes") {
        const QByteArray bytes = (a_file ? rest : spec).toLatin1();
        return bytes.isNull() ? QByteArray("") : bytes;
    }
    if (kind == "file")
        return fileBytes(OrvexTest::sourcePath(rest));
    QList<QByteArray> names;
    for (const QString& name : rest.split(", "))
        names << name.toLatin1();
    if (kind == "modes")
        return withModes(names);
    QByteArray text = clExample("", "");
    for (const QString& edit : rest.split(" && "))
        text = edited(text, edit.section(" => ", 0, 0).toLatin1(), edit.section(" => ", 1).toLatin1());
    return text;
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
    OrvexTest::addTableRows(QStringLiteral("tests/model/data/hostile-loads.txt"),
                            {"file", "expected", "kept", "schema"});
    QByteArray utf16("bytes \xFF\xFE");
    for (const QChar character : QString::fromUtf8(clExample(R"(encoding="UTF-8")", R"(encoding="UTF-16")")))
        utf16.append(char(character.unicode() & 0xFF)).append(char(character.unicode() >> 8));
    QTest::newRow("UTF-16 with a byte-order mark")
        << utf16 << QByteArray("4;Default;Fast;Precision;Calibration")
        << QByteArray("<Author>Vision lab, line 2</Author>") << QByteArray();
    // Modes of no content: the walk over the modes is what grows with their number, not the work within one.
    QByteArray modes = "<modes><mode name=\"Default\"/>";
    for (int index = 1; index < s_manyModes; ++index)
        modes += "<mode name=\"Mode" + QByteArray::number(index) + "\"/>";
    const QByteArray shared =
        fileBytes(OrvexTest::sourcePath(QStringLiteral("tests/model/data/schema/camera.lumex")));
    QTest::newRow("2,000 modes") << "bytes " + shared.left(shared.indexOf("<modes>")) + modes +
                                        "</modes></camera></quarnel_config>"
                                 << QByteArray::number(s_manyModes) + ";Default;Mode1;Mode1999"
                                 << QByteArray("<mode name=\"Mode1999\"/>")
                                 << QByteArray("tests/model/data/schema/camera.xsd");
}

void TestHostileFiles::loadsOrRefuses()
{
    const QByteArray file = built(OrvexTest::field("file"));
    const QStringList expected = QString::fromUtf8(OrvexTest::field("expected")).split(';');
    const QByteArray kept = built(OrvexTest::field("kept"), false);
    const QString schema =
        OrvexTest::field("schema").isEmpty() ? QString() : OrvexTest::sourcePath(OrvexTest::field("schema"));

    QVERIFY2(!file.isNull(), "the example no longer holds the text this row edits");
    auto document = std::make_unique<Document>();
    const QString refusal =
        document->openOrRefuse(writtenFile(m_dir->filePath("hostile.lumex"), file), schema);
    if (kept.isEmpty()) {
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
