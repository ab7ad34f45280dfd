#include "board/ViewportImperativeAcquisitionInterface.h"

namespace Viewport {

ImperativeAcquisitionInterface::ImperativeAcquisitionInterface(Operations a_supported, QObject* a_parent)
    : AcquisitionInterface(a_parent), m_supported(a_supported)
{
}

ImperativeAcquisitionInterface::~ImperativeAcquisitionInterface() = default;

bool ImperativeAcquisitionInterface::canSetup()
{
    return false;
}

bool ImperativeAcquisitionInterface::canSetupMode()
{
    return false;
}

bool ImperativeAcquisitionInterface::isSetup()
{
    return false;
}

bool ImperativeAcquisitionInterface::setupMode(const QString&)
{
    return false;
}

QString ImperativeAcquisitionInterface::currentSetupMode()
{
    return {};
}

bool ImperativeAcquisitionInterface::cleanup()
{
    return false;
}

bool ImperativeAcquisitionInterface::trigger()
{
    return false;
}

bool ImperativeAcquisitionInterface::start()
{
    return false;
}

bool ImperativeAcquisitionInterface::startFixed(quint64)
{
    return false;
}

bool ImperativeAcquisitionInterface::pause()
{
    return false;
}

bool ImperativeAcquisitionInterface::stop()
{
    return false;
}

ImperativeAcquisitionInterface::State ImperativeAcquisitionInterface::acquisitionState()
{
    return isSetup() ? State::Stopped : State::NotSetUp;
}

quint64 ImperativeAcquisitionInterface::framesQueued()
{
    return 0;
}

quint64 ImperativeAcquisitionInterface::framesDropped()
{
    return 0;
}

quint64 ImperativeAcquisitionInterface::framesDelivered()
{
    return 0;
}

quint64 ImperativeAcquisitionInterface::framesFailed()
{
    return 0;
}

double ImperativeAcquisitionInterface::frameRate()
{
    return 0.0;
}

QString ImperativeAcquisitionInterface::interruption()
{
    return {};
}

} // namespace Viewport
