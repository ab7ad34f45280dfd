#include "platform/CameraDriver.h"

#include "platform/CameraBus.h"
#include "platform/CameraNodes.h"

namespace QNCam {

namespace {

CameraBus& bus()
{
    return CameraBus::instance();
}

} // namespace

void CameraDriver::setInterfaces(const char* a_interfaces)
{
    bus().setInterfaces(a_interfaces ? a_interfaces : "");
}

void CameraDriver::searchInBackground(void (*a_listed)(void*), void* a_context)
{
    bus().searchInBackground(a_listed, a_context);
}

int CameraDriver::find(unsigned a_index, unsigned a_boardIndex, HwBrdEntry* a_entry)
{
    return bus().find(a_index, a_boardIndex, a_entry);
}

int CameraDriver::open(const HwBrdEntry& a_entry, unsigned a_firstCameraBoard, HwBrdHandle* a_handle)
{
    return bus().open(a_entry, a_firstCameraBoard, a_handle);
}

int CameraDriver::close(HwBrdHandle a_handle)
{
    return bus().close(a_handle);
}

bool CameraDriver::isOpen(HwBrdHandle a_handle)
{
    return bus().camera(a_handle) != nullptr;
}

int CameraDriver::strings(HwBrdHandle a_handle, std::string* a_model, std::string* a_serial)
{
    return bus().withCamera(a_handle, int(QNStatusBadHandle), [&](Camera& a_camera) -> int {
        *a_model = a_camera.m_vendor.empty() ? a_camera.m_model : a_camera.m_vendor + " " + a_camera.m_model;
        *a_serial = a_camera.m_serial;
        return QNStatusOk;
    });
}

int CameraDriver::readRegister(HwBrdHandle a_handle, std::uint32_t a_address, std::uint32_t* a_value)
{
    return bus().withCamera(a_handle, int(QNStatusBadHandle), [&](Camera& a_camera) {
        return CameraNodes::readRegister(a_camera, a_address, a_value);
    });
}

int CameraDriver::writeRegister(HwBrdHandle a_handle, std::uint32_t a_address, std::uint32_t a_value)
{
    return bus().withCamera(a_handle, int(QNStatusBadHandle), [&](Camera& a_camera) {
        return CameraNodes::writeRegister(a_camera, a_address, a_value);
    });
}

int CameraDriver::counters(HwBrdHandle a_handle, QNInterruptCounters* a_counters, bool a_clear)
{
    return bus().withCamera(a_handle, int(QNStatusBadHandle), [&](Camera& a_camera) -> int {
        if (a_clear)
            a_camera.m_counters = QNInterruptCounters();
        else
            *a_counters = a_camera.m_counters;
        return QNStatusOk;
    });
}

int CameraDriver::getFeature(HwBrdHandle a_handle, const std::string& a_name, std::string* a_value)
{
    return bus().withCamera(a_handle, int(QNStatusBadHandle), [&](Camera& a_camera) {
        return CameraNodes::getFeature(a_camera, a_name, a_value);
    });
}

int CameraDriver::setFeature(HwBrdHandle a_handle, const std::string& a_name, const std::string& a_value,
                             std::string* a_result)
{
    return bus().withCamera(a_handle, int(QNStatusBadHandle), [&](Camera& a_camera) {
        return CameraNodes::setFeature(a_camera, a_name, a_value, a_result);
    });
}

int CameraDriver::registerInfo(HwBrdHandle a_handle, unsigned a_index, std::string* a_name,
                               std::uint64_t* a_address, std::uint32_t* a_length)
{
    return bus().withCamera(a_handle, int(QNStatusBadHandle), [&](Camera& a_camera) {
        return CameraNodes::registerInfo(a_camera, a_index, a_name, a_address, a_length);
    });
}

} // namespace QNCam
