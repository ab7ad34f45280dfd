#include "board/ViewportScopedFrameLock.h"

#include "board/ViewportFrameLock.h"

#include <utility>

namespace Viewport {

ScopedFrameLock::ScopedFrameLock() = default;

ScopedFrameLock::ScopedFrameLock(FrameLock& a_lock) : m_lock(&a_lock)
{
    m_lock->lock();
}

ScopedFrameLock::ScopedFrameLock(ScopedFrameLock&& a_other) noexcept
    : m_lock(std::exchange(a_other.m_lock, nullptr))
{
}

ScopedFrameLock& ScopedFrameLock::operator=(ScopedFrameLock&& a_other) noexcept
{
    if (this != &a_other) {
        unlock();
        m_lock = std::exchange(a_other.m_lock, nullptr);
    }
    return *this;
}

ScopedFrameLock::~ScopedFrameLock()
{
    unlock();
}

void ScopedFrameLock::unlock()
{
    if (m_lock)
        std::exchange(m_lock, nullptr)->unlock();
}

} // namespace Viewport
