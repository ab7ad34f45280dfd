#include "board/CameraRegisterReader.h"

namespace Orvex {

CameraRegisterReader::CameraRegisterReader(QObject* a_parent) : QObject(a_parent)
{
    connect(this, &CameraRegisterReader::answered, this, [this] { --m_outstanding; });
}

CameraRegisterReader::~CameraRegisterReader()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_quit = true;
        m_requests.clear();
    }
    m_wake.notify_all();
    // An answer posted while this waits is discarded with the object's other posted events.
    if (m_thread.joinable())
        m_thread.join();
}

quint64 CameraRegisterReader::read(HwBrdHandle a_handle, quint32 a_address)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    // Started on first use: most windows never read a camera register.
    if (!m_thread.joinable())
        m_thread = std::thread(&CameraRegisterReader::readLoop, this);
    m_requests.push_back({++m_lastTicket, a_handle, a_address});
    ++m_outstanding;
    m_wake.notify_all();
    return m_lastTicket;
}

bool CameraRegisterReader::isReading() const
{
    return m_outstanding > 0;
}

void CameraRegisterReader::readLoop()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_quit || !m_requests.empty(); });
        if (m_quit)
            return;
        const Request request = m_requests.front();
        m_requests.pop_front();
        lock.unlock();
        std::uint32_t value = 0;
        const bool read = QNCXPReadReg(request.m_handle, request.m_address, &value) == QNStatusOk;
        QMetaObject::invokeMethod(
            this, [this, request, read, value] { emit answered(request.m_ticket, read, quint32(value)); },
            Qt::QueuedConnection);
        lock.lock();
    }
}

} // namespace Orvex
