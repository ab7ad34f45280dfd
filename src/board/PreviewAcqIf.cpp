#include "board/PreviewAcqIf.h"

#include "board/ViewportWindowQt.h"
#include "model/ExceptionBase.h"
#include "platform/BufferAcquisitionDevice.h"
#include "platform/BufferAcquisitionStreamer.h"
#include "platform/QNDriver.h"
#include "platform/QNExceptionBase.h"

#include <QFile>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <system_error>

namespace Orvex {

namespace {

namespace BA = BufferAcquisition;
using Viewport::PixelLayout;
using Viewport::ScopedFrameLock;

// Log lines name the acquisition's source as the Windows build does, so that logs from either platform
// read alike.
constexpr const char* LogSourceName = "PreviewAcqIf_Win";

// A frame rate is no longer current once no frame came for this long, or for three frame periods.
constexpr std::int64_t StaleFrameUs = 1000000;

std::int64_t nowUs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count() + 1;
}

PixelLayout bayerLayout(const std::string& a_value, bool a_wide, bool* a_found)
{
    static const struct
    {
        const char* m_prefix;
        PixelLayout m_narrow;
        PixelLayout m_wide;
    } patterns[] = {{"BayerRG", PixelLayout::BayerRG8, PixelLayout::BayerRG16},
                    {"BayerGR", PixelLayout::BayerGR8, PixelLayout::BayerGR16},
                    {"BayerGB", PixelLayout::BayerGB8, PixelLayout::BayerGB16},
                    {"BayerBG", PixelLayout::BayerBG8, PixelLayout::BayerBG16}};
    for (const auto& pattern : patterns) {
        if (a_value.compare(0, 7, pattern.m_prefix) == 0) {
            *a_found = true;
            return a_wide ? pattern.m_wide : pattern.m_narrow;
        }
    }
    *a_found = false;
    return PixelLayout::Mono8;
}

// What the user reads when a run ends because the board or camera failed.
QString interruptionText(int a_result)
{
    const char* why =
        a_result == BA::ResultAcquisitionFailed ? "the acquisition failed" : QNStatusText(a_result);
    return QStringLiteral("The run ended: %1.").arg(QString::fromUtf8(why));
}

} // namespace

template <typename Result, typename Body>
Result PreviewAcqIf::guarded(const char* a_function, unsigned a_line, Result a_failure, Body&& a_body)
{
    try {
        return a_body();
    } catch (const QNExceptionBase& a_error) {
        logFailure(a_function, a_line, "QNExceptionBase",
                   std::string("Caught QNException -> ") + a_error.what(),
                   {a_error.what(), a_error.code(), true});
    } catch (...) {
        logFailure(a_function, a_line, "UnknownException", "Caught an unknown exception.\n",
                   {"an unknown exception", 0, false});
    }
    return a_failure;
}

PreviewAcqIf::PreviewAcqIf(unsigned a_boardNumber, const QString& a_cameraFile, const QString& a_modeName,
                           unsigned a_bufferCount, QObject* a_parent)
    : ImperativeAcquisitionInterface(AllOperations, a_parent), m_boardNumber(a_boardNumber),
      m_cameraFile(a_cameraFile), m_bufferCount(a_bufferCount), m_modeName(a_modeName),
      m_streamer(std::make_unique<BA::Streamer>())
{
}

PreviewAcqIf::~PreviewAcqIf()
{
    const char* const function = ORVEX_FUNCTION_SIGNATURE;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        m_workerChanged.notify_all();
    }
    if (m_worker.joinable()) {
        // The abort ends the worker's wait for a frame, or else its next one.
        guarded(function, __LINE__, false, [&] {
            if (m_streamer->isSetUp())
                m_streamer->control(BA::CommandAbort, BA::WaitForCompletion);
            return true;
        });
        m_worker.join();
    }
    m_device.reset();
    guarded(function, __LINE__, false, [&] {
        m_streamer->releaseBuffers();
        m_streamer->close();
        return true;
    });
}

Viewport::WindowQt* PreviewAcqIf::openPreview(unsigned a_boardNumber, const QString& a_cameraFile,
                                              const QString& a_modeName, QWidget* a_parent)
{
    auto acquisition = std::make_unique<PreviewAcqIf>(a_boardNumber, a_cameraFile, a_modeName);
    if (!acquisition->setupMode(a_modeName)) {
        const Failure failure = acquisition->lastFailure();
        if (failure.m_fromBoard)
            throw QNExceptionBase(failure.m_text, failure.m_code);
        throw std::runtime_error(failure.m_text);
    }
    auto* window = new Viewport::WindowQt(acquisition.get(), a_parent);
    window->setAttribute(Qt::WA_DeleteOnClose);
    acquisition.release()->setParent(window);
    window->restoreSavedGeometry();
    return window;
}

PixelLayout PreviewAcqIf::pixelLayout()
{
    const ScopedFrameLock lock(frameLock());
    return m_layout;
}

PreviewAcqIf::Failure PreviewAcqIf::lastFailure() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastFailure;
}

bool PreviewAcqIf::canSetup()
{
    return m_streamer->isOpen() && !m_streamer->isSetUp();
}

bool PreviewAcqIf::canSetupMode()
{
    return m_hasSetupModes && m_streamer->isOpen() && !m_modeName.isEmpty();
}

bool PreviewAcqIf::isSetup()
{
    return m_streamer->isSetUp();
}

bool PreviewAcqIf::setupMode(const QString& a_mode)
{
    const char* const function = ORVEX_FUNCTION_SIGNATURE;
    const bool succeeded = guarded(function, __LINE__, false, [&] {
        const ScopedFrameLock lock(frameLock());
        if (!a_mode.isEmpty())
            m_modeName = a_mode;
        setInterruption(QString());
        return setupSteps(function);
    });
    signalAcquisitionStateChanged();
    return succeeded;
}

QString PreviewAcqIf::currentSetupMode()
{
    return m_modeName;
}

bool PreviewAcqIf::cleanup()
{
    const bool succeeded = guarded(ORVEX_FUNCTION_SIGNATURE, __LINE__, false, [&] {
        const ScopedFrameLock lock(frameLock());
        bool running = false;
        {
            std::lock_guard<std::mutex> workerLock(m_mutex);
            running = m_running;
        }
        if (running)
            m_streamer->control(BA::CommandAbort, BA::WaitForCompletion);
        setRunning(false);
        clearNextFrame();
        if (m_streamer->isSetUp())
            m_streamer->releaseBuffers();
        return true;
    });
    signalAcquisitionStateChanged();
    return succeeded;
}

bool PreviewAcqIf::trigger()
{
    return guarded(ORVEX_FUNCTION_SIGNATURE, __LINE__, false, [&] {
        m_streamer->softwareTrigger(BA::SoftwareTriggerInput);
        return true;
    });
}

bool PreviewAcqIf::start()
{
    return startRun(ORVEX_FUNCTION_SIGNATURE, __LINE__, 0);
}

bool PreviewAcqIf::startFixed(quint64 a_frameCount)
{
    return startRun(ORVEX_FUNCTION_SIGNATURE, __LINE__, a_frameCount);
}

bool PreviewAcqIf::pause()
{
    const bool succeeded = guarded(ORVEX_FUNCTION_SIGNATURE, __LINE__, false, [&] {
        const ScopedFrameLock lock(frameLock());
        m_streamer->control(BA::CommandPause, BA::WaitForFrameEnd);
        std::lock_guard<std::mutex> workerLock(m_mutex);
        m_paused = m_running;
        return true;
    });
    signalAcquisitionStateChanged();
    return succeeded;
}

bool PreviewAcqIf::stop()
{
    const bool succeeded = guarded(ORVEX_FUNCTION_SIGNATURE, __LINE__, false, [&] {
        const ScopedFrameLock lock(frameLock());
        m_streamer->control(BA::CommandStop, BA::WaitForCompletion);
        setRunning(false);
        return true;
    });
    signalAcquisitionStateChanged();
    return succeeded;
}

Viewport::ImperativeAcquisitionInterface::State PreviewAcqIf::acquisitionState()
{
    if (!m_streamer->isSetUp())
        return State::NotSetUp;
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_paused ? State::Paused : m_running ? State::Running : State::Stopped;
}

quint64 PreviewAcqIf::framesQueued()
{
    return guarded(ORVEX_FUNCTION_SIGNATURE, __LINE__, quint64(0),
                   [&] { return quint64(m_streamer->queueSize()); });
}

quint64 PreviewAcqIf::framesDropped()
{
    return guarded(ORVEX_FUNCTION_SIGNATURE, __LINE__, quint64(0),
                   [&] { return quint64(m_streamer->missedFrames()); });
}

quint64 PreviewAcqIf::framesDelivered()
{
    const ScopedFrameLock lock(frameLock());
    return m_framesDelivered;
}

quint64 PreviewAcqIf::framesFailed()
{
    return guarded(ORVEX_FUNCTION_SIGNATURE, __LINE__, quint64(0), [&] {
        const HwBrdHandle handle = m_streamer->handle();
        if (handle == HwNoBoard)
            return quint64(0);
        QNInterruptCounters counters;
        QNExceptionBase::throwOnFailure(QNInterruptGetCounters(handle, &counters), "QNInterruptGetCounters");
        return quint64(counters.m_errors);
    });
}

QString PreviewAcqIf::interruption()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_interruption;
}

double PreviewAcqIf::frameRate()
{
    return guarded(ORVEX_FUNCTION_SIGNATURE, __LINE__, 0.0, [&] {
        {
            // Stopped or paused, no frame is coming: the last interval is history, not a rate.
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_paused || !m_running)
                return 0.0;
        }
        const HwBrdHandle handle = m_streamer->handle();
        if (handle == HwNoBoard)
            return 0.0;
        QNInterruptCounters counters;
        QNExceptionBase::throwOnFailure(QNInterruptGetCounters(handle, &counters), "QNInterruptGetCounters");
        const std::int64_t interval = counters.m_lastFrameTimeUs - counters.m_previousFrameTimeUs;
        if (counters.m_previousFrameTimeUs == 0 || interval <= 0)
            return 0.0;
        if (nowUs() - counters.m_lastFrameTimeUs > std::max(3 * interval, StaleFrameUs))
            return 0.0;
        return 1e6 / double(interval);
    });
}

ScopedFrameLock PreviewAcqIf::getFrameLock()
{
    ScopedFrameLock lock(frameLock());
    if (!m_streamer->isSetUp())
        return {};
    return lock;
}

void PreviewAcqIf::logFailure(const char* a_function, unsigned a_line, const char* a_kind,
                              const std::string& a_message, const Failure& a_failure)
{
    const ExceptionDescription line(a_kind, a_message, LogSourceName,
                                    ExceptionDescription::qualifiedFunctionName(a_function), a_line);
    QNDebugString(line.m_text.c_str());
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lastFailure = a_failure;
}

bool PreviewAcqIf::setupSteps(const char* a_function)
{
    const std::string cameraFile = QFile::encodeName(m_cameraFile).toStdString();
    m_streamer->open(m_boardNumber, cameraFile);
    const std::string boardMode = m_streamer->cameraMode();
    if (m_modeName.isEmpty())
        m_modeName = QString::fromStdString(boardMode);

    if (BA::Device::isAvailable() && !m_device)
        m_device = std::make_unique<BA::Device>(*m_streamer);

    clearSetupModes();
    if (!cameraFile.empty()) {
        for (const BA::ModeDescription& mode : BA::Streamer::enumerateModes(cameraFile))
            addSetupMode(QString::fromStdString(mode.m_name), QString::fromStdString(mode.m_description));
    }
    m_hasSetupModes = setupModeCount() > 0;
    signalFeatureSetChanged();

    if (m_streamer->isSetUp()) {
        setRunning(false);
        clearNextFrame();
        m_streamer->releaseBuffers();
    }
    m_streamer->setCameraMode(m_modeName.toStdString());

    m_streamer->setupBuffers(m_bufferCount, BA::OverflowDropNewest, BA::LineAlignment4);
    m_bufferSize = m_streamer->boardInfo(BA::InfoBufferSize);

    m_layout = layoutFromBoard();
    return startWorker(a_function);
}

PixelLayout PreviewAcqIf::layoutFromBoard() const
{
    std::string value;
    if (m_device) {
        if (m_device->hasNode("PixelColorFilter"))
            value = m_device->enumerationValue("PixelColorFilter");
        else if (m_device->hasNode("PixelFormat"))
            value = m_device->enumerationValue("PixelFormat");
    }
    const bool wide = m_streamer->testBoardProperty(BA::PropertyWideSamples);
    bool bayer = false;
    const PixelLayout layout = bayerLayout(value, wide, &bayer);
    if (bayer)
        return layout;
    if (m_streamer->testBoardProperty(BA::PropertyColor))
        return PixelLayout::Rgb8;
    return wide ? PixelLayout::Mono16 : PixelLayout::Mono8;
}

bool PreviewAcqIf::startWorker(const char* a_function)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_worker.joinable())
        return true;
    m_stopping = false;
    m_workerRunning = false;
    try {
        m_worker = std::thread(&PreviewAcqIf::workerLoop, this);
    } catch (const std::system_error& a_error) {
        lock.unlock();
        logFailure(a_function, __LINE__, "system_error",
                   std::string("ERROR: Acquisition thread start threw system_error -> ") + a_error.what(),
                   {a_error.what(), 0, false});
        return false;
    } catch (...) {
        lock.unlock();
        logFailure(a_function, __LINE__, "UnknownException",
                   "ERROR: Acquisition thread start threw an unknown exception.\n",
                   {"the acquisition thread could not start", 0, false});
        return false;
    }
    m_workerChanged.wait(lock, [&] { return m_workerRunning; });
    return true;
}

bool PreviewAcqIf::startRun(const char* a_function, unsigned a_line, quint64 a_frameCount)
{
    const bool succeeded = guarded(a_function, a_line, false, [&] {
        const ScopedFrameLock lock(frameLock());
        if (a_frameCount)
            m_streamer->control(BA::CommandStartFrames, BA::WaitForCompletion, a_frameCount);
        else
            m_streamer->control(BA::CommandStart, BA::WaitForCompletion);
        m_framesDelivered = 0;
        m_fixedFrameCount = a_frameCount;
        setInterruption(QString());
        setRunning(true);
        return true;
    });
    signalAcquisitionStateChanged();
    return succeeded;
}

void PreviewAcqIf::setRunning(bool a_running)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_running = a_running;
    m_paused = false;
    m_workerChanged.notify_all();
}

void PreviewAcqIf::setInterruption(const QString& a_text)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_interruption = a_text;
}

void PreviewAcqIf::workerLoop()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_workerRunning = true;
    m_workerChanged.notify_all();
    for (;;) {
        m_workerChanged.wait(lock, [&] { return m_stopping || (m_running && m_streamer->isSetUp()); });
        if (m_stopping)
            break;
        lock.unlock();
        acquireFrames();
        lock.lock();
    }
    m_workerRunning = false;
}

void PreviewAcqIf::acquireFrames()
{
    while (m_streamer->isSetUp() && !m_stopping) {
        BA::BufferRecord record;
        const int result = m_streamer->waitForFrame(&record, BA::InfiniteTimeout);
        if (result == BA::ResultTimeout || result == BA::ResultAborted)
            continue;
        const bool handed = guarded(ORVEX_FUNCTION_SIGNATURE, __LINE__, false, [&] {
            handOver(result, record);
            return true;
        });
        if (!handed) {
            setRunning(false);
            signalAcquisitionStateChanged();
        }
    }
}

void PreviewAcqIf::handOver(int a_result, const BA::BufferRecord& a_record)
{
    const ScopedFrameLock lock(frameLock());
    if (a_result != BA::ResultOk) {
        // A camera unplugged mid-run ends here: the run stops, and the log and the viewer say why.
        logFailure(ORVEX_FUNCTION_SIGNATURE, __LINE__, "AcquisitionFailed",
                   "ERROR: the board or camera stopped delivering frames (result " +
                       std::to_string(a_result) + ")",
                   {"the acquisition failed", a_result, true});
        setInterruption(interruptionText(a_result));
        // The board would go on filling buffers, and the worker handing them over, behind a preview
        // that shows itself stopped.
        m_streamer->control(BA::CommandAbort, BA::WaitForCompletion);
        setRunning(false);
        signalAcquisitionStateChanged();
        return;
    }
    // The buffers may have been released and set up anew while this waited for the lock.
    if (!m_streamer->isCurrent(a_record))
        return;
    // The viewer copies stride times height bytes, which must stay inside the buffer the board announced.
    const bool fits = std::uint64_t(a_record.m_stride) * a_record.m_height <= m_bufferSize;
    if (fits)
        setNextFrame(a_record.m_address, static_cast<int>(a_record.m_width),
                     static_cast<int>(a_record.m_height), m_layout, static_cast<int>(a_record.m_stride));
    m_streamer->freeBuffer(a_record);
    if (!fits)
        return;
    ++m_framesDelivered;
    if (m_fixedFrameCount && m_framesDelivered >= m_fixedFrameCount) {
        m_streamer->control(BA::CommandAbort, BA::WaitForCompletion);
        setRunning(false);
        signalAcquisitionStateChanged();
    }
}

} // namespace Orvex
