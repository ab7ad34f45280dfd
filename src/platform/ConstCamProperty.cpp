#include "platform/ConstCamProperty.h"

namespace Lumex {

ConstCamProperty::ConstCamProperty() = default;

ConstCamProperty::ConstCamProperty(const CamProperty& a_property) : m_property(a_property)
{
}

ConstCamProperty::ConstCamProperty(const Error& a_reason)
{
    error_clone(a_reason);
}

ConstCamProperty::ConstCamProperty(const ConstCamProperty& a_other) = default;

ConstCamProperty& ConstCamProperty::operator=(const ConstCamProperty& a_other) = default;

ConstCamProperty::~ConstCamProperty() = default;

bool ConstCamProperty::operator!() const
{
    return m_property.isNull();
}

bool ConstCamProperty::isNull() const
{
    return m_property.isNull();
}

Error ConstCamProperty::error() const
{
    if (ErrorHandlerBase::operator!())
        return Error(static_cast<const ErrorHandlerBase&>(*this));
    if (m_property.isNull())
        return Error("Null property", "The property refers to no node.", nullptr);
    return Error();
}

ConstCamProperty ConstCamProperty::child(const char* a_name, unsigned a_index) const
{
    if (m_property.isNull())
        return *this;
    return m_property.child(a_name, a_index);
}

ConstCamProperty ConstCamProperty::operator[](const char* a_name) const
{
    return child(a_name, 0);
}

CamProperty::const_iterator ConstCamProperty::begin(const char* a_name) const
{
    return m_property.begin(a_name);
}

CamProperty::const_iterator ConstCamProperty::end(const char* a_name) const
{
    return m_property.end(a_name);
}

CamProperty::const_iterator ConstCamProperty::cbegin(const char* a_name) const
{
    return m_property.cbegin(a_name);
}

CamProperty::const_iterator ConstCamProperty::cend(const char* a_name) const
{
    return m_property.cend(a_name);
}

} // namespace Lumex
