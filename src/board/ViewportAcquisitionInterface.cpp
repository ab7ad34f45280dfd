#include "board/ViewportAcquisitionInterface.h"

#include <QMetaObject>
#include <QTimer>

namespace Viewport {

namespace {

int bytesPerPixel(PixelLayout a_layout)
{
    switch (a_layout) {
    case PixelLayout::Mono8:
    case PixelLayout::BayerRG8:
    case PixelLayout::BayerGR8:
    case PixelLayout::BayerGB8:
    case PixelLayout::BayerBG8:
        return 1;
    case PixelLayout::Mono16:
    case PixelLayout::BayerRG16:
    case PixelLayout::BayerGR16:
    case PixelLayout::BayerGB16:
    case PixelLayout::BayerBG16:
        return 2;
    case PixelLayout::Rgb8:
        return 3;
    }
    return 1;
}

} // namespace

AcquisitionInterface::AcquisitionInterface(QObject* a_parent)
    : QObject(a_parent), m_ownThread(std::this_thread::get_id())
{
    auto* poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, [this] { emitPending(m_pending.exchange(0)); });
    poll->start(SignalPollMs);
}

AcquisitionInterface::~AcquisitionInterface() = default;

ScopedFrameLock AcquisitionInterface::getFrameLock()
{
    return ScopedFrameLock(m_frameLock);
}

Frame AcquisitionInterface::nextFrame() const
{
    return m_frame;
}

int AcquisitionInterface::setupModeCount() const
{
    return m_setupModes.size();
}

QString AcquisitionInterface::setupModeName(int a_index) const
{
    return m_setupModes.value(a_index).first;
}

QString AcquisitionInterface::setupModeDescription(int a_index) const
{
    return m_setupModes.value(a_index).second;
}

void AcquisitionInterface::setNextFrame(const void* a_buffer, int a_width, int a_height, PixelLayout a_layout,
                                        int a_stride)
{
    const qint64 rowBytes = qint64(a_width) * bytesPerPixel(a_layout);
    if (!a_buffer || a_width <= 0 || a_height <= 0 || a_stride < rowBytes) {
        clearNextFrame();
        return;
    }
    // The buffer goes back to the board once this returns, so the viewer keeps a copy.
    const qint64 size = qint64(a_stride) * (a_height - 1) + rowBytes;
    m_frame.m_data = QByteArray(static_cast<const char*>(a_buffer), static_cast<int>(size));
    m_frame.m_width = a_width;
    m_frame.m_height = a_height;
    m_frame.m_layout = a_layout;
    m_frame.m_stride = a_stride;
    m_frame.m_serial = ++m_serial;
    raise(PendingFrame);
}

void AcquisitionInterface::clearNextFrame()
{
    m_frame = Frame();
    m_frame.m_serial = ++m_serial;
    raise(PendingFrame);
}

void AcquisitionInterface::signalAcquisitionStateChanged()
{
    raise(PendingState);
}

void AcquisitionInterface::signalFeatureSetChanged()
{
    raise(PendingFeatureSet);
}

void AcquisitionInterface::clearSetupModes()
{
    m_setupModes.clear();
}

void AcquisitionInterface::addSetupMode(const QString& a_name, const QString& a_description)
{
    m_setupModes.append({a_name, a_description});
}

void AcquisitionInterface::raise(PendingSignal a_signal)
{
    if (std::this_thread::get_id() != m_ownThread) {
        m_pending.fetch_or(a_signal);
        return;
    }
    // Queued even here: callers raise signals while holding the frame lock, which receivers take.
    if (a_signal == PendingFrame) {
        if (m_frameSignalQueued)
            return;
        m_frameSignalQueued = true;
    }
    QMetaObject::invokeMethod(
        this, [this, a_signal] { emitPending(a_signal); }, Qt::QueuedConnection);
}

void AcquisitionInterface::emitPending(unsigned a_signals)
{
    if (a_signals & PendingFeatureSet)
        emit featureSetChanged();
    if (a_signals & PendingState)
        emit acquisitionStateChanged();
    if (a_signals & PendingFrame) {
        m_frameSignalQueued = false;
        emit nextFrameChanged();
    }
}

} // namespace Viewport
