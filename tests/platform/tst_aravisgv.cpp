#include "BoardFixtures.h"
#include "board/PreviewAcqIf.h"
#include "board/QNBrdDataSource.h"
#include "board/ViewportWindowQt.h"
#include "platform/QNDriver.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLockFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Orvex;
using State = Viewport::ImperativeAcquisitionInterface::State;

// A GigE Vision camera on this machine: Aravis's simulated camera, run as a process of its own on the
// loopback address, found and reached over the network as any GigE Vision camera is.

namespace {

// Two of these cameras on one machine share the loopback's GigE Vision port: each run then talks to
// either, and one's ending pulls the other's camera away (Aravis has been seen reading out of bounds on
// the mixed replies). Runs from several checkouts therefore take turns, and a camera left behind by a
// run that died is ended by the next one.
QString sharedPath(const char* a_suffix)
{
    return QDir::temp().filePath(QStringLiteral("orvex-fake-gv-camera.") + QLatin1String(a_suffix));
}

void endLeftCamera()
{
    QFile pidFile(sharedPath("pid"));
    if (!pidFile.open(QIODevice::ReadOnly))
        return;
    const qint64 pid = pidFile.readAll().trimmed().toLongLong();
    QFile command(QStringLiteral("/proc/%1/cmdline").arg(pid));
    if (pid > 0 && command.open(QIODevice::ReadOnly) && command.readAll().contains("arv-fake-gv-camera"))
        ::kill(static_cast<pid_t>(pid), SIGKILL);
}

} // namespace
class TestAravisGigE : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QLockFile m_turn{sharedPath("lock")};
    QProcess m_camera;
    unsigned m_board = 0;
    HwBrdHandle m_handle = HwNoBoard;

private slots:
    void initTestCase()
    {
        const QString program = QStandardPaths::findExecutable(QStringLiteral("arv-fake-gv-camera-0.8"));
        if (program.isEmpty())
            QSKIP("arv-fake-gv-camera-0.8 is not installed (Debian package aravis-tools)");
        QVERIFY(OrvexTest::loadSimBoards(m_dir.filePath("boards.json"), R"({"boards": []})"));
        // Stale only once its holder is gone, however long another run takes.
        m_turn.setStaleLockTime(0);
        QVERIFY(m_turn.lock());
        endLeftCamera();
        m_camera.start(program, {QStringLiteral("-i"), QStringLiteral("127.0.0.1")});
        QVERIFY(m_camera.waitForStarted(5000));
        QFile pidFile(sharedPath("pid"));
        QVERIFY(pidFile.open(QIODevice::WriteOnly | QIODevice::Truncate));
        pidFile.write(QByteArray::number(m_camera.processId()));
        // The camera answers searches once its sockets are bound; each search of the link takes a second.
        HwBrdEntry entry;
        for (int attempt = 0; attempt < 5 && m_handle == HwNoBoard; ++attempt) {
            QNCamSetInterfaces("none");
            QNCamSetInterfaces("GigEVision");
            if (HwSysBrdFind(HwSelectorFrameGrabber, 0, &entry) == QNStatusOk)
                QCOMPARE(HwBrdOpen(&entry, &m_handle, HwOpenDataSource), int(QNStatusOk));
        }
        QVERIFY(m_handle != HwNoBoard);
        QVERIFY(QNIsCamera(m_handle));
        QVERIFY(OrvexTest::writeFile(m_dir.filePath("gv.lumex"), R"(<quarnel_config><camera><modes>
  <mode name="Full"><Sensor><Width>512</Width><Height>512</Height><PixelFormat>Mono8</PixelFormat></Sensor>
    <Timing><FrameRate>100</FrameRate></Timing><Trigger><TriggerMode>Off</TriggerMode></Trigger></mode>
  <mode name="Triggered"><Sensor><Width>64</Width><Height>64</Height></Sensor>
    <Trigger><TriggerMode>On</TriggerMode><TriggerSource>Software</TriggerSource></Trigger></mode>
</modes></camera></quarnel_config>)"));
    }

    void cleanupTestCase()
    {
        HwBrdClose(m_handle);
        if (m_camera.state() != QProcess::NotRunning) {
            ::kill(static_cast<pid_t>(m_camera.processId()), SIGTERM);
            if (!m_camera.waitForFinished(3000))
                m_camera.kill();
            m_camera.waitForFinished(3000);
        }
        QFile::remove(sharedPath("pid"));
    }

    void registers()
    {
        char model[QNStringBufferSize];
        char serial[QNStringBufferSize];
        QCOMPARE(QNGetBoardStrings(m_handle, model, serial, nullptr, nullptr), int(QNStatusOk));
        QCOMPARE(QString("%1 (%2)").arg(model, serial), QStringLiteral("Aravis Fake (GV01)"));
        std::uint32_t value = 0;
        QCOMPARE(QNCXPWriteReg(m_handle, 0x1F0, 0xA5A5F00Du), int(QNStatusOk));
        QCOMPARE(QNCXPReadReg(m_handle, 0x1F0, &value), int(QNStatusOk));
        QCOMPARE(value, 0xA5A5F00Du);
        QCOMPARE(QNCXPReadReg(m_handle, 0x104, &value), int(QNStatusOk));
        QCOMPARE(value, 512u);
    }

    void preview()
    {
        PreviewAcqIf acquisition(m_board, m_dir.filePath("gv.lumex"), QStringLiteral("Full"));
        QVERIFY(acquisition.setupMode(QStringLiteral("Full")));
        QVERIFY(acquisition.startFixed(10));
        QTRY_COMPARE_WITH_TIMEOUT(acquisition.acquisitionState(), State::Stopped, 20000);
        QCOMPARE(acquisition.framesDelivered(), quint64(10));

        QVERIFY(acquisition.start());
        QTRY_VERIFY_WITH_TIMEOUT(acquisition.framesDelivered() > 0, 10000);
        QVERIFY(acquisition.pause());
        QCOMPARE(acquisition.acquisitionState(), State::Paused);
    }

    // A board list does not wait for the link's search; the camera joins it once the search ends.
    void listedInBackground()
    {
        QNCamSetInterfaces("none");
        QNCamSetInterfaces("GigEVision");
        QNBrdDataSource source(BoardTypes(BoardType::Camera));
        QCOMPARE(source.count(), 1);
        QTRY_COMPARE_WITH_TIMEOUT(source.itemText(1), QStringLiteral("Cam (0) - Aravis Fake (GV01)"), 10000);
        QVERIFY(source.isBoardOpen());
    }

    // The camera holds a single software trigger until it sends the frame, so each trigger waits for the
    // frame of the one before; a camera running freely would deliver more than were asked for.
    void triggered()
    {
        PreviewAcqIf acquisition(m_board, m_dir.filePath("gv.lumex"), QStringLiteral("Triggered"));
        QVERIFY(acquisition.setupMode(QStringLiteral("Triggered")));
        QVERIFY(acquisition.start());
        for (quint64 frames = 1; frames <= 4; ++frames) {
            QVERIFY(acquisition.trigger());
            QTRY_COMPARE_WITH_TIMEOUT(acquisition.framesDelivered(), frames, 10000);
        }
        QVERIFY(acquisition.stop());
        QCOMPARE(acquisition.framesDelivered(), quint64(4));
    }

    // Ends the camera for good: the last case.
    void cameraLost()
    {
        PreviewAcqIf acquisition(m_board, m_dir.filePath("gv.lumex"), QStringLiteral("Full"));
        QVERIFY(acquisition.setupMode(QStringLiteral("Full")));
        Viewport::WindowQt window(&acquisition);
        QVERIFY(acquisition.start());
        QTRY_VERIFY_WITH_TIMEOUT(acquisition.framesDelivered() > 0, 10000);
        m_camera.kill();
        QVERIFY(m_camera.waitForFinished(5000));
        QTRY_COMPARE_WITH_TIMEOUT(acquisition.acquisitionState(), State::Stopped, 30000);
        QTRY_COMPARE(window.findChild<QLabel*>("statusLabel")->text(),
                     QStringLiteral("The run ended: the camera stopped answering."));
    }
};

QTEST_MAIN(TestAravisGigE)
#include "tst_aravisgv.moc"
