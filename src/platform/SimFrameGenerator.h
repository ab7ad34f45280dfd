#pragma once

#include "platform/FrameSource.h"
#include "platform/QNDriver.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace QNSim {

// The camera and the frame grabber's DMA engine of one set-up board: a thread that renders a moving
// test pattern into a fixed set of buffers at the camera's frame rate (or once per trigger), queues
// the filled buffers for the consumer and counts the frames it had nowhere to put. Every frame, drop
// and trigger is raised as an interrupt on the board, so the driver's counters move as on hardware.
//
// All members may be called from any thread; waitForFrame() is meant for one consumer thread.
class SimFrameGenerator : public BufferAcquisition::FrameSource
{
public:
    enum class Bayer
    {
        None,
        RG,
        GR,
        GB,
        BG
    };

    // How the pixels of a format sit in memory.
    struct Encoding
    {
        unsigned m_bytesPerSample = 1;
        unsigned m_channels = 1;
        unsigned m_significantBits = 8;
        Bayer m_bayer = Bayer::None;
    };

    // What the camera file's mode asks of the camera. Unusable values fall back to a 640x480 Mono8
    // camera running freely at 30 frames per second.
    struct Settings
    {
        unsigned m_width = 640;
        unsigned m_height = 480;
        std::string m_pixelFormat = "Mono8";
        // Takes precedence over the mosaic named in the pixel format, as a camera's own filter does.
        std::string m_colorFilter;
        double m_frameRate = 30.0;
        // With a trigger source other than "Software" the external trigger is emulated at the frame rate.
        bool m_triggered = false;
        std::string m_triggerSource = "Software";
        unsigned m_framesPerTrigger = 1;
    };

    // When every buffer is taken: drop the frame just acquired, or the oldest frame waiting.
    enum class Overflow
    {
        DropNewest,
        DropOldest
    };

    using Frame = BufferAcquisition::FrameSource::Frame;

    // What waitForFrame() returns besides a frame; any other code comes from injectWaitResult().
    static constexpr int WaitOk = 0;
    static constexpr int WaitTimedOut = 0x10004;
    static constexpr int WaitAborted = 0x10005;

    static constexpr unsigned MaxDimension = 16384;
    static constexpr std::size_t MaxTotalBytes = std::size_t(1) << 30;

    // Throws QNExceptionBase when the buffers would be unreasonably large or a_bufferCount is 0.
    SimFrameGenerator(HwBrdHandle a_board, unsigned a_boardNumber, const Settings& a_settings,
                      unsigned a_bufferCount, Overflow a_overflow, unsigned a_lineAlignment);
    ~SimFrameGenerator() override;

    static Encoding encodingOf(const std::string& a_pixelFormat, const std::string& a_colorFilter);
    // a_settings with every unusable value replaced by its default.
    static Settings sanitized(const Settings& a_settings);

    const Settings& settings() const { return m_settings; }
    const Encoding& encoding() const { return m_encoding; }
    unsigned width() const override { return m_settings.m_width; }
    unsigned height() const override { return m_settings.m_height; }
    unsigned stride() const override { return m_stride; }
    std::size_t bufferSize() const override { return m_bufferSize; }
    unsigned channels() const override { return m_encoding.m_channels; }
    unsigned bytesPerSample() const override { return m_encoding.m_bytesPerSample; }
    unsigned bufferCount() const { return static_cast<unsigned>(m_buffers.size()); }

    // a_frameCount 0 runs until stopped. Frames still queued from an earlier run are discarded.
    void start(std::uint64_t a_frameCount) override;
    // a_waitForFrame: return only once a frame being rendered has been queued or discarded.
    void pause(bool a_waitForFrame) override;
    void stop(bool a_waitForFrame) override;
    // Stops, discards the queued frames and ends a wait in progress (or else the next one) with
    // WaitAborted.
    void abort(bool a_waitForFrame) override;
    void trigger() override;
    // Ends every wait for good; the buffers stay readable through the frames handed out.
    void shutdown() override;

    // a_timeoutMs < 0 waits without limit.
    int waitForFrame(Frame* a_frame, int a_timeoutMs) override;
    // False when a_frame is not a taken buffer of this generator.
    bool freeBuffer(const Frame& a_frame) override;
    bool owns(const Frame& a_frame) const override;

    unsigned queued() const override;
    std::uint64_t missed() const override;

    // Test hooks, per board number: the next waits of the live generators of that board return
    // a_code first (false when none lives), and the log of what the board was asked to do.
    static bool injectWaitResult(unsigned a_boardNumber, int a_code);
    static void recordEvent(unsigned a_boardNumber, const std::string& a_event);
    static std::vector<std::string> takeEvents(unsigned a_boardNumber);

private:
    enum class State
    {
        Idle,
        Running,
        Paused
    };

    enum class BufferState
    {
        Free,
        Filling,
        Queued,
        Taken
    };

    void run();
    bool freeRunning() const;
    bool hasWorkLocked() const;
    void produceFrame(std::unique_lock<std::mutex>& a_lock);
    void renderPattern();
    void renderFrame(std::uint8_t* a_target, std::uint64_t a_frameNumber) const;
    void waitForRenderLocked(std::unique_lock<std::mutex>& a_lock);
    void discardQueuedLocked();
    void raise(QNInterruptKind a_kind);

    const HwBrdHandle m_board;
    const unsigned m_boardNumber;
    const Settings m_settings;
    const Encoding m_encoding;
    const Overflow m_overflow;
    unsigned m_stride = 0;
    std::size_t m_bufferSize = 0;
    // Twice the frame in both directions, so that any scrolled window of it is a plain copy of rows.
    std::vector<std::uint8_t> m_pattern;
    std::vector<std::shared_ptr<std::vector<std::uint8_t>>> m_buffers;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<BufferState> m_bufferStates;
    std::deque<unsigned> m_ready;
    std::deque<int> m_injected;
    State m_state = State::Idle;
    std::uint64_t m_remaining = 0;
    std::uint64_t m_pendingTriggers = 0;
    std::uint64_t m_frameNumber = 0;
    std::uint64_t m_missed = 0;
    std::uint64_t m_commands = 0;
    std::uint64_t m_aborts = 0;
    std::uint64_t m_runs = 0;
    bool m_abortPending = false;
    unsigned m_waiters = 0;
    bool m_rendering = false;
    bool m_shutdown = false;
    std::thread m_thread;
};

} // namespace QNSim
