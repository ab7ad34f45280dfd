#pragma once

#include <QObject>
#include <QPointer>

#include <vector>

namespace Orvex {

class ElementBase;

// Defers raise and lower operations of elements to the event loop, so that everything one event
// triggers is queued before any of it acts, and acts in the order it was asked for.
class ElementBaseDelayQueue : public QObject
{
    Q_OBJECT

public:
    enum Operation : int
    {
        OperationRaise = 0,
        OperationLower = 1,
    };

    // Created on first use as a child of the application object. Without an application object the
    // queue has no parent and only a direct flush() runs it.
    static ElementBaseDelayQueue* instance();

    void enqueue(int a_type, ElementBase* a_element);

signals:
    void doFlushOps();

public slots:
    void flush();

private:
    struct Entry
    {
        int type;
        QPointer<ElementBase> element;
    };

    explicit ElementBaseDelayQueue(QObject* a_parent);

    std::vector<Entry> m_entries;
};

} // namespace Orvex
