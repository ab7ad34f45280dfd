#pragma once

#include "elements/ElementLocator.h"
#include "elements/UndoRedoBase.h"

#include <QByteArray>
#include <QPointer>
#include <QVariant>

namespace Orvex {

// A new value written to a Qt property of any element.
class UndoRedoPropertySet : public UndoRedoBase
{
    Q_OBJECT

public:
    // Made once a_new has been written to the property a_property of a_element in place of a_old. The
    // description names the element by its path, or by the property when the element has no name.
    UndoRedoPropertySet(ElementBase* a_root, ElementBase* a_element, const QByteArray& a_property,
                        const QVariant& a_old, const QVariant& a_new);
    ~UndoRedoPropertySet() override;

    bool isValid() const { return m_root && m_locator.isValid() && !m_property.isEmpty(); }
    ElementLocator locator() const { return m_locator; }

protected:
    Result onUnapply() override;
    Result onReapply() override;

private:
    Result write(const QVariant& a_value);

    QPointer<ElementBase> m_root;
    ElementLocator m_locator;
    QByteArray m_property;
    QVariant m_old;
    QVariant m_new;
};

} // namespace Orvex
