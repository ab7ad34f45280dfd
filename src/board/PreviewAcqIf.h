#pragma once

#include "board/ViewportImperativeAcquisitionInterface.h"

#include <QString>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

class QWidget;

namespace BufferAcquisition {
class Device;
class Streamer;
struct BufferRecord;
} // namespace BufferAcquisition

namespace Viewport {
class WindowQt;
}

namespace Orvex {

// A live preview of one board set up from a saved camera file in one of its modes. The viewer's
// buttons call the operations; a worker thread waits for the board's finished frames and hands each
// to the viewer under the frame lock. No operation throws: failures are logged on the driver's debug
// output and the operation returns false (the counters 0).
//
// Lock order: frame lock, then the worker mutex, then the buffer library's own locks.
class PreviewAcqIf : public Viewport::ImperativeAcquisitionInterface
{
    Q_OBJECT

public:
    static constexpr unsigned DefaultBufferCount = 25;

    PreviewAcqIf(unsigned a_boardNumber, const QString& a_cameraFile, const QString& a_modeName,
                 unsigned a_bufferCount = DefaultBufferCount, QObject* a_parent = nullptr);
    ~PreviewAcqIf() override;

    // Sets board a_boardNumber up for the mode a_modeName of the saved file a_cameraFile and returns a
    // top-level viewer window (not shown yet, geometry restored) that owns the acquisition and is
    // deleted when closed. When the setup fails, throws QNExceptionBase with the board library's text,
    // or std::runtime_error for failures of any other kind.
    static Viewport::WindowQt* openPreview(unsigned a_boardNumber, const QString& a_cameraFile,
                                           const QString& a_modeName, QWidget* a_parent = nullptr);

    unsigned boardNumber() const { return m_boardNumber; }
    QString cameraFile() const { return m_cameraFile; }
    // How the frames are handed to the viewer; decided by the setup.
    Viewport::PixelLayout pixelLayout();
    // The last failure logged: the text of what was caught, and for the board libraries' exceptions
    // their status.
    struct Failure
    {
        std::string m_text;
        int m_code = 0;
        bool m_fromBoard = false;
    };
    Failure lastFailure() const;

    bool canSetup() override;
    bool canSetupMode() override;
    bool isSetup() override;
    bool setupMode(const QString& a_mode) override;
    QString currentSetupMode() override;
    bool cleanup() override;
    bool trigger() override;
    bool start() override;
    bool startFixed(quint64 a_frameCount) override;
    bool pause() override;
    bool stop() override;
    State acquisitionState() override;

    quint64 framesQueued() override;
    quint64 framesDropped() override;
    quint64 framesDelivered() override;
    quint64 framesFailed() override;
    double frameRate() override;
    QString interruption() override;

    // Empty while the board is not set up.
    Viewport::ScopedFrameLock getFrameLock() override;

private:
    template <typename Result, typename Body>
    Result guarded(const char* a_function, unsigned a_line, Result a_failure, Body&& a_body);
    void logFailure(const char* a_function, unsigned a_line, const char* a_kind, const std::string& a_message,
                    const Failure& a_failure);

    bool setupSteps(const char* a_function);
    Viewport::PixelLayout layoutFromBoard() const;
    bool startWorker(const char* a_function);
    bool startRun(const char* a_function, unsigned a_line, quint64 a_frameCount);
    void setRunning(bool a_running);
    // Also forgets why an earlier run ended.
    void setInterruption(const QString& a_text);
    void workerLoop();
    void acquireFrames();
    void handOver(int a_result, const BufferAcquisition::BufferRecord& a_record);

    const unsigned m_boardNumber;
    const QString m_cameraFile;
    const unsigned m_bufferCount;
    QString m_modeName;
    bool m_hasSetupModes = false;
    const std::unique_ptr<BufferAcquisition::Streamer> m_streamer;
    std::unique_ptr<BufferAcquisition::Device> m_device;

    // Guarded by the frame lock.
    Viewport::PixelLayout m_layout = Viewport::PixelLayout::Mono8;
    quint64 m_framesDelivered = 0;
    quint64 m_fixedFrameCount = 0;
    std::uint64_t m_bufferSize = 0;

    // Guarded by m_mutex, which with m_workerChanged starts and stops the worker.
    mutable std::mutex m_mutex;
    std::condition_variable m_workerChanged;
    bool m_workerRunning = false;
    bool m_running = false;
    bool m_paused = false;
    std::atomic<bool> m_stopping{false};
    Failure m_lastFailure;
    QString m_interruption;
    std::thread m_worker;
};

} // namespace Orvex
