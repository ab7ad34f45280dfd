#pragma once

#include <mutex>

namespace Viewport {

// Guards the frame an acquisition hands to the viewer: the acquisition's thread holds it while it
// replaces the frame, the viewer while it reads it. Not recursive.
class FrameLock
{
public:
    FrameLock();
    FrameLock(const FrameLock&) = delete;
    FrameLock& operator=(const FrameLock&) = delete;
    ~FrameLock();

    void lock();
    void unlock();
    bool try_lock();

private:
    std::mutex m_mutex;
};

} // namespace Viewport
