#include "elements/ModeCategoryElementBase.h"

#include "elements/ModeElement.h"

namespace Orvex {

ModeCategoryElementBase::ModeCategoryElementBase(const ModeCategoryElementBase* a_source, ModeElement* a_mode)
    : CategoryElementBase(a_source, a_mode), m_mode(a_mode)
{
    if (a_source)
        m_typeName = a_source->m_typeName;
}

ModeCategoryElementBase::~ModeCategoryElementBase() = default;

ModeElement* ModeCategoryElementBase::mode() const
{
    return m_mode;
}

void ModeCategoryElementBase::onRaise()
{
    if (m_mode)
        m_mode->activateCategory(this);
    CategoryElementBase::onRaise();
}

} // namespace Orvex
