#pragma once

namespace Viewport {

class FrameLock;

// Holds a frame lock until it goes out of scope. An empty one (default-constructed, moved from, or
// handed out by an acquisition that has no frames) holds nothing and tests false.
class ScopedFrameLock
{
public:
    ScopedFrameLock();
    explicit ScopedFrameLock(FrameLock& a_lock);
    ScopedFrameLock(ScopedFrameLock&& a_other) noexcept;
    ScopedFrameLock& operator=(ScopedFrameLock&& a_other) noexcept;
    ScopedFrameLock(const ScopedFrameLock&) = delete;
    ScopedFrameLock& operator=(const ScopedFrameLock&) = delete;
    ~ScopedFrameLock();

    bool ownsLock() const { return m_lock != nullptr; }
    explicit operator bool() const { return ownsLock(); }
    void unlock();

private:
    FrameLock* m_lock = nullptr;
};

} // namespace Viewport
