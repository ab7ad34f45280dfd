#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace BufferAcquisition {

// What fills a set-up board's buffers: the simulated camera and grabber, or a real camera's stream.
// The streamer drives either through this alone. All members may be called from any thread;
// waitForFrame() is meant for one consumer thread.
class FrameSource
{
public:
    struct Frame
    {
        std::shared_ptr<const std::vector<std::uint8_t>> m_memory;
        unsigned m_index = 0;
    };

    FrameSource() = default;
    FrameSource(const FrameSource&) = delete;
    FrameSource& operator=(const FrameSource&) = delete;
    virtual ~FrameSource();

    virtual unsigned width() const = 0;
    virtual unsigned height() const = 0;
    virtual unsigned stride() const = 0;
    virtual std::size_t bufferSize() const = 0;
    // Samples per pixel (3 for colour) and bytes per sample (2 for wide samples).
    virtual unsigned channels() const = 0;
    virtual unsigned bytesPerSample() const = 0;

    // a_frameCount 0 runs until stopped. Frames still queued from an earlier run are discarded.
    virtual void start(std::uint64_t a_frameCount) = 0;
    // a_waitForFrame: return only once a frame under way has been queued or discarded.
    virtual void pause(bool a_waitForFrame) = 0;
    virtual void stop(bool a_waitForFrame) = 0;
    // Stops, discards the queued frames and ends a wait in progress (or else the next one) with an
    // aborted result.
    virtual void abort(bool a_waitForFrame) = 0;
    virtual void trigger() = 0;
    // Ends every wait for good; the buffers stay readable through the frames handed out.
    virtual void shutdown() = 0;

    // a_timeoutMs < 0 waits without limit.
    virtual int waitForFrame(Frame* a_frame, int a_timeoutMs) = 0;
    // False when a_frame is not a taken buffer of this source.
    virtual bool freeBuffer(const Frame& a_frame) = 0;
    virtual bool owns(const Frame& a_frame) const = 0;

    virtual unsigned queued() const = 0;
    // Frames lost for want of a free buffer.
    virtual std::uint64_t missed() const = 0;
};

} // namespace BufferAcquisition
