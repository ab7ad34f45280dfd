#pragma once

#include "platform/CamProperty.h"
#include "platform/ErrorHandlerBase.h"

#include <cstddef>
#include <iterator>
#include <string>

namespace Lumex {

// A read-only handle as returned by navigation: the CamProperty it wraps, and, when navigation
// failed, the reason (the wrapped handle is then null). Read operations are forwarded.
class ConstCamProperty : public ErrorHandlerBase
{
public:
    ConstCamProperty();
    ConstCamProperty(const CamProperty& a_property);
    // A null handle carrying the diagnostics of a_reason.
    explicit ConstCamProperty(const Error& a_reason);
    ConstCamProperty(const ConstCamProperty& a_other);
    ConstCamProperty& operator=(const ConstCamProperty& a_other);
    ~ConstCamProperty() override;

    // True when the handle is null, whether or not a reason was recorded.
    bool operator!() const;
    bool isNull() const;
    // Why navigation failed; true when it did not.
    Error error() const;

    const CamProperty& property() const { return m_property; }
    operator const CamProperty&() const { return m_property; }
    const CamProperty* operator->() const { return &m_property; }

    const char* name() const { return m_property.name(); }
    bool is(unsigned a_kind) const { return m_property.is(a_kind); }
    unsigned line() const { return m_property.line(); }
    unsigned attribute_count() const { return m_property.attribute_count(); }
    const char* attribute(unsigned a_index) const { return m_property.attribute(a_index); }
    Error get(const char* a_attribute, const char*& a_value) const
    {
        return m_property.get(a_attribute, a_value);
    }
    Error get(const char*& a_value) const { return m_property.get(a_value); }
    const char* get() const { return m_property.get(); }
    Error get(const char* a_attribute, int& a_value) const { return m_property.get(a_attribute, a_value); }
    Error get(const char* a_attribute, unsigned& a_value) const
    {
        return m_property.get(a_attribute, a_value);
    }
    Error get(const char* a_attribute, double& a_value) const { return m_property.get(a_attribute, a_value); }
    unsigned count(const char* a_name) const { return m_property.count(a_name); }
    ConstCamProperty child(const char* a_name, unsigned a_index) const;
    ConstCamProperty operator[](const char* a_name) const;
    CamProperty::const_iterator begin(const char* a_name = nullptr) const;
    CamProperty::const_iterator end(const char* a_name = nullptr) const;
    CamProperty::const_iterator cbegin(const char* a_name = nullptr) const;
    CamProperty::const_iterator cend(const char* a_name = nullptr) const;

private:
    // Steps along the siblings by moving the node the handle holds, without a new handle per child.
    friend class CamProperty::const_iterator;

    CamProperty m_property;
};

// Walks the children of one node that bear one name (or all children). Past the last one it
// dereferences to a null handle that records why.
class CamProperty::const_iterator
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = ConstCamProperty;
    using difference_type = std::ptrdiff_t;
    using pointer = const ConstCamProperty*;
    using reference = const ConstCamProperty&;

    const_iterator();
    const_iterator(const const_iterator& a_other);
    const_iterator& operator=(const const_iterator& a_other);
    virtual ~const_iterator();

    reference operator*() const;
    pointer operator->() const;
    const_iterator& operator++();
    const_iterator operator++(int);
    bool operator==(const const_iterator& a_other) const;
    bool operator!=(const const_iterator& a_other) const;
    // The end of the sequence this iterator walks.
    const_iterator end() const;

private:
    friend class CamProperty;

    const_iterator(_xmlNode* a_parent, _xmlNode* a_current, const char* a_name);
    void recordEnd() const;

    _xmlNode* m_parent = nullptr;
    mutable ConstCamProperty m_current;
    std::string m_name;
    bool m_anyName = true;
};

} // namespace Lumex
