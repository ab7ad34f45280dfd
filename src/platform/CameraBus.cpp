#include "platform/CameraBus.h"

#include <arv.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace QNCam {

namespace {

constexpr const char* DefaultInterfaces = "GigEVision,USB3Vision";
// Long enough that the several board lists a window fills at start share one search of the links.
constexpr std::int64_t ListingLifetimeUs = 5000000;

std::string text(const char* a_text)
{
    return a_text ? a_text : "";
}

std::vector<std::string> split(const std::string& a_list)
{
    std::vector<std::string> parts;
    std::stringstream stream(a_list);
    std::string part;
    while (std::getline(stream, part, ',')) {
        part.erase(0, part.find_first_not_of(' '));
        part.erase(part.find_last_not_of(' ') + 1);
        if (!part.empty())
            parts.push_back(part);
    }
    return parts;
}

void onControlLost(ArvDevice*, gpointer a_camera)
{
    static_cast<Camera*>(a_camera)->m_lost = true;
}

} // namespace

Camera::~Camera()
{
    if (!m_camera)
        return;
    if (m_lostHandler)
        g_signal_handler_disconnect(arv_camera_get_device(m_camera), m_lostHandler);
    g_object_unref(m_camera);
}

CameraBus& CameraBus::instance()
{
    static CameraBus s_bus;
    return s_bus;
}

void CameraBus::setInterfaces(const std::string& a_interfaces)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_interfacesChosen && a_interfaces == m_interfaces)
        return;
    m_interfaces = a_interfaces;
    m_interfacesChosen = true;
    m_listed = false;
}

void CameraBus::applyInterfacesLocked()
{
    if (!m_interfacesChosen) {
        const char* environment = std::getenv("ORVEX_CAMERAS");
        m_interfaces = environment ? environment : DefaultInterfaces;
        m_interfacesChosen = true;
    }
}

int CameraBus::find(unsigned a_index, unsigned a_boardIndex, HwBrdEntry* a_entry)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    applyInterfacesLocked();
    const std::int64_t now = g_get_monotonic_time();
    if (!m_listed || (a_index == 0 && now - m_listedAtUs > ListingLifetimeUs))
        listLocked();
    if (a_index >= m_cameras.size())
        return QNStatusNoSuchBoard;
    a_entry->m_index = a_boardIndex;
    a_entry->m_machineLoad = EntryTag | m_generation;
    return QNStatusOk;
}

void CameraBus::listLocked()
{
    const std::vector<std::string> wanted = split(m_interfaces);
    std::vector<Listed> cameras;
    // Without a link to search Aravis is left untouched altogether.
    if (!wanted.empty() && wanted != std::vector<std::string>{"none"}) {
        for (unsigned i = 0; i < arv_get_n_interfaces(); ++i) {
            const std::string id = text(arv_get_interface_id(i));
            if (std::find(wanted.begin(), wanted.end(), id) != wanted.end())
                arv_enable_interface(id.c_str());
            else
                arv_disable_interface(id.c_str());
        }
        arv_update_device_list();
        for (unsigned i = 0; i < arv_get_n_devices(); ++i) {
            cameras.push_back({text(arv_get_device_id(i)), text(arv_get_device_protocol(i)),
                               text(arv_get_device_vendor(i)), text(arv_get_device_model(i)),
                               text(arv_get_device_serial_nbr(i))});
        }
    }
    m_cameras = std::move(cameras);
    m_listed = true;
    m_listedAtUs = g_get_monotonic_time();
    ++m_generation;
}

int CameraBus::open(const HwBrdEntry& a_entry, unsigned a_firstCameraBoard, HwBrdHandle* a_handle)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if ((a_entry.m_machineLoad & ~EntryTag) != m_generation || a_entry.m_index < a_firstCameraBoard ||
        a_entry.m_index - a_firstCameraBoard >= m_cameras.size())
        return QNStatusNoSuchBoard;
    const Listed& listed = m_cameras[a_entry.m_index - a_firstCameraBoard];
    std::shared_ptr<Camera> camera = m_byId[listed.m_id].lock();
    if (!camera || camera->m_lost) {
        GError* error = nullptr;
        ArvCamera* opened = arv_camera_new(listed.m_id.c_str(), &error);
        if (!opened) {
            g_clear_error(&error);
            return QNStatusNoSuchBoard;
        }
        camera = std::make_shared<Camera>();
        camera->m_id = listed.m_id;
        camera->m_protocol = listed.m_protocol;
        camera->m_vendor = listed.m_vendor;
        camera->m_model = listed.m_model;
        camera->m_serial = listed.m_serial;
        camera->m_camera = opened;
        camera->m_lostHandler = g_signal_connect(arv_camera_get_device(opened), "control-lost",
                                                 G_CALLBACK(onControlLost), camera.get());
        m_byId[listed.m_id] = camera;
    }
    *a_handle = ++m_lastHandle;
    m_open.emplace(*a_handle, std::move(camera));
    return QNStatusOk;
}

int CameraBus::close(HwBrdHandle a_handle)
{
    std::shared_ptr<Camera> camera;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = m_open.find(a_handle);
        if (it == m_open.end())
            return QNStatusBadHandle;
        camera = std::move(it->second);
        m_open.erase(it);
    }
    // The last handle lets the camera go here, outside the bus lock: closing a GigE Vision connection
    // waits for the camera's answer.
    camera.reset();
    return QNStatusOk;
}

std::shared_ptr<Camera> CameraBus::camera(HwBrdHandle a_handle)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_open.find(a_handle);
    return it == m_open.end() ? nullptr : it->second;
}

} // namespace QNCam
