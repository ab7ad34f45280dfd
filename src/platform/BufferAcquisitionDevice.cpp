#include "platform/BufferAcquisitionDevice.h"

#include "platform/BufferAcquisitionStreamer.h"
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
    return m_streamer.modeFeature(a_name);
}

} // namespace BufferAcquisition
