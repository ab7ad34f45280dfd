#pragma once

#include "board/ViewportAcquisitionInterface.h"

#include <QFlags>

namespace Viewport {

// An acquisition that the viewer drives with its buttons. It declares once which operations it has;
// the viewer offers only those. Every operation returns true on success; the defaults do nothing and
// fail.
class ImperativeAcquisitionInterface : public AcquisitionInterface
{
    Q_OBJECT

public:
    enum Operation
    {
        SetupOperation = 0x1,
        CleanupOperation = 0x2,
        TriggerOperation = 0x4,
        StartOperation = 0x8,
        StartFixedOperation = 0x10,
        PauseOperation = 0x20,
        StopOperation = 0x40,
        FrameRateOperation = 0x80,
        FramesQueuedOperation = 0x100,
        FramesDroppedOperation = 0x200,
        FramesDeliveredOperation = 0x400,
        FramesFailedOperation = 0x800,
        AllOperations = 0xFFF
    };
    Q_DECLARE_FLAGS(Operations, Operation)

    enum class State
    {
        NotSetUp,
        Stopped,
        Running,
        Paused
    };

    explicit ImperativeAcquisitionInterface(Operations a_supported, QObject* a_parent = nullptr);
    ~ImperativeAcquisitionInterface() override;

    Operations supportedOperations() const { return m_supported; }
    bool supports(Operation a_operation) const { return m_supported.testFlag(a_operation); }

    virtual bool canSetup();
    virtual bool canSetupMode();
    virtual bool isSetup();
    // An empty a_mode keeps the mode chosen before.
    virtual bool setupMode(const QString& a_mode);
    virtual QString currentSetupMode();
    virtual bool cleanup();
    virtual bool trigger();
    virtual bool start();
    virtual bool startFixed(quint64 a_frameCount);
    virtual bool pause();
    virtual bool stop();
    virtual State acquisitionState();

    virtual quint64 framesQueued();
    virtual quint64 framesDropped();
    virtual quint64 framesDelivered();
    // Frames that came incomplete or damaged and were not shown.
    virtual quint64 framesFailed();
    // Frames per second; 0 when unknown.
    virtual double frameRate();
    // Why the last run ended on its own with a failure, in a sentence for the user; empty when it did
    // not, and again once a run starts or the acquisition is set up anew.
    virtual QString interruption();

private:
    const Operations m_supported;
};

} // namespace Viewport

Q_DECLARE_OPERATORS_FOR_FLAGS(Viewport::ImperativeAcquisitionInterface::Operations)
