#include "platform/BufferAcquisitionDevice.h"

#include "platform/BufferAcquisitionStreamer.h"
#include "platform/QNDriver.h"
#include "platform/QNExceptionBase.h"

namespace BufferAcquisition {

bool Device::isAvailable()
{
    return true;
}

Device::Device(const Streamer& a_streamer) : m_streamer(a_streamer)
{
    if (!m_streamer.isOpen())
        throw QNExceptionBase("Device::Device failed: no board is open", QNStatusBadHandle);
}

bool Device::hasNode(const std::string& a_name) const
{
    return findNode(a_name).has_value();
}

std::string Device::enumerationValue(const std::string& a_name) const
{
    const std::optional<std::string> value = findNode(a_name);
    if (!value)
        throw QNExceptionBase("Device::enumerationValue failed: the camera has no node \"" + a_name + "\"",
                              QNStatusNotFound);
    return *value;
}

std::optional<std::string> Device::findNode(const std::string& a_name) const
{
    // A camera reached directly answers for itself: what it took of the mode is what it delivers.
    const HwBrdHandle handle = m_streamer.handle();
    if (QNIsCamera(handle)) {
        char value[QNStringBufferSize];
        if (QNCamGetFeature(handle, a_name.c_str(), value) != QNStatusOk)
            return std::nullopt;
        return std::string(value);
    }
    return m_streamer.modeFeature(a_name);
}

} // namespace BufferAcquisition
