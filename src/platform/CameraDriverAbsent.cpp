// The camera side of the driver in a build without camera support: no links, so no cameras, and every
// handle a caller might make up is not open.
#include "platform/CameraDriver.h"

namespace QNCam {

void CameraDriver::setInterfaces(const char*)
{
}

// No link is ever searched, so there is never a search to report.
void CameraDriver::searchInBackground(void (*)(void*), void*)
{
}

int CameraDriver::find(unsigned, unsigned, HwBrdEntry*)
{
    return QNStatusNoSuchBoard;
}

int CameraDriver::open(const HwBrdEntry&, unsigned, HwBrdHandle*)
{
    return QNStatusNoSuchBoard;
}

int CameraDriver::close(HwBrdHandle)
{
    return QNStatusBadHandle;
}

bool CameraDriver::isOpen(HwBrdHandle)
{
    return false;
}

int CameraDriver::strings(HwBrdHandle, std::string*, std::string*)
{
    return QNStatusBadHandle;
}

int CameraDriver::readRegister(HwBrdHandle, std::uint32_t, std::uint32_t*)
{
    return QNStatusBadHandle;
}

int CameraDriver::writeRegister(HwBrdHandle, std::uint32_t, std::uint32_t)
{
    return QNStatusBadHandle;
}

int CameraDriver::counters(HwBrdHandle, QNInterruptCounters*, bool)
{
    return QNStatusBadHandle;
}

int CameraDriver::getFeature(HwBrdHandle, const std::string&, std::string*)
{
    return QNStatusBadHandle;
}

int CameraDriver::setFeature(HwBrdHandle, const std::string&, const std::string&, std::string*)
{
    return QNStatusBadHandle;
}

int CameraDriver::registerInfo(HwBrdHandle, unsigned, std::string*, std::uint64_t*, std::uint32_t*)
{
    return QNStatusBadHandle;
}

} // namespace QNCam
