#include "elements/ElementBase.h"

#include "elements/ElementBaseDelayQueue.h"

#include <array>
#include <atomic>
#include <limits>
#include <memory>
#include <unordered_map>
#include <vector>

namespace Orvex {

namespace {

std::atomic<quint64> s_nextId{1};
std::atomic<quint64> s_nameGeneration{0};

// Elements by id. Ids come from a counter, so nearly all of them are dense: a table of pages indexed by
// the id finds one without hashing, and registering the tens of thousands of elements of a large file
// allocates a page per few thousand instead of a node each. An id given explicitly far beyond the counter
// (a test's, a foreign one) goes to a hash instead, so that it cannot make the table huge.
class Registry
{
public:
    ElementBase* find(quint64 a_id) const
    {
        if (a_id < DenseLimit) {
            const size_t page = size_t(a_id >> PageBits);
            return page < m_pages.size() && m_pages[page] ? m_pages[page]->entries[a_id & PageMask] : nullptr;
        }
        const auto it = m_sparse.find(a_id);
        return it == m_sparse.end() ? nullptr : it->second;
    }

    void set(quint64 a_id, ElementBase* a_element)
    {
        if (a_id >= DenseLimit) {
            m_sparse[a_id] = a_element;
            return;
        }
        const size_t page = size_t(a_id >> PageBits);
        if (page >= m_pages.size())
            m_pages.resize(page + 1);
        if (!m_pages[page])
            m_pages[page] = std::make_unique<Page>();
        ElementBase*& slot = m_pages[page]->entries[a_id & PageMask];
        if (!slot)
            ++m_pages[page]->used;
        slot = a_element;
    }

    // Only drops the entry if it still points at a_element: an id handed to another element through
    // setId must stay findable when its former holder goes away.
    void remove(quint64 a_id, const ElementBase* a_element)
    {
        if (a_id >= DenseLimit) {
            const auto it = m_sparse.find(a_id);
            if (it != m_sparse.end() && it->second == a_element)
                m_sparse.erase(it);
            return;
        }
        const size_t page = size_t(a_id >> PageBits);
        if (page >= m_pages.size() || !m_pages[page])
            return;
        ElementBase*& slot = m_pages[page]->entries[a_id & PageMask];
        if (slot != a_element)
            return;
        slot = nullptr;
        // Ids are never handed out twice, so a page whose elements are all gone is not needed again.
        if (--m_pages[page]->used == 0)
            m_pages[page].reset();
    }

private:
    static constexpr int PageBits = 12;
    static constexpr quint64 PageMask = (quint64(1) << PageBits) - 1;
    static constexpr quint64 DenseLimit = quint64(1) << 32;

    struct Page
    {
        std::array<ElementBase*, size_t(1) << PageBits> entries{};
        int used = 0;
    };

    std::vector<std::unique_ptr<Page>> m_pages;
    std::unordered_map<quint64, ElementBase*> m_sparse;
};

// Function-local so that it exists before the first element registers, whenever that happens.
Registry& registry()
{
    static Registry s_registry;
    return s_registry;
}

void registerElement(quint64 a_id, ElementBase* a_element)
{
    if (a_id != 0)
        registry().set(a_id, a_element);
}

void unregisterElement(quint64 a_id, const ElementBase* a_element)
{
    if (a_id != 0)
        registry().remove(a_id, a_element);
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
    return a_id == 0 ? nullptr : registry().find(a_id);
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
    // Naming an element for the first time, as building a mode does for each of its categories,
    // renames nothing shown anywhere; counting it would have the next edit compare every mode's label.
    if (a_name != m_name && !m_name.isEmpty())
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
