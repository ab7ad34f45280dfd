#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "TestSupport.h"
#include "board/PreviewAcqIf.h"
#include "board/ViewportFrameConverter.h"
#include "board/ViewportImageView.h"
#include "board/ViewportWindowQt.h"
#include "platform/QNDriver.h"
#include "platform/QNExceptionBase.h"
#include "platform/SimFrameGenerator.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMetaEnum>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <memory>
#include <thread>

using namespace Orvex;
using Viewport::PixelLayout;
using State = Viewport::ImperativeAcquisitionInterface::State;

namespace {

constexpr unsigned g_board = 0;

PixelLayout layoutNamed(const QByteArray& a_name)
{
    return PixelLayout(QMetaEnum::fromType<PixelLayout>().keyToValue(a_name.constData()));
}

QStringList takeEvents()
{
    QStringList events;
    for (const std::string& event : QNSim::SimFrameGenerator::takeEvents(g_board))
        events << QString::fromStdString(event);
    return events;
}

// The frames the board itself counted, read through a handle of the test's own.
std::uint64_t boardFrames()
{
    HwBrdEntry entry;
    HwBrdHandle handle = HwNoBoard;
    QNInterruptCounters counters{};
    if (HwSysBrdFind(HwSelectorFrameGrabber, g_board, &entry) == 0 &&
        HwBrdOpen(&entry, &handle, HwOpenDataSource) == 0)
        QNInterruptGetCounters(handle, &counters);
    HwBrdClose(handle);
    return counters.m_frames;
}

} // namespace

class TestPreview : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_cameraPath;

    static bool perform(PreviewAcqIf& a_acquisition, const QString& a_action)
    {
        if (a_action == "start")
            return a_acquisition.start();
        if (a_action == "fixed")
            return a_acquisition.startFixed(100000);
        return a_action == "pause" ? a_acquisition.pause() : a_acquisition.stop();
    }

    std::unique_ptr<PreviewAcqIf> setUp(const QString& a_mode, unsigned a_buffers = 4)
    {
        auto acquisition = std::make_unique<PreviewAcqIf>(g_board, m_cameraPath, a_mode, a_buffers);
        QSignalSpy changes(acquisition.get(), &PreviewAcqIf::acquisitionStateChanged);
        if (!acquisition->setupMode(a_mode) || !changes.wait())
            return nullptr;
        takeEvents();
        return acquisition;
    }

private slots:
    void initTestCase()
    {
        OrvexTest::isolateSettings(QStringLiteral("OrvexPreviewTest"));
        QVERIFY(OrvexTest::loadSimBoards(m_dir.filePath("boards.json"), R"({"boards": [
            {"kind": "CoaXPress", "mk2": true, "model": "Sim CXP"}, {"kind": "CameraLink", "mk2": true}]})"));
        m_cameraPath = OrvexTest::sourcePath("tests/board/data/preview.lumex");
    }

    void init() { takeEvents(); }

    void fixedRunStopsByItself_data()
    {
        OrvexTest::addTableRows("tests/board/data/preview-fixed-runs.txt", {"frames", "buffers"});
    }

    void fixedRunStopsByItself()
    {
        const unsigned frames = OrvexTest::field("frames").toUInt();
        const auto acquisition = setUp("Small", OrvexTest::field("buffers").toUInt());
        QVERIFY(acquisition);
        const std::uint64_t before = boardFrames();
        QSignalSpy changes(acquisition.get(), &PreviewAcqIf::acquisitionStateChanged);

        QVERIFY(acquisition->startFixed(frames));
        QCOMPARE(acquisition->acquisitionState(), State::Running);
        QTRY_COMPARE(acquisition->acquisitionState(), State::Stopped);
        QCOMPARE(acquisition->framesDelivered(), quint64(frames));
        QTRY_COMPARE(changes.count(), 2);
        QCOMPARE(takeEvents(), QStringList({QString("control 3/256 %1").arg(frames), "control 4/256"}));
        QTRY_COMPARE(boardFrames() - before, std::uint64_t(frames));
        QCOMPARE(acquisition->framesDelivered(), quint64(frames));
    }

    void waitResults_data()
    {
        OrvexTest::addTableRows("tests/board/data/preview-wait-results.txt",
                                {"code", "keepsRunning", "message"});
    }

    void waitResults()
    {
        const bool keepsRunning = OrvexTest::field("keepsRunning") == "1";
        const auto acquisition = setUp("Small");
        QVERIFY(acquisition);
        QVERIFY(acquisition->start());
        QTRY_VERIFY(acquisition->framesDelivered() >= 2);
        QSignalSpy changes(acquisition.get(), &PreviewAcqIf::acquisitionStateChanged);

        const quint64 before = acquisition->framesDelivered();
        takeEvents();
        QVERIFY(
            QNSim::SimFrameGenerator::injectWaitResult(g_board, OrvexTest::field("code").toInt(nullptr, 0)));
        if (keepsRunning) {
            QTRY_VERIFY(acquisition->framesDelivered() >= before + 3);
            QCOMPARE(acquisition->acquisitionState(), State::Running);
            QCOMPARE(changes.count(), 0);
            QCOMPARE(takeEvents(), QStringList());
        } else {
            // The board is stopped too, not left filling buffers behind a preview shown stopped.
            QTRY_COMPARE(acquisition->acquisitionState(), State::Stopped);
            QTRY_COMPARE(changes.count(), 1);
            QCOMPARE(takeEvents(), QStringList{"control 4/256"});
        }
        QCOMPARE(acquisition->interruption(), QString(OrvexTest::field("message")));
        // The next run starts with nothing to report.
        QVERIFY(acquisition->start());
        QCOMPARE(acquisition->interruption(), QString());
    }

    void runs_data()
    {
        OrvexTest::addTableRows("tests/board/data/preview-runs.txt",
                                {"mode", "operations", "end", "state", "commands"});
    }

    // Cleanup and destruction abort a run before releasing the buffers; destruction joins the worker.
    void runs()
    {
        QFETCH(QByteArray, mode);
        QFETCH(QByteArray, end);
        QFETCH(QByteArray, state);
        const QStringList actions = QString(OrvexTest::field("operations")).split(' ', Qt::SkipEmptyParts);
        const QStringList expected = QString(OrvexTest::field("commands")).split(',');
        auto acquisition = setUp(QString(mode));
        QVERIFY(acquisition);
        QSignalSpy changes(acquisition.get(), &PreviewAcqIf::acquisitionStateChanged);
        for (const QString& action : actions)
            QVERIFY(perform(*acquisition, action));
        const QHash<QByteArray, State> states{
            {"Running", State::Running}, {"Paused", State::Paused}, {"Stopped", State::Stopped}};
        QCOMPARE(acquisition->acquisitionState(), states.value(state));
        if (end == "none") {
            QCOMPARE(takeEvents().constLast(), expected.constLast());
            QTRY_COMPARE(changes.count(), actions.size());
            if (state == "Running")
                QTRY_VERIFY(acquisition->frameRate() > 0.0);
            else
                QCOMPARE(acquisition->frameRate(), 0.0);
            return;
        }
        QTRY_VERIFY(mode == "Triggered" || actions != QStringList{"start"} ||
                    acquisition->framesDelivered() > 0);
        takeEvents();
        if (end == "destroy") {
            acquisition.reset();
            QCOMPARE(takeEvents(), expected);
            return;
        }
        QVERIFY(acquisition->cleanup());
        QCOMPARE(takeEvents(), expected);
        QCOMPARE(acquisition->acquisitionState(), State::NotSetUp);
        QVERIFY(!acquisition->getFrameLock());
        QVERIFY(acquisition->canSetup());
        QVERIFY(acquisition->setupMode(QString()));
        QCOMPARE(acquisition->acquisitionState(), State::Stopped);
    }

    // The worker replaces the frame while viewers read it from other threads.
    void frameLockUnderConcurrentFrames()
    {
        const auto acquisition = setUp("Small", 2);
        QVERIFY(acquisition);
        QVERIFY(acquisition->start());
        std::atomic<bool> done{false};
        std::atomic<int> torn{0};
        const auto read = [&] {
            quint64 serial = 0;
            while (!done) {
                Viewport::Frame frame;
                if (const auto lock = acquisition->getFrameLock())
                    frame = acquisition->nextFrame();
                if (!frame.isNull() &&
                    (frame.m_serial < serial || frame.m_width != 64 || frame.m_height != 48 ||
                     frame.m_data.size() != frame.m_stride * 47 + 64))
                    ++torn;
                serial = std::max(serial, frame.m_serial);
                std::this_thread::yield();
            }
        };
        std::thread first(read);
        std::thread second(read);
        const quint64 target = acquisition->framesDelivered() + 60;
        QTRY_VERIFY_WITH_TIMEOUT(acquisition->framesDelivered() >= target, 20000);
        done = true;
        first.join();
        second.join();
        QCOMPARE(torn.load(), 0);
        QVERIFY(acquisition->stop());
    }

    void softwareTrigger_data()
    {
        OrvexTest::addTableRows("tests/board/data/preview-triggers.txt", {"triggers"});
    }

    // A triggered mode waits for its triggers: one frame each, and none more once they are used up.
    void softwareTrigger()
    {
        const auto acquisition = setUp("Triggered");
        QVERIFY(acquisition);
        QVERIFY(acquisition->start());
        QCOMPARE(acquisition->framesDelivered(), quint64(0));
        const int triggers = OrvexTest::field("triggers").toInt();
        QStringList sent;
        for (int i = 0; i < triggers; ++i) {
            QVERIFY(acquisition->trigger());
            sent << "trigger 40";
        }
        QTRY_COMPARE(acquisition->framesDelivered(), quint64(triggers));
        QVERIFY(acquisition->stop());
        QCOMPARE(acquisition->framesDelivered(), quint64(triggers));
        QCOMPARE(takeEvents().mid(1, triggers), sent);
    }

    void pixelLayout_data()
    {
        OrvexTest::addTableRows("tests/board/data/preview-layouts.txt",
                                {"mode", "layout", "width", "height"});
    }

    void pixelLayout()
    {
        QFETCH(QByteArray, layout);
        const auto acquisition = setUp(QString(OrvexTest::field("mode")));
        QVERIFY(acquisition);
        QCOMPARE(acquisition->pixelLayout(), layoutNamed(layout));
        QVERIFY(acquisition->startFixed(1));
        QTRY_COMPARE(acquisition->framesDelivered(), quint64(1));
        const auto lock = acquisition->getFrameLock();
        QVERIFY(lock);
        const Viewport::Frame frame = acquisition->nextFrame();
        QCOMPARE(QSize(frame.m_width, frame.m_height),
                 QSize(OrvexTest::field("width").toInt(), OrvexTest::field("height").toInt()));
        QCOMPARE(frame.m_layout, layoutNamed(layout));
        QCOMPARE(frame.m_stride % 4, 0);
    }

    void setupModesFromFile()
    {
        PreviewAcqIf acquisition(g_board, m_cameraPath, "Colour");
        QVERIFY(!acquisition.canSetupMode());
        QSignalSpy features(&acquisition, &PreviewAcqIf::featureSetChanged);
        QVERIFY(acquisition.setupMode(QString()));
        QTRY_COMPARE(features.count(), 1);
        QStringList names;
        for (int i = 0; i < acquisition.setupModeCount(); ++i)
            names << acquisition.setupModeName(i);
        QCOMPARE(names,
                 QStringList({"Small", "Colour", "Filtered", "Wide", "Deep", "Rgb", "Plain", "Triggered"}));
        QCOMPARE(acquisition.setupModeDescription(0), QString("64x48 Mono8, 250 fps - Grey test mode."));
        QCOMPARE(acquisition.setupModeDescription(7), QString("64x48 Mono8, software trigger"));
        QCOMPARE(acquisition.currentSetupMode(), QString("Colour"));
        QCOMPARE(acquisition.pixelLayout(), PixelLayout::BayerRG8);
        QVERIFY(acquisition.canSetupMode() && !acquisition.canSetup() && acquisition.cleanup());
        QVERIFY(acquisition.setupMode("Deep"));
        QCOMPARE(acquisition.pixelLayout(), PixelLayout::Mono16);
    }

    void setupFailures_data()
    {
        OrvexTest::addTableRows("tests/board/data/preview-failures.txt",
                                {"board", "file", "mode", "message"});
    }

    void setupFailures()
    {
        QFETCH(QByteArray, board);
        QFETCH(QByteArray, file);
        QFETCH(QByteArray, mode);
        QFETCH(QByteArray, message);
        const QRegularExpression line("^QNExceptionBase thrown from Orvex::PreviewAcqIf::setupMode in "
                                      "PreviewAcqIf_Win\\[\\d+\\]: Caught QNException -> .*" +
                                      QRegularExpression::escape(QString(message)));
        QTest::ignoreMessage(QtDebugMsg, line);
        const QString path = file == "cam.lumex" ? m_cameraPath : m_dir.filePath(QString(file));
        PreviewAcqIf acquisition(board.toUInt(), path, QString(mode));
        QVERIFY(!acquisition.setupMode(QString()));
        QVERIFY(!acquisition.isSetup());
        QTest::ignoreMessage(QtDebugMsg,
                             QRegularExpression("^QNExceptionBase thrown from Orvex::PreviewAcqIf::start "
                                                "in PreviewAcqIf_Win\\[\\d+\\]: Caught QNException -> "));
        QVERIFY(!acquisition.start());
        QCOMPARE(acquisition.framesQueued(), quint64(0));

        QTest::ignoreMessage(QtDebugMsg, line);
        try {
            delete PreviewAcqIf::openPreview(board.toUInt(), path, QString(mode));
            QFAIL("the preview opened");
        } catch (const QNExceptionBase& a_error) {
            QVERIFY2(QString(a_error.what()).contains(QString(message)) &&
                         !QString(a_error.what()).startsWith("Caught"),
                     a_error.what());
        }
    }

    void bayerDemosaic_data()
    {
        OrvexTest::addTableRows("tests/board/data/bayer.txt", {"layout", "mosaic", "scale"});
    }

    void bayerDemosaic()
    {
        QFETCH(QByteArray, scale);
        const int bytes = scale == "1" ? 1 : 2;
        Viewport::Frame frame{
            QByteArray(12 * 4, '\x7f'), 5, 4, layoutNamed(OrvexTest::field("layout")), 12, 1};
        const QHash<char, int> level{{'R', 200}, {'G', 100}, {'B', 50}};
        for (int y = 0; y < frame.m_height; ++y) {
            for (int x = 0; x < frame.m_width; ++x) {
                const int value = level[OrvexTest::field("mosaic")[(y % 2) * 2 + x % 2]] * scale.toInt();
                uchar* sample =
                    reinterpret_cast<uchar*>(frame.m_data.data()) + y * frame.m_stride + x * bytes;
                sample[0] = uchar(value & 0xFF);
                if (bytes == 2)
                    sample[1] = uchar(value >> 8);
            }
        }
        const QImage image = Viewport::FrameConverter::toImage(frame);
        QImage expected(5, 4, image.format());
        expected.fill(qRgb(200, 100, 50));
        QCOMPARE(image, expected);
        frame.m_stride = frame.m_width * bytes - 1;
        QVERIFY(Viewport::FrameConverter::toImage(frame).isNull());
    }

    void windowShowsFrames()
    {
        QSettings().remove(Viewport::WindowQt::geometrySettingsKey());
        const auto acquisition = setUp("Colour");
        QVERIFY(acquisition);
        Viewport::WindowQt window(acquisition.get());
        window.restoreSavedGeometry();
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto* const combo = window.findChild<QComboBox*>("setupModeCombo");
        auto* const pause = window.findChild<QPushButton*>("pauseButton");
        QCOMPARE(combo->currentText(), QString("Colour"));
        QVERIFY(!combo->isEnabled() && !pause->isEnabled());

        window.findChild<QPushButton*>("startButton")->click();
        QTRY_VERIFY(pause->isEnabled());
        QTRY_VERIFY(!window.displayedImage().isNull());
        // The Bayer frames reach the screen demosaicked: many colours, not grey.
        const QImage shown = window.findChild<Viewport::ImageView*>("imageView")->grab().toImage();
        QSet<QRgb> tinted;
        for (int y = 0; y < shown.height(); y += 3) {
            for (int x = 0; x < shown.width(); x += 3) {
                if (qRed(shown.pixel(x, y)) != qBlue(shown.pixel(x, y)))
                    tinted.insert(shown.pixel(x, y));
            }
        }
        QVERIFY2(tinted.size() > 20, qPrintable(QString::number(tinted.size())));

        // Frames the board failed on are counted beside the delivered ones.
        HwBrdHandle handle = HwNoBoard;
        HwBrdEntry entry;
        QCOMPARE(HwSysBrdFind(HwSelectorFrameGrabber, g_board, &entry), 0);
        QCOMPARE(HwBrdOpen(&entry, &handle, HwOpenDataSource), 0);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(QNSimRaiseInterrupt(handle, QNInterruptError, -1), 0);
        HwBrdClose(handle);
        QTRY_COMPARE(window.findChild<QLabel*>("failedLabel")->text(), QStringLiteral("Failed: 3"));

        window.findChild<QPushButton*>("cleanupButton")->click();
        QTRY_VERIFY(window.displayedImage().isNull());
        QTRY_VERIFY(combo->isEnabled());
        combo->setCurrentText("Small");
        window.findChild<QPushButton*>("setupButton")->click();
        QCOMPARE(acquisition->currentSetupMode(), QString("Small"));
        QTRY_VERIFY(window.findChild<QPushButton*>("startButton")->isEnabled());

        window.resize(520, 410);
        const QRect geometry = window.geometry();
        window.close();
        QVERIFY(QSettings().contains(Viewport::WindowQt::geometrySettingsKey()));
        Viewport::WindowQt reopened(nullptr);
        reopened.restoreSavedGeometry();
        QCOMPARE(reopened.size(), geometry.size());
    }
};

QTEST_MAIN(TestPreview)
#include "tst_preview.moc"
