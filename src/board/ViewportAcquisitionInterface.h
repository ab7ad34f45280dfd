#pragma once

#include "board/ViewportFrameLock.h"
#include "board/ViewportScopedFrameLock.h"

#include <QByteArray>
#include <QObject>
#include <QPair>
#include <QString>
#include <QVector>

#include <atomic>
#include <thread>

namespace Viewport {

// Names the layouts, for debug output and for tables that spell them.
Q_NAMESPACE

// How the samples of a frame sit in memory: 8-bit or 16-bit (little-endian) grey, three 8-bit colour
// samples, or a Bayer mosaic named by its first two rows' first colours.
enum class PixelLayout
{
    Mono8,
    Mono16,
    Rgb8,
    BayerRG8,
    BayerGR8,
    BayerGB8,
    BayerBG8,
    BayerRG16,
    BayerGR16,
    BayerGB16,
    BayerBG16
};
Q_ENUM_NS(PixelLayout)

// A copy of the frame to show; m_serial grows with every frame handed over.
struct Frame
{
    QByteArray m_data;
    int m_width = 0;
    int m_height = 0;
    PixelLayout m_layout = PixelLayout::Mono8;
    int m_stride = 0;
    quint64 m_serial = 0;

    bool isNull() const { return m_data.isEmpty(); }
};

// What the viewer knows of an acquisition: the frame it should show, guarded by the frame lock, the
// setup modes it may offer, and the signals that tell it to look again. The signals always arrive
// on the thread that created the acquisition, later, whichever thread raised them: raised there, each
// comes once; raised elsewhere, they are picked up every SignalPollMs, alike ones merged into one.
class AcquisitionInterface : public QObject
{
    Q_OBJECT

public:
    static constexpr int SignalPollMs = 16;

    explicit AcquisitionInterface(QObject* a_parent = nullptr);
    ~AcquisitionInterface() override;

    // Holds the frame lock; the default holds it unconditionally.
    virtual ScopedFrameLock getFrameLock();
    // Read only while holding getFrameLock().
    Frame nextFrame() const;

    int setupModeCount() const;
    QString setupModeName(int a_index) const;
    QString setupModeDescription(int a_index) const;

signals:
    void acquisitionStateChanged();
    void featureSetChanged();
    // Several frames in quick succession may yield one signal.
    void nextFrameChanged();

protected:
    FrameLock& frameLock() { return m_frameLock; }

    // Both copy or drop the frame under the frame lock, which the caller holds; any thread.
    void setNextFrame(const void* a_buffer, int a_width, int a_height, PixelLayout a_layout, int a_stride);
    void clearNextFrame();

    // Any thread.
    void signalAcquisitionStateChanged();
    void signalFeatureSetChanged();

    void clearSetupModes();
    void addSetupMode(const QString& a_name, const QString& a_description);

private:
    enum PendingSignal : unsigned
    {
        PendingFeatureSet = 0x1,
        PendingState = 0x2,
        PendingFrame = 0x4
    };

    void raise(PendingSignal a_signal);
    void emitPending(unsigned a_signals);

    const std::thread::id m_ownThread;
    FrameLock m_frameLock;
    Frame m_frame;
    quint64 m_serial = 0;
    // Raised on other threads, delivered by a timer, which spares those threads the event queue.
    std::atomic<unsigned> m_pending{0};
    bool m_frameSignalQueued = false;
    QVector<QPair<QString, QString>> m_setupModes;
};

} // namespace Viewport
