#pragma once

#include "elements/ElementBase.h"

#include <QString>
#include <QVector>

namespace Orvex {

// The way from a root element down to another element, as child positions, one step per element on the
// way: the camera of a window (0), a mode of the camera or its global category (-1), a category of a
// mode, a feature of a category or a generic mode category's own category feature (-1), and, for a
// feature list, two steps: the instance and the member within it. Commands keep locators rather than
// pointers, so that they still find an element that was destroyed and made again in the same place.
class ElementLocator
{
public:
    // The step that names an element's one special child: the camera's global category, a generic mode
    // category's category feature.
    static constexpr int SpecialChild = -1;

    // Leads nowhere.
    ElementLocator() = default;

    // The way from a_root down to a_element; one that leads nowhere when a_element is not below a_root
    // (a mode taken out of its camera, a list's member template). a_element equal to a_root gives the
    // empty way, which resolves to the root itself.
    static ElementLocator locate(const ElementBase* a_root, const ElementBase* a_element);

    // The element the way leads to from a_root at this moment; null without a root, for a locator that
    // leads nowhere and where a position lies beyond the children there are.
    ElementBase* resolve(ElementBase* a_root) const;
    template <class T>
    T* resolveAs(ElementBase* a_root) const
    {
        return qobject_cast<T*>(resolve(a_root));
    }

    // One step further down, from where this locator leads; leads nowhere when this one does.
    ElementLocator child(int a_step) const;

    bool isValid() const { return m_valid; }
    QVector<int> steps() const { return m_steps; }

    // Where a_element stands, for the user: the names from its mode (or the global category) down to
    // the element, joined with " > ". A generic mode category's category feature stands for its
    // category, and unnamed elements are left out.
    static QString namePath(const ElementBase* a_element);

    bool operator==(const ElementLocator& a_other) const
    {
        return m_valid == a_other.m_valid && m_steps == a_other.m_steps;
    }
    bool operator!=(const ElementLocator& a_other) const { return !(*this == a_other); }

private:
    QVector<int> m_steps;
    bool m_valid = false;
};

} // namespace Orvex
