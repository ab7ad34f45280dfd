#include "FileFixtures.h"
#include "TestSupport.h"
#include "platform/QNDriver.h"
#include "platform/QNExceptionBase.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstring>
#include <thread>

namespace {

QStringList g_messages;

// Collects every message while it lives, so that a test can count the lines a load printed.
class MessageRecorder
{
public:
    MessageRecorder()
    {
        g_messages.clear();
        m_previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& a_text) { g_messages << a_text; });
    }
    ~MessageRecorder() { qInstallMessageHandler(m_previous); }

private:
    QtMessageHandler m_previous = nullptr;
};

QByteArray machine()
{
    return OrvexTest::fileBytes(
        OrvexTest::sourcePath(QStringLiteral("tests/platform/data/simboards/machine.json")));
}

bool writeFile(const QString& a_path, const QByteArray& a_content)
{
    QFile file(a_path);
    return file.open(QIODevice::WriteOnly) && file.write(a_content) == a_content.size();
}

unsigned boardCount()
{
    HwBrdEntry entry;
    unsigned count = 0;
    while (HwSysBrdFind(HwSelectorFrameGrabber, count, &entry) == 0)
        ++count;
    return count;
}

HwBrdHandle openBoard(unsigned a_index)
{
    HwBrdEntry entry;
    HwBrdHandle handle = HwNoBoard;
    if (HwSysBrdFind(HwSelectorFrameGrabber, a_index, &entry) != 0 ||
        HwBrdOpen(&entry, &handle, HwOpenDataSource) != 0)
        return HwNoBoard;
    return handle;
}

} // namespace

class TestSimDriver : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    bool loadMachine(const QByteArray& a_json)
    {
        if (!writeFile(m_dir.filePath(QStringLiteral("SimBoards.json")), a_json))
            return false;
        QNSimReset();
        QNSimSetConfigDir(QFile::encodeName(m_dir.path()).constData());
        return true;
    }

private slots:
    void init()
    {
        qunsetenv("QN_SIM_BOARDS");
        QNSimReset();
        QVERIFY(m_dir.isValid());
        QFile::remove(m_dir.filePath(QStringLiteral("SimBoards.json")));
    }

    // The boards come in the order of the description, with their kinds and strings.
    void boards()
    {
        QVERIFY(loadMachine(machine()));
        QStringList found;
        for (unsigned index = 0; index < boardCount(); ++index) {
            const HwBrdHandle handle = openBoard(index);
            char model[QNStringBufferSize];
            char variant[QNStringBufferSize];
            std::uint32_t serial = 0xFFFF;
            std::uint32_t firmware = 0xFFFF;
            QCOMPARE(QNGetBoardStrings(handle, model, variant, &serial, &firmware), 0);
            const char* kind =
                QNIsCL(handle) ? (QNIsCXP(handle) ? "both" : "CL") : (QNIsCXP(handle) ? "CXP" : "none");
            found << QStringLiteral("%1%2 %3/%4 %5.%6")
                         .arg(kind, QNIsMk2(handle) ? " Mk2" : "", model, variant)
                         .arg(serial)
                         .arg(firmware);
            QCOMPARE(HwBrdClose(handle), 0);
        }
        QCOMPARE(found, QStringList({"CL Mk2 Alpha CL/Full 11.2", "CXP Mk2 Beta CXP/ 0.0", "CL / 0.0"}));
        HwBrdEntry entry;
        QVERIFY(HwSysBrdFind(HwSelectorFrameGrabber + 1, 0, &entry) != 0);
        QVERIFY(HwSysBrdFind(HwSelectorFrameGrabber, 0, nullptr) != 0);
    }

    // Handles are never reused; closed, unknown and reloaded-away handles reach no board.
    void handles()
    {
        QVERIFY(loadMachine(machine()));
        const HwBrdHandle first = openBoard(0);
        const HwBrdHandle second = openBoard(0);
        QVERIFY(first != HwNoBoard && second != HwNoBoard && first != second);
        QCOMPARE(HwBrdClose(first), 0);
        QVERIFY(HwBrdClose(first) != 0);
        QCOMPARE(QNIsCL(second), 1);

        char buffer[QNCamListBufferSize];
        std::memset(buffer, 'x', sizeof buffer);
        for (HwBrdHandle handle : {first, HwNoBoard, second + 1000}) {
            QCOMPARE(QNIsCL(handle), 0);
            QCOMPARE(QNRegPeek(handle, 0), 0u);
            QVERIFY(QNRegPoke(handle, 0, 1) != 0);
            QVERIFY(QNRegistryBoardGetMultiString(handle, "QNCamList", buffer, sizeof buffer) != 0);
            QCOMPARE(buffer[0], '\0');
        }

        HwBrdEntry entry;
        QCOMPARE(HwSysBrdFind(HwSelectorFrameGrabber, 0, &entry), 0);
        QNSimReload();
        HwBrdHandle handle = HwNoBoard;
        QVERIFY(HwBrdOpen(&entry, &handle, HwOpenAttachedFileScan) != 0);
        QCOMPARE(QNIsCL(second), 0);
        const HwBrdHandle fresh = openBoard(1);
        QCOMPARE(QNIsCXP(fresh), 1);
        QNSimReset();
        QCOMPARE(QNIsCXP(fresh), 0);
    }

    void camList_data()
    {
        QTest::addColumn<QString>("valueName");
        QTest::addColumn<QList<QByteArray>>("entries");
        QTest::addColumn<bool>("fits");
        QTest::newRow("mode and plain entries")
            << "QNCamList" << QList<QByteArray>{"Fast@cam.lumex", "cam.lumex"} << true;
        QTest::newRow("name in other case") << "qncamlist" << QList<QByteArray>{"Ä.lumex"} << true;
        QTest::newRow("exactly 4096 bytes")
            << "QNCamList" << QList<QByteArray>{QByteArray(2000, 'a'), QByteArray(2093, 'b')} << true;
        QTest::newRow("one byte over")
            << "QNCamList" << QList<QByteArray>{QByteArray(2000, 'a'), QByteArray(2094, 'b')} << false;
    }

    // Zero-ended entries and an empty string at the end; a list that does not fit leaves an empty list.
    void camList()
    {
        QFETCH(QString, valueName);
        QFETCH(QList<QByteArray>, entries);
        QFETCH(bool, fits);
        QJsonArray list;
        for (const QByteArray& entry : entries)
            list.append(QString::fromUtf8(entry));
        const QJsonObject board{{"kind", "CameraLink"}, {"registry", QJsonObject{{"QNCamList", list}}}};
        QVERIFY(loadMachine(QJsonDocument(QJsonObject{{"boards", QJsonArray{board}}}).toJson()));
        const HwBrdHandle handle = openBoard(0);

        char buffer[QNCamListBufferSize + 16];
        std::memset(buffer, 0x7f, sizeof buffer);
        const int result = QNRegistryBoardGetMultiString(handle, valueName.toUtf8().constData(), buffer,
                                                         QNCamListBufferSize);
        QCOMPARE(result == 0, fits);
        const QByteArray expected = fits ? entries.join('\0') + QByteArray(2, '\0') : QByteArray(1, '\0');
        QCOMPARE(QByteArray(buffer, expected.size()), expected);
        QVERIFY(std::all_of(buffer + QNCamListBufferSize, buffer + sizeof buffer,
                            [](char a_c) { return a_c == 0x7f; }));
        QVERIFY(QNRegistryBoardGetMultiString(handle, "QNOtherList", buffer, sizeof buffer) != 0);
        QCOMPARE(buffer[0], '\0');
    }

    void registers_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/platform/data/tables/registers.txt"),
                                {"idText", "name", "valueText"});
    }

    // Names, values and writes; a write is seen through every handle on the board, and no other board.
    void registers()
    {
        QFETCH(QByteArray, idText);
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, valueText);
        const unsigned id = idText.toUInt();
        const quint32 value = valueText.toUInt();
        QVERIFY(loadMachine(machine()));
        const HwBrdHandle handle = openBoard(0);
        const bool supported = !name.isEmpty();

        QCOMPARE(QNRegSupported(handle, id) != 0, supported);
        char text[QNStringBufferSize] = "unchanged";
        QCOMPARE(QNRegName(handle, id, text) == 0, supported);
        QCOMPARE(QByteArray(text), supported ? name : QByteArray("unchanged"));
        QCOMPARE(QNRegPeek(handle, id), value);
        QCOMPARE(QNRegPoke(handle, id, 0x1234) == 0, supported);
        QCOMPARE(QNRegPeek(openBoard(0), id), supported ? 0x1234u : 0u);
        QCOMPARE(QNRegPeek(openBoard(1), 0), 1u);
    }

    void cameraRegisters_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/platform/data/tables/camera-registers.txt"),
                                {"addressText", "valueText"});
    }

    void cameraRegisters()
    {
        QFETCH(QByteArray, addressText);
        QFETCH(QByteArray, valueText);
        const quint32 address = addressText.toUInt(nullptr, 0);
        const qint64 value = valueText.isEmpty() ? -1 : valueText.toLongLong(nullptr, 0);
        QVERIFY(loadMachine(machine()));
        const HwBrdHandle handle = openBoard(1);
        std::uint32_t read = 0xDEADBEEF;
        QCOMPARE(QNCXPReadReg(handle, address, &read) == 0, value >= 0);
        QCOMPARE(qint64(read), value >= 0 ? value : 0xDEADBEEF);
        QVERIFY(QNCXPReadReg(openBoard(0), 0, &read) != 0);

        QCOMPARE(QNCXPWriteReg(handle, address, 77) == 0, value >= 0);
        QCOMPARE(QNCXPReadReg(openBoard(1), address, &read) == 0, value >= 0);
        QVERIFY(value < 0 || read == 77);
    }

    // QN_SIM_BOARDS wins over the configuration folder; a new folder reloads.
    void descriptionSource()
    {
        QTemporaryDir other;
        const QByteArray oneBoard = R"({"boards": [{"kind": "CoaXPress"}]})";
        QVERIFY(writeFile(other.filePath(QStringLiteral("boards.json")), oneBoard));
        QVERIFY(writeFile(other.filePath(QStringLiteral("SimBoards.json")), oneBoard));

        MessageRecorder recorder;
        QCOMPARE(boardCount(), 0u);
        QVERIFY(loadMachine(machine()));
        QCOMPARE(boardCount(), 3u);
        const HwBrdHandle handle = openBoard(0);
        QNSimSetConfigDir(QFile::encodeName(m_dir.path()).constData());
        QCOMPARE(QNIsCL(handle), 1);

        qputenv("QN_SIM_BOARDS", QFile::encodeName(other.filePath(QStringLiteral("boards.json"))));
        QNSimReload();
        QCOMPARE(boardCount(), 1u);
        QCOMPARE(QNIsCL(handle), 0);
        qunsetenv("QN_SIM_BOARDS");
        QNSimReload();
        QCOMPARE(boardCount(), 3u);
        QNSimSetConfigDir(QFile::encodeName(other.path()).constData());
        QCOMPARE(boardCount(), 1u);
        QCOMPARE(g_messages, QStringList());
    }

    void badDescriptions_data()
    {
        OrvexTest::addFolderRows(QStringLiteral("tests/platform/data/simboards/bad"));
    }

    // A faulty description gives no boards and one debug line naming the file and the fault.
    void badDescriptions()
    {
        QFETCH(QString, folder);
        const QString path = QDir(folder).filePath(QStringLiteral("boards.json"));
        const QString fault =
            QString::fromUtf8(OrvexTest::fileBytes(QDir(folder).filePath("fault.txt"))).trimmed();
        qputenv("QN_SIM_BOARDS", QFile::encodeName(path));

        MessageRecorder recorder;
        QCOMPARE(boardCount(), 0u);
        QCOMPARE(boardCount(), 0u);
        QCOMPARE(g_messages.size(), 1);
        QVERIFY2(g_messages.front().contains(QDir::toNativeSeparators(path)), qPrintable(g_messages.front()));
        QVERIFY2(g_messages.front().contains(fault), qPrintable(g_messages.front()));
    }

    // The shipped description loads without a word, the older board generation among its boards.
    void shippedMachine()
    {
        MessageRecorder recorder;
        QNSimSetConfigDir(QFile::encodeName(OrvexTest::sourcePath(QStringLiteral("config"))).constData());
        QCOMPARE(g_messages, QStringList());
        bool olderGeneration = false;
        for (unsigned index = 0; index < boardCount(); ++index)
            olderGeneration = olderGeneration || !QNIsMk2(openBoard(index));
        QVERIFY(olderGeneration);
        char buffer[QNCamListBufferSize];
        QCOMPARE(QNRegistryBoardGetMultiString(openBoard(1), "QNCamList", buffer, sizeof buffer), 0);
        QCOMPARE(QByteArray(buffer), QByteArray("Example_CXP.lumex"));
    }

    // Counters are shared by every handle on a board, and counting is safe from several threads.
    void interruptCounters()
    {
        QVERIFY(loadMachine(machine()));
        const HwBrdHandle acquisition = openBoard(1);
        const HwBrdHandle viewer = openBoard(1);
        QCOMPARE(QNSimRaiseInterrupt(acquisition, QNInterruptEndOfFrame, 1000), 0);
        QCOMPARE(QNSimRaiseInterrupt(acquisition, QNInterruptEndOfFrame, 1040), 0);
        for (QNInterruptKind kind : {QNInterruptFrameDropped, QNInterruptTrigger, QNInterruptError})
            QCOMPARE(QNSimRaiseInterrupt(acquisition, kind), 0);
        QVERIFY(QNSimRaiseInterrupt(acquisition, static_cast<QNInterruptKind>(9)) != 0);

        QNInterruptCounters counters;
        QCOMPARE(QNInterruptGetCounters(viewer, &counters), 0);
        QCOMPARE(QList<qint64>({qint64(counters.m_frames), counters.m_lastFrameTimeUs,
                                counters.m_previousFrameTimeUs, qint64(counters.m_framesDropped),
                                qint64(counters.m_triggers), qint64(counters.m_errors)}),
                 QList<qint64>({2, 1040, 1000, 1, 1, 1}));
        QCOMPARE(QNInterruptGetCounters(openBoard(0), &counters), 0);
        QCOMPARE(counters.m_frames, 0u);

        QCOMPARE(QNInterruptClearCounters(viewer), 0);
        auto raise = [acquisition] {
            for (int i = 0; i < 5000; ++i)
                QNSimRaiseInterrupt(acquisition, QNInterruptEndOfFrame);
        };
        std::thread worker(raise);
        raise();
        worker.join();
        QCOMPARE(QNInterruptGetCounters(viewer, &counters), 0);
        QCOMPARE(counters.m_frames, 10000u);
        QVERIFY(counters.m_lastFrameTimeUs >= counters.m_previousFrameTimeUs &&
                counters.m_previousFrameTimeUs > 0);
        HwBrdClose(viewer);
        QVERIFY(QNInterruptGetCounters(viewer, &counters) != 0);
    }

    void exceptions()
    {
        QNExceptionBase::throwOnFailure(QNStatusOk, "HwBrdOpen");
        try {
            QNExceptionBase::throwOnFailure(QNStatusBadHandle, "HwBrdClose");
            QFAIL("a failed call did not throw");
        } catch (const QNExceptionBase& a_error) {
            QCOMPARE(a_error.code(), int(QNStatusBadHandle));
            QVERIFY(QByteArray(a_error.what()).startsWith("HwBrdClose failed: "));
        }
        QTest::ignoreMessage(QtDebugMsg, "Caught an unknown exception.");
        QNDebugString("Caught an unknown exception.\n");
    }
};

QTEST_GUILESS_MAIN(TestSimDriver)
#include "tst_simdriver.moc"
