#include "platform/CameraFrameSource.h"

#include "platform/BufferAcquisitionStreamer.h"
#include "platform/CameraBus.h"
#include "platform/QNExceptionBase.h"

#include <arv.h>

#include <algorithm>
#include <chrono>
#include <cstring>

namespace QNCam {

namespace {

namespace BA = BufferAcquisition;

// How long one look at the stream waits, so that an abort or a lost camera ends a wait soon.
constexpr gint64 PollSliceUs = 20000;

struct FormatShape
{
    const char* m_name;
    unsigned m_channels;
    unsigned m_bytesPerSample;
};

// The formats the viewer shows: monochrome, 8-bit mosaics and RGB, unpacked.
constexpr FormatShape Shapes[] = {
    {"Mono8", 1, 1},     {"Mono10", 1, 2},    {"Mono12", 1, 2},   {"Mono16", 1, 2},    {"BayerRG8", 1, 1},
    {"BayerGR8", 1, 1},  {"BayerGB8", 1, 1},  {"BayerBG8", 1, 1}, {"BayerRG16", 1, 2}, {"BayerGR16", 1, 2},
    {"BayerGB16", 1, 2}, {"BayerBG16", 1, 2}, {"RGB8", 3, 1}};

[[noreturn]] void fail(const char* a_call, const std::string& a_what, int a_status)
{
    throw QNExceptionBase(std::string(a_call) + " failed: " + a_what, a_status);
}

void throwOnError(GError** a_error, const char* a_call)
{
    if (!*a_error)
        return;
    const std::string message = (*a_error)->message ? (*a_error)->message : "unknown error";
    g_clear_error(a_error);
    fail(a_call, message, QNStatusRefused);
}

std::int64_t nowUs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count() + 1;
}

// Holds the camera for one call that talks to it; a camera lost since it was opened ends the call here.
std::unique_lock<std::mutex> reach(Camera& a_camera, const char* a_call)
{
    std::unique_lock<std::mutex> lock(a_camera.m_mutex);
    if (!a_camera.reach())
        fail(a_call, "the camera stopped answering", QNStatusCameraLost);
    return lock;
}

} // namespace

CameraFrameSource::CameraFrameSource(HwBrdHandle a_handle, unsigned a_bufferCount, unsigned a_lineAlignment)
    : m_camera(CameraBus::instance().camera(a_handle))
{
    if (!m_camera)
        fail("CameraFrameSource", "no camera is open", QNStatusBadHandle);
    if (a_bufferCount == 0)
        fail("CameraFrameSource", "a stream needs at least one buffer", QNStatusBadArgument);
    const std::unique_lock<std::mutex> lock = reach(*m_camera, "CameraFrameSource");
    ArvCamera* camera = m_camera->m_camera;
    GError* error = nullptr;
    gint x = 0;
    gint y = 0;
    gint width = 0;
    gint height = 0;
    arv_camera_get_region(camera, &x, &y, &width, &height, &error);
    throwOnError(&error, "CameraFrameSource");
    const char* format = arv_camera_get_pixel_format_as_string(camera, &error);
    throwOnError(&error, "CameraFrameSource");
    m_pixelFormat = format ? format : "";
    const auto shape = std::find_if(std::begin(Shapes), std::end(Shapes), [&](const FormatShape& a_shape) {
        return m_pixelFormat == a_shape.m_name;
    });
    if (shape == std::end(Shapes))
        fail("CameraFrameSource", "the preview cannot show the pixel format \"" + m_pixelFormat + "\"",
             QNStatusNotSupported);
    if (width <= 0 || height <= 0)
        fail("CameraFrameSource", "the camera reports an empty image", QNStatusNotSupported);
    m_width = static_cast<unsigned>(width);
    m_height = static_cast<unsigned>(height);
    m_channels = shape->m_channels;
    m_bytesPerSample = shape->m_bytesPerSample;
    m_rowBytes = m_width * m_channels * m_bytesPerSample;
    const unsigned alignment = std::max(a_lineAlignment, 1u);
    m_stride = (m_rowBytes + alignment - 1) / alignment * alignment;
    m_bufferSize = std::size_t(m_stride) * m_height;
    m_payload = arv_camera_get_payload(camera, &error);
    throwOnError(&error, "CameraFrameSource");
    if (m_payload < std::size_t(m_rowBytes) * m_height)
        fail("CameraFrameSource", "the camera's frames are smaller than its image", QNStatusNotSupported);

    arv_camera_set_acquisition_mode(camera, ARV_ACQUISITION_MODE_CONTINUOUS, &error);
    throwOnError(&error, "CameraFrameSource");
    m_stream = arv_camera_create_stream(camera, nullptr, nullptr, &error);
    if (!m_stream) {
        throwOnError(&error, "CameraFrameSource");
        fail("CameraFrameSource", "the camera opened no stream", QNStatusNotSupported);
    }
    for (unsigned i = 0; i < a_bufferCount; ++i)
        arv_stream_push_buffer(m_stream, arv_buffer_new(m_payload, nullptr));
}

CameraFrameSource::~CameraFrameSource()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_shutdown = true;
    }
    try {
        stopAcquisition();
    } catch (const QNExceptionBase& a_error) {
        // A camera that is gone cannot stop; its stream goes all the same.
        g_debug("%s", a_error.what());
    }
    if (m_stream)
        g_object_unref(m_stream);
}

void CameraFrameSource::startAcquisition()
{
    const std::unique_lock<std::mutex> cameraLock = reach(*m_camera, "CameraFrameSource::start");
    GError* error = nullptr;
    arv_camera_start_acquisition(m_camera->m_camera, &error);
    throwOnError(&error, "CameraFrameSource::start");
    std::lock_guard<std::mutex> lock(m_mutex);
    m_acquiring = true;
}

void CameraFrameSource::stopAcquisition()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_acquiring)
            return;
        m_acquiring = false;
    }
    std::lock_guard<std::mutex> cameraLock(m_camera->m_mutex);
    if (m_camera->m_lost)
        return;
    GError* error = nullptr;
    arv_camera_stop_acquisition(m_camera->m_camera, &error);
    throwOnError(&error, "CameraFrameSource::stop");
}

void CameraFrameSource::discardQueued()
{
    while (ArvBuffer* buffer = arv_stream_try_pop_buffer(m_stream))
        arv_stream_push_buffer(m_stream, buffer);
}

void CameraFrameSource::start(std::uint64_t a_frameCount)
{
    stopAcquisition();
    discardQueued();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_remaining = a_frameCount;
        m_abortPending = false;
    }
    startAcquisition();
}

void CameraFrameSource::pause(bool)
{
    stopAcquisition();
}

void CameraFrameSource::stop(bool)
{
    stopAcquisition();
}

void CameraFrameSource::abort(bool)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_abortPending = true;
    }
    stopAcquisition();
    discardQueued();
}

void CameraFrameSource::trigger()
{
    const std::unique_lock<std::mutex> cameraLock = reach(*m_camera, "CameraFrameSource::trigger");
    GError* error = nullptr;
    arv_camera_software_trigger(m_camera->m_camera, &error);
    throwOnError(&error, "CameraFrameSource::trigger");
    ++m_camera->m_counters.m_triggers;
}

void CameraFrameSource::shutdown()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_shutdown = true;
}

int CameraFrameSource::waitForFrame(Frame* a_frame, int a_timeoutMs)
{
    const gint64 deadline =
        a_timeoutMs < 0 ? G_MAXINT64 : g_get_monotonic_time() + gint64(a_timeoutMs) * 1000;
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_shutdown)
                return BA::ResultAborted;
            if (m_abortPending) {
                m_abortPending = false;
                return BA::ResultAborted;
            }
            // Said once per run: afterwards the wait goes on quietly, as for any stopped camera, so that
            // the consumer is not woken again and again by a camera that is gone.
            if (m_camera->m_lost && m_acquiring) {
                m_acquiring = false;
                return QNStatusCameraLost;
            }
        }
        const gint64 left = deadline - g_get_monotonic_time();
        if (left <= 0)
            return BA::ResultTimeout;
        ArvBuffer* buffer = arv_stream_timeout_pop_buffer(m_stream, guint64(std::min(left, PollSliceUs)));
        if (!buffer)
            continue;
        std::size_t size = 0;
        const auto* data = static_cast<const std::uint8_t*>(arv_buffer_get_data(buffer, &size));
        const bool complete = arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS && data &&
                              size >= std::size_t(m_rowBytes) * m_height;
        std::shared_ptr<std::vector<std::uint8_t>> memory;
        if (complete) {
            memory = std::make_shared<std::vector<std::uint8_t>>(m_bufferSize);
            for (unsigned row = 0; row < m_height; ++row)
                std::memcpy(memory->data() + std::size_t(row) * m_stride,
                            data + std::size_t(row) * m_rowBytes, m_rowBytes);
        }
        arv_stream_push_buffer(m_stream, buffer);
        countStatistics();
        if (!complete)
            continue;
        bool last = false;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            // The run may have ended while the frame was copied, and a camera may still send frames
            // that were under way when it stopped: they belong to no run.
            if (m_abortPending || m_shutdown || !m_acquiring)
                continue;
            a_frame->m_memory = memory;
            a_frame->m_index = m_nextIndex++;
            m_taken.insert(a_frame->m_index);
            last = m_remaining > 0 && --m_remaining == 0;
        }
        {
            std::lock_guard<std::mutex> cameraLock(m_camera->m_mutex);
            QNInterruptCounters& counters = m_camera->m_counters;
            ++counters.m_frames;
            counters.m_previousFrameTimeUs = counters.m_lastFrameTimeUs;
            counters.m_lastFrameTimeUs = nowUs();
        }
        if (last)
            stopAcquisition();
        return BA::ResultOk;
    }
}

bool CameraFrameSource::freeBuffer(const Frame& a_frame)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_taken.erase(a_frame.m_index) > 0;
}

bool CameraFrameSource::owns(const Frame& a_frame) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_taken.count(a_frame.m_index) > 0;
}

unsigned CameraFrameSource::queued() const
{
    gint input = 0;
    gint output = 0;
    arv_stream_get_n_buffers(m_stream, &input, &output);
    return static_cast<unsigned>(std::max(output, 0));
}

std::uint64_t CameraFrameSource::missed() const
{
    guint64 completed = 0;
    guint64 failures = 0;
    guint64 underruns = 0;
    arv_stream_get_statistics(m_stream, &completed, &failures, &underruns);
    return underruns;
}

void CameraFrameSource::countStatistics()
{
    guint64 completed = 0;
    guint64 failures = 0;
    guint64 underruns = 0;
    arv_stream_get_statistics(m_stream, &completed, &failures, &underruns);
    std::lock_guard<std::mutex> cameraLock(m_camera->m_mutex);
    m_camera->m_counters.m_framesDropped = underruns;
    m_camera->m_counters.m_errors = failures;
}

} // namespace QNCam
