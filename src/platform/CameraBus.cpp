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

bool Camera::reach()
{
    if (m_camera || m_lost)
        return !m_lost;
    GError* error = nullptr;
    m_camera = arv_camera_new(m_id.c_str(), &error);
    if (!m_camera) {
        g_clear_error(&error);
        m_lost = true;
        return false;
    }
    m_lostHandler =
        g_signal_connect(arv_camera_get_device(m_camera), "control-lost", G_CALLBACK(onControlLost), this);
    return true;
}

CameraBus& CameraBus::instance()
{
    static CameraBus s_bus;
    return s_bus;
}

CameraBus::~CameraBus()
{
    searchInBackground(nullptr, nullptr);
    if (m_search.joinable())
        m_search.join();
}

void CameraBus::setInterfaces(const std::string& a_interfaces)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_interfacesChosen && a_interfaces == m_interfaces)
        return;
    m_interfaces = a_interfaces;
    m_interfacesChosen = true;
    // The cameras of other links are not listed while these are searched.
    takeListLocked({});
    m_haveList = false;
}

void CameraBus::searchInBackground(Listed a_listed, void* a_context)
{
    // The search's thread calls back under this lock, so no call to an earlier a_listed outlives this.
    std::lock_guard<std::mutex> lock(m_mutex);
    m_listed = a_listed;
    m_listedContext = a_context;
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
    if (!m_haveList || (a_index == 0 && now - m_listedAtUs > ListingLifetimeUs)) {
        if (m_listed && searchesSlowLinksLocked())
            startSearchLocked();
        else
            takeListLocked(search(m_interfaces));
    }
    if (a_index >= m_cameras.size())
        return QNStatusNoSuchBoard;
    a_entry->m_index = a_boardIndex;
    a_entry->m_machineLoad = EntryTag | m_generation;
    return QNStatusOk;
}

bool CameraBus::searchesSlowLinksLocked() const
{
    for (const std::string& link : split(m_interfaces)) {
        if (link == "GigEVision" || link == "USB3Vision")
            return true;
    }
    return false;
}

void CameraBus::startSearchLocked()
{
    if (m_searching)
        return;
    // A thread that has ended still waits to be joined; joining it takes no time.
    if (m_search.joinable())
        m_search.join();
    m_searching = true;
    m_search = std::thread([this, interfaces = m_interfaces] {
        std::vector<Found> cameras = search(interfaces);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_searching = false;
        // Links chosen anew meanwhile are searched by the next find().
        if (interfaces != m_interfaces)
            return;
        takeListLocked(std::move(cameras));
        if (m_listed)
            m_listed(m_listedContext);
    });
}

std::vector<CameraBus::Found> CameraBus::search(const std::string& a_interfaces)
{
    const std::vector<std::string> wanted = split(a_interfaces);
    std::vector<Found> cameras;
    // Without a link to search Aravis is left untouched altogether.
    if (wanted.empty() || wanted == std::vector<std::string>{"none"})
        return cameras;
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
    return cameras;
}

void CameraBus::takeListLocked(std::vector<Found> a_cameras)
{
    m_cameras = std::move(a_cameras);
    m_haveList = true;
    m_listedAtUs = g_get_monotonic_time();
    ++m_generation;
}

int CameraBus::open(const HwBrdEntry& a_entry, unsigned a_firstCameraBoard, HwBrdHandle* a_handle)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if ((a_entry.m_machineLoad & ~EntryTag) != m_generation || a_entry.m_index < a_firstCameraBoard ||
        a_entry.m_index - a_firstCameraBoard >= m_cameras.size())
        return QNStatusNoSuchBoard;
    const Found& listed = m_cameras[a_entry.m_index - a_firstCameraBoard];
    std::shared_ptr<Camera> camera = m_byId[listed.m_id].lock();
    if (!camera || camera->m_lost) {
        camera = std::make_shared<Camera>();
        camera->m_id = listed.m_id;
        camera->m_protocol = listed.m_protocol;
        camera->m_vendor = listed.m_vendor;
        camera->m_model = listed.m_model;
        camera->m_serial = listed.m_serial;
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
