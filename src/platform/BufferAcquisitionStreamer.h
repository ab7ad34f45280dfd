#pragma once

#include "platform/QNDriver.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace BufferAcquisition {

class FrameSource;

// Control commands and their wait flags.
constexpr unsigned CommandStart = 0;
constexpr unsigned CommandStop = 1;
constexpr unsigned CommandPause = 2;
constexpr unsigned CommandStartFrames = 3;
constexpr unsigned CommandAbort = 4;
// Return only once the board has acted on the command.
constexpr unsigned WaitForCompletion = 256;
// Return only once the frame being acquired has landed in its buffer.
constexpr unsigned WaitForFrameEnd = 512;

// Options of setupBuffers(): what happens when every buffer is taken, and the line alignment.
constexpr unsigned OverflowDropOldest = 1;
constexpr unsigned OverflowDropNewest = 3;
constexpr unsigned LineAlignment4 = 4;

// Board information codes (readable once the buffers are set up).
constexpr unsigned InfoBufferSize = 0x10001;
constexpr unsigned InfoImageWidth = 0x10002;
constexpr unsigned InfoImageHeight = 0x10003;

// Board properties: the frames hold three colour samples per pixel / samples of 16 bits.
constexpr unsigned PropertyColor = 0x1;
constexpr unsigned PropertyWideSamples = 0x2;

// What waitForFrame() returns. A timeout or an interrupted wait is no failure of the acquisition:
// callers wait again.
constexpr int ResultOk = 0;
constexpr int ResultTimeout = 0x10004;
constexpr int ResultAborted = 0x10005;
constexpr int ResultAcquisitionFailed = 0x10006;

constexpr int InfiniteTimeout = -1;
// The argument of softwareTrigger() that fires the board's software trigger input.
constexpr unsigned SoftwareTriggerInput = 40;

// One filled buffer, from waitForFrame() until freeBuffer(). The memory stays readable for as long as
// the record lives, even past releaseBuffers().
struct BufferRecord
{
    std::shared_ptr<const std::vector<std::uint8_t>> m_memory;
    const std::uint8_t* m_address = nullptr;
    unsigned m_index = 0;
    unsigned m_width = 0;
    unsigned m_height = 0;
    unsigned m_stride = 0;
    std::size_t m_size = 0;
};

struct ModeDescription
{
    std::string m_name;
    std::string m_description;
};

// One frame grabber opened for acquisition with a camera file: the mode the board is set for, and
// the circular buffers the board fills. The camera file's modes decide the frames: their size, pixel
// format, frame rate and triggering. On a camera reached directly, setting up the buffers first writes
// the mode's features to the camera (see CameraSettings); the camera then decides the frames.
//
// Failures throw QNExceptionBase. Every member may be called from any thread; waitForFrame() blocks
// without holding the streamer, so control commands and releaseBuffers() reach a waiting consumer.
class Streamer
{
public:
    Streamer();
    Streamer(const Streamer&) = delete;
    Streamer& operator=(const Streamer&) = delete;
    ~Streamer();

    // Opens board a_boardNumber and reads a_cameraFile (a local 8-bit path; empty: the board's own
    // defaults), whose first mode becomes the current mode. Opening the board that is open already
    // keeps its buffers.
    void open(unsigned a_boardNumber, const std::string& a_cameraFile = {});
    void close();
    bool isOpen() const;
    bool isSetUp() const;
    unsigned boardNumber() const;
    HwBrdHandle handle() const;

    std::string cameraMode() const;
    // Only while no buffers are set up; the name must be one of the camera file's modes (or empty
    // when the file has none).
    void setCameraMode(const std::string& a_mode);
    // A feature of the current mode (or, failing that, of the camera), as the camera file writes it.
    std::optional<std::string> modeFeature(const std::string& a_name) const;

    static std::vector<ModeDescription> enumerateModes(const std::string& a_cameraFile);

    std::uint64_t boardInfo(unsigned a_code) const;
    bool testBoardProperty(unsigned a_property) const;

    void setupBuffers(unsigned a_count, unsigned a_overflow, unsigned a_lineAlignment);
    // a_frameCount is read by CommandStartFrames only.
    void control(unsigned a_command, unsigned a_waitFlags, std::uint64_t a_frameCount = 0);
    // ResultOk with a_record filled, or another result; ResultAborted while no buffers are set up.
    int waitForFrame(BufferRecord* a_record, int a_timeoutMs = InfiniteTimeout);
    // Records of buffers released meanwhile are ignored.
    void freeBuffer(const BufferRecord& a_record);
    // Whether a_record is a buffer of the current setup.
    bool isCurrent(const BufferRecord& a_record) const;
    void softwareTrigger(unsigned a_input);
    unsigned queueSize() const;
    std::uint64_t missedFrames() const;
    void releaseBuffers();

private:
    struct Mode
    {
        std::string m_name;
        std::string m_description;
        std::map<std::string, std::string> m_features;
    };

    struct CameraFile
    {
        std::vector<Mode> m_modes;
        std::map<std::string, std::string> m_features;
    };

    static CameraFile readCameraFile(const std::string& a_path);
    std::shared_ptr<FrameSource> generator() const;
    std::shared_ptr<FrameSource> requireGenerator(const char* a_call) const;
    std::shared_ptr<FrameSource> cameraSourceLocked(unsigned a_count, unsigned a_lineAlignment);
    void requireOpenLocked(const char* a_call) const;
    const Mode* currentModeLocked() const;
    std::optional<std::string> featureLocked(const std::string& a_name) const;
    void record(const std::string& a_event) const;

    mutable std::mutex m_mutex;
    HwBrdHandle m_handle = HwNoBoard;
    std::atomic<unsigned> m_boardNumber{0};
    std::string m_cameraFilePath;
    CameraFile m_cameraFile;
    std::string m_mode;
    std::shared_ptr<FrameSource> m_generator;
};

} // namespace BufferAcquisition
