#pragma once

#include "platform/QNDriver.h"

#include <QObject>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace Orvex {

// Reads camera registers on a thread of its own, one after the other in the order asked, so that a
// camera slow to answer never holds up the window. Each answer comes back through the event queue of
// the thread that made this object; reads still waiting when it goes are dropped unanswered.
class CameraRegisterReader : public QObject
{
    Q_OBJECT

public:
    explicit CameraRegisterReader(QObject* a_parent = nullptr);
    ~CameraRegisterReader() override;

    // Asks for the register at a_address of the camera behind a_handle; answered() carries the ticket
    // returned here. Tickets grow with every request.
    quint64 read(HwBrdHandle a_handle, quint32 a_address);
    // Whether an answer is still to come.
    bool isReading() const;

signals:
    // a_read is false when nothing answered at the address.
    void answered(quint64 a_ticket, bool a_read, quint32 a_value);

private:
    struct Request
    {
        quint64 m_ticket = 0;
        HwBrdHandle m_handle = HwNoBoard;
        quint32 m_address = 0;
    };

    void readLoop();

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Request> m_requests;
    bool m_quit = false;
    quint64 m_lastTicket = 0;
    // Counted on this object's thread: asked minus answered.
    int m_outstanding = 0;
    std::thread m_thread;
};

} // namespace Orvex
