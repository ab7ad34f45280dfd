#pragma once

#include "platform/CameraDriver.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

struct _ArvCamera;

namespace QNCam {

// One camera opened through Aravis, shared by every handle open on it: a GigE Vision camera grants
// control to one connection only, so the data source and a preview of the same camera must share it.
// Aravis device access is not thread-safe; m_mutex guards every call that reaches the camera.
struct Camera
{
    Camera() = default;
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;
    ~Camera();

    // Connects to the camera on first use, so that listing and naming boards never waits for a camera;
    // false when it cannot be reached or stopped answering. Called under m_mutex.
    bool reach();

    std::string m_id;
    std::string m_protocol;
    std::string m_vendor;
    std::string m_model;
    std::string m_serial;
    std::mutex m_mutex;
    // Null until reach() connects.
    _ArvCamera* m_camera = nullptr;
    unsigned long m_lostHandler = 0;
    // Set from Aravis's own threads when the camera stops answering.
    std::atomic<bool> m_lost{false};
    // Guarded by m_mutex.
    QNInterruptCounters m_counters;
    struct NamedRegister
    {
        std::string m_name;
        std::uint64_t m_address = 0;
        std::uint32_t m_length = 0;
    };
    // Read from the GenICam description on first use; guarded by m_mutex.
    std::vector<NamedRegister> m_registers;
    bool m_registersRead = false;
};

// The GenICam cameras Aravis finds, numbered as boards after the simulated ones. Listing a GigE Vision
// link takes about a second, so the list is kept and only taken anew when a search starts again at the
// first camera and the list is older than a few seconds. Once searches are asked to run in the
// background, a search of the GigE Vision or USB3 Vision links runs on a thread of its own while find()
// answers from the list of the search before; a search of no link or of the in-process test camera only
// is quick and still runs at once.
class CameraBus
{
public:
    using Listed = void (*)(void*);

    static constexpr std::uint64_t EntryTag = CameraDriver::EntryTag;
    static constexpr HwBrdHandle HandleTag = CameraDriver::HandleTag;

    static CameraBus& instance();

    ~CameraBus();

    void setInterfaces(const std::string& a_interfaces);
    // a_listed(a_context) is called on the search's thread each time a search in the background ends;
    // a null a_listed makes searches run at once again. After the call returns, an earlier a_listed is
    // no longer called.
    void searchInBackground(Listed a_listed, void* a_context);

    // a_index counts the cameras alone; a_boardIndex is the board number the entry stands for.
    int find(unsigned a_index, unsigned a_boardIndex, HwBrdEntry* a_entry);
    int open(const HwBrdEntry& a_entry, unsigned a_firstCameraBoard, HwBrdHandle* a_handle);
    int close(HwBrdHandle a_handle);

    // The camera a_handle is open on; null for a handle that is not open.
    std::shared_ptr<Camera> camera(HwBrdHandle a_handle);

    // Runs a_function on the camera of a_handle under the camera's lock; a_failure for a handle that is
    // not open, QNStatusCameraLost-like failures are the function's to report.
    template <typename Result, typename Function>
    Result withCamera(HwBrdHandle a_handle, Result a_failure, Function&& a_function)
    {
        const std::shared_ptr<Camera> camera = this->camera(a_handle);
        if (!camera)
            return a_failure;
        std::lock_guard<std::mutex> lock(camera->m_mutex);
        return a_function(*camera);
    }

private:
    struct Found
    {
        std::string m_id;
        std::string m_protocol;
        std::string m_vendor;
        std::string m_model;
        std::string m_serial;
    };

    CameraBus() = default;
    // Searches the links named in a_interfaces; takes no lock, Aravis serialises its own listing.
    static std::vector<Found> search(const std::string& a_interfaces);
    void takeListLocked(std::vector<Found> a_cameras);
    bool searchesSlowLinksLocked() const;
    void startSearchLocked();
    void applyInterfacesLocked();

    std::mutex m_mutex;
    Listed m_listed = nullptr;
    void* m_listedContext = nullptr;
    bool m_searching = false;
    std::thread m_search;
    std::string m_interfaces;
    bool m_interfacesChosen = false;
    bool m_haveList = false;
    std::int64_t m_listedAtUs = 0;
    std::uint64_t m_generation = 0;
    std::vector<Found> m_cameras;
    std::unordered_map<std::string, std::weak_ptr<Camera>> m_byId;
    std::unordered_map<HwBrdHandle, std::shared_ptr<Camera>> m_open;
    HwBrdHandle m_lastHandle = HandleTag;
};

} // namespace QNCam
