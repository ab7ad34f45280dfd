#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "TestSupport.h"
#include "platform/BufferAcquisitionStreamer.h"
#include "platform/QNExceptionBase.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <future>
#include <set>

namespace BA = BufferAcquisition;
using Bytes = std::vector<std::uint8_t>;

namespace {

// The overflow policies and commands as the tables name them.
const QHash<QByteArray, unsigned> g_names{
    {"oldest", BA::OverflowDropOldest}, {"newest", BA::OverflowDropNewest}, {"pause", BA::CommandPause},
    {"stop", BA::CommandStop},          {"abort", BA::CommandAbort},        {"", 0}};

// Patience: for a frame that must come (only a broken wake-up runs into it). Quiet: the free-running
// camera sends many frames in this time, so a wait this long that times out shows none was coming.
constexpr int Patience = 10000;
constexpr int Quiet = 100;

} // namespace

class TestStreamer : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::string m_cameraPath;
    // The first frames of a run, each from a buffer of its own.
    std::vector<Bytes> m_frames;

    // Takes (and frees) a_count frames, then shows with a quiet wait that no more come; each entry is a
    // wait's result or the frame's position in m_frames ("?" for none).
    QString drain(BA::Streamer& a_streamer, int a_count)
    {
        QStringList results;
        for (int wait = 0; wait <= a_count; ++wait) {
            BA::BufferRecord record;
            const int result = a_streamer.waitForFrame(&record, wait < a_count ? Patience : Quiet);
            const auto at = std::find(m_frames.begin(), m_frames.end(),
                                      Bytes(record.m_address, record.m_address + record.m_size));
            results << (result == BA::ResultTimeout   ? QStringLiteral("timeout")
                        : result == BA::ResultAborted ? QStringLiteral("aborted")
                        : result != BA::ResultOk      ? QString::number(result, 16)
                        : at == m_frames.end()        ? QStringLiteral("?")
                                                      : QString::number(at - m_frames.begin()));
            a_streamer.freeBuffer(record);
        }
        return results.join(' ');
    }

    void setUp(BA::Streamer& a_streamer, const char* a_mode, unsigned a_buffers, unsigned a_overflow)
    {
        a_streamer.open(0, m_cameraPath);
        a_streamer.setCameraMode(a_mode);
        a_streamer.setupBuffers(a_buffers, a_overflow, BA::LineAlignment4);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(OrvexTest::loadSimBoards(m_dir.filePath("boards.json"),
                                         R"({"boards": [{"kind": "CoaXPress"}]})"));
        // Small frames at the highest rate the camera allows, so that runs end quickly; "Triggered" sends
        // three frames per software trigger.
        m_cameraPath =
            QFile::encodeName(OrvexTest::sourcePath("tests/platform/data/streamer/cam.lumex")).toStdString();

        BA::Streamer streamer;
        setUp(streamer, "Free", 10, BA::OverflowDropNewest);
        streamer.control(BA::CommandStartFrames, BA::WaitForCompletion, 10);
        for (BA::BufferRecord record;
             m_frames.size() < 10 && streamer.waitForFrame(&record, Patience) == BA::ResultOk;)
            m_frames.emplace_back(record.m_address, record.m_address + record.m_size);
        QCOMPARE(int(m_frames.size()), 10);
        // Positions in the run can only be told apart when every frame differs (the pattern moves).
        QCOMPARE(int(std::set<Bytes>(m_frames.begin(), m_frames.end()).size()), 10);
    }

    void runs_data()
    {
        OrvexTest::addTableRows("tests/platform/data/streamer/runs.txt",
                                {"overflow", "buffers", "frames", "command", "missed", "expected"});
    }

    // A run of N frames delivers N frames in order (with drop-oldest, the newest of them) and then stops;
    // a command halts a running camera. Either way the next start brings frames again.
    void runs()
    {
        const int frames = OrvexTest::field("frames").toInt();
        const unsigned command = g_names.value(OrvexTest::field("command"));
        const int missed = OrvexTest::field("missed").toInt();
        const QString expected = OrvexTest::field("expected");
        BA::Streamer streamer;
        setUp(streamer, "Free", OrvexTest::field("buffers").toUInt(),
              g_names.value(OrvexTest::field("overflow")));
        streamer.control(frames ? BA::CommandStartFrames : BA::CommandStart, BA::WaitForCompletion,
                         std::uint64_t(frames));
        // The count is complete once the last frame is on its way, and the frames not dropped are then kept.
        if (missed >= 0)
            QTRY_VERIFY(int(streamer.missedFrames()) >= missed);
        if (command)
            streamer.control(command, BA::WaitForFrameEnd);
        QCOMPARE(drain(streamer, expected.count(' ')), expected);
        QVERIFY(frames == 0 || missed < 0 || int(streamer.missedFrames()) == missed);
        streamer.control(BA::CommandStart, BA::WaitForCompletion);
        QCOMPARE(streamer.waitForFrame(nullptr, Patience), BA::ResultOk);
    }

    void waitEnded_data()
    {
        OrvexTest::addTableRows("tests/platform/data/streamer/wait-ended.txt", {"waiting", "release"});
    }

    // A consumer waiting without limit on an idle camera gets its wait ended, not a frame.
    void waitEnded()
    {
        const bool waiting = OrvexTest::field("waiting") == "1";
        const bool release = OrvexTest::field("release") == "1";
        BA::Streamer streamer;
        setUp(streamer, "Free", 2, BA::OverflowDropOldest);
        const auto call = [&] {
            release ? streamer.releaseBuffers() : streamer.control(BA::CommandAbort, BA::WaitForCompletion);
        };
        if (!waiting)
            call();
        auto consumer =
            std::async(std::launch::async, [&] { return streamer.waitForFrame(nullptr, Patience); });
        if (waiting) {
            // Lets the consumer reach its wait, so that the wake-up is what ends it (were it late, the
            // pending abort would still end it).
            QTest::qWait(50);
            call();
        }
        QCOMPARE(consumer.get(), BA::ResultAborted);
        QCOMPARE(streamer.waitForFrame(nullptr, 0), release ? BA::ResultAborted : BA::ResultTimeout);
    }

    // Nothing comes without a trigger; each trigger brings its frames and no more.
    void softwareTrigger()
    {
        BA::Streamer streamer;
        setUp(streamer, "Triggered", 8, BA::OverflowDropNewest);
        streamer.control(BA::CommandStart, BA::WaitForCompletion);
        QCOMPARE(drain(streamer, 0), "timeout");
        streamer.softwareTrigger(BA::SoftwareTriggerInput);
        QCOMPARE(drain(streamer, 3), "0 1 2 timeout");
        streamer.softwareTrigger(BA::SoftwareTriggerInput);
        streamer.softwareTrigger(BA::SoftwareTriggerInput);
        QCOMPARE(drain(streamer, 6), "3 4 5 6 7 8 timeout");
        try {
            streamer.softwareTrigger(BA::SoftwareTriggerInput + 1);
            QFAIL("an unknown trigger input was accepted");
        } catch (const QNExceptionBase& a_error) {
            QCOMPARE(a_error.what(), "Streamer::softwareTrigger failed: no trigger input 41 (0x20003)");
        }
    }
};

QTEST_GUILESS_MAIN(TestStreamer)
#include "tst_streamer.moc"
