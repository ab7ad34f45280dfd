#include "elements/ElementBaseDelayQueue.h"

#include "elements/ElementBase.h"

#include <QCoreApplication>
#include <QMessageLogger>

namespace Orvex {

ElementBaseDelayQueue* ElementBaseDelayQueue::instance()
{
    // Guarded, so that a queue destroyed with one application object is made anew for the next.
    static QPointer<ElementBaseDelayQueue> s_instance;
    if (!s_instance)
        s_instance = new ElementBaseDelayQueue(QCoreApplication::instance());
    return s_instance;
}

ElementBaseDelayQueue::ElementBaseDelayQueue(QObject* a_parent) : QObject(a_parent)
{
    connect(this, &ElementBaseDelayQueue::doFlushOps, this, &ElementBaseDelayQueue::flush,
            Qt::QueuedConnection);
}

void ElementBaseDelayQueue::enqueue(int a_type, ElementBase* a_element)
{
    m_entries.push_back(Entry{a_type, a_element});
    if (m_entries.size() == 1)
        emit doFlushOps();
}

void ElementBaseDelayQueue::flush()
{
    // Operations queued by the ones run here belong to the next pass.
    std::vector<Entry> entries;
    entries.swap(m_entries);

    for (const Entry& entry : entries) {
        ElementBase* element = entry.element.data();
        if (!element)
            continue;
        switch (entry.type) {
        case OperationRaise:
            element->p_raise();
            break;
        case OperationLower:
            element->p_lower();
            break;
        default:
            QMessageLogger("ElementBaseDelayQueue", 63,
                           "void __thiscall Orvex::ElementBaseDelayQueue::flush(void)")
                .debug("Unknown operation type with ID = %d.", entry.type);
            break;
        }
    }
}

} // namespace Orvex
