#include "board/ViewportFrameLock.h"

namespace Viewport {

FrameLock::FrameLock() = default;

FrameLock::~FrameLock() = default;

void FrameLock::lock()
{
    m_mutex.lock();
}

void FrameLock::unlock()
{
    m_mutex.unlock();
}

bool FrameLock::try_lock()
{
    return m_mutex.try_lock();
}

} // namespace Viewport
