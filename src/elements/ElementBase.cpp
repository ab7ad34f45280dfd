#include "elements/ElementBase.h"

#include "elements/ElementBaseDelayQueue.h"

#include <atomic>
#include <limits>
#include <unordered_map>

namespace Orvex {

namespace {

std::atomic<quint64> s_nextId{1};
std::atomic<quint64> s_nameGeneration{0};

// Function-local so that it exists before the first element registers, whenever that happens. Only
// ever looked up by id, never walked in order, so it is hashed: a large file registers tens of
// thousands of elements.
std::unordered_map<quint64, ElementBase*>& registry()
{
    static std::unordered_map<quint64, ElementBase*> s_registry;
    return s_registry;
}

void registerElement(quint64 a_id, ElementBase* a_element)
{
    if (a_id != 0)
        registry()[a_id] = a_element;
}

// Only drops the entry if it still points at a_element: an id handed to another element through
// setId must stay findable when its former holder goes away.
void unregisterElement(quint64 a_id, const ElementBase* a_element)
{
    if (a_id == 0)
        return;
    auto& elements = registry();
    const auto it = elements.find(a_id);
    if (it != elements.end() && it->second == a_element)
        elements.erase(it);
}

// An id given explicitly must never be handed out again by the counter.
void reserveId(quint64 a_id)
{
    if (a_id == std::numeric_limits<quint64>::max())
        return;
    quint64 next = s_nextId.load();
    while (next <= a_id && !s_nextId.compare_exchange_weak(next, a_id + 1)) {
    }
}

} // namespace

ElementBase::ElementBase(QObject* a_parent) : QObject(a_parent), m_id(s_nextId.fetch_add(1))
{
    registerElement(m_id, this);
}

ElementBase::ElementBase(const ElementBase* a_source, QObject* a_parent) : ElementBase(a_parent)
{
    if (a_source) {
        m_name = a_source->m_name;
        m_annotation = a_source->m_annotation;
        m_elementPath = a_source->m_elementPath;
    }
}

ElementBase::~ElementBase()
{
    unregisterElement(m_id, this);
}

ElementBase* ElementBase::findById(quint64 a_id)
{
    if (a_id == 0)
        return nullptr;
    const auto& elements = registry();
    const auto it = elements.find(a_id);
    return it == elements.end() ? nullptr : it->second;
}

void ElementBase::setId(quint64 a_id)
{
    if (a_id == m_id)
        return;
    unregisterElement(m_id, this);
    m_id = a_id;
    reserveId(a_id);
    registerElement(m_id, this);
}

void ElementBase::setName(const QString& a_name)
{
    if (a_name != m_name)
        ++s_nameGeneration;
    m_name = a_name;
}

quint64 ElementBase::nameGeneration()
{
    return s_nameGeneration;
}

void ElementBase::setAnnotation(const QString& a_annotation)
{
    m_annotation = a_annotation;
}

void ElementBase::setElementPath(const QStringList& a_elementPath)
{
    if (a_elementPath == m_elementPath)
        return;
    m_elementPath = a_elementPath;
}

bool ElementBase::isActive() const
{
    if (!m_raised)
        return false;
    const auto* parentElement = qobject_cast<const ElementBase*>(parent());
    return !parentElement || parentElement->isActive();
}

void ElementBase::raise()
{
    p_raise();
}

void ElementBase::lower()
{
    p_lower();
}

void ElementBase::raiseLater()
{
    ElementBaseDelayQueue::instance()->enqueue(ElementBaseDelayQueue::OperationRaise, this);
}

void ElementBase::lowerLater()
{
    ElementBaseDelayQueue::instance()->enqueue(ElementBaseDelayQueue::OperationLower, this);
}

void ElementBase::p_raise()
{
    if (m_raised)
        return;
    m_raised = true;
    onRaise();
}

void ElementBase::p_lower()
{
    if (!m_raised)
        return;
    m_raised = false;
    onLower();
}

} // namespace Orvex
