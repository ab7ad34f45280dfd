#pragma once

#include "platform/FrameSource.h"
#include "platform/QNDriver.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>

struct _ArvStream;

namespace QNCam {

struct Camera;

// The stream of a camera opened through Aravis, as the streamer's frame source. The camera's own
// buffers go straight back to its stream: each frame is copied into memory of its own, rows aligned
// as asked, so that a frame handed out stays readable however long the consumer keeps it. Frame times,
// buffers the camera found none free for and incomplete frames land in the camera's interrupt counters.
class CameraFrameSource : public BufferAcquisition::FrameSource
{
public:
    // Opens the camera's stream with a_bufferCount buffers for the camera's present settings. Throws
    // QNExceptionBase when the handle is no open camera, the pixel format is one the viewer cannot show,
    // or the stream cannot be opened.
    CameraFrameSource(HwBrdHandle a_handle, unsigned a_bufferCount, unsigned a_lineAlignment);
    ~CameraFrameSource() override;

    unsigned width() const override { return m_width; }
    unsigned height() const override { return m_height; }
    unsigned stride() const override { return m_stride; }
    std::size_t bufferSize() const override { return m_bufferSize; }
    unsigned channels() const override { return m_channels; }
    unsigned bytesPerSample() const override { return m_bytesPerSample; }
    const std::string& pixelFormat() const { return m_pixelFormat; }

    void start(std::uint64_t a_frameCount) override;
    void pause(bool a_waitForFrame) override;
    void stop(bool a_waitForFrame) override;
    void abort(bool a_waitForFrame) override;
    void trigger() override;
    void shutdown() override;

    int waitForFrame(Frame* a_frame, int a_timeoutMs) override;
    bool freeBuffer(const Frame& a_frame) override;
    bool owns(const Frame& a_frame) const override;

    unsigned queued() const override;
    std::uint64_t missed() const override;

private:
    void startAcquisition();
    void stopAcquisition();
    void discardQueued();
    void countStatistics();

    const std::shared_ptr<Camera> m_camera;
    _ArvStream* m_stream = nullptr;
    unsigned m_width = 0;
    unsigned m_height = 0;
    unsigned m_stride = 0;
    unsigned m_rowBytes = 0;
    std::size_t m_bufferSize = 0;
    std::size_t m_payload = 0;
    unsigned m_channels = 1;
    unsigned m_bytesPerSample = 1;
    std::string m_pixelFormat;

    mutable std::mutex m_mutex;
    bool m_acquiring = false;
    bool m_abortPending = false;
    bool m_shutdown = false;
    std::uint64_t m_remaining = 0;
    unsigned m_nextIndex = 0;
    std::set<unsigned> m_taken;
};

} // namespace QNCam
