#include "elements/UndoRedoPropertySet.h"

#include "elements/WidgetElementBase.h"

#include <QMetaProperty>

namespace Orvex {

UndoRedoPropertySet::UndoRedoPropertySet(ElementBase* a_root, ElementBase* a_element,
                                         const QByteArray& a_property, const QVariant& a_old,
                                         const QVariant& a_new)
    : m_root(a_root), m_locator(ElementLocator::locate(a_root, a_element)), m_property(a_property),
      m_old(a_old), m_new(a_new)
{
    QString name = ElementLocator::namePath(a_element);
    if (name.isEmpty())
        name = QString::fromLatin1(a_property);
    setDescription(QStringLiteral("Property value set (%1, \"%2\" --> \"%3\")")
                       .arg(name, a_old.toString(), a_new.toString()));
}

UndoRedoPropertySet::~UndoRedoPropertySet() = default;

ActionBase::Result UndoRedoPropertySet::onUnapply()
{
    return write(m_old);
}

ActionBase::Result UndoRedoPropertySet::onReapply()
{
    return write(m_new);
}

ActionBase::Result UndoRedoPropertySet::write(const QVariant& a_value)
{
    ElementBase* element = m_locator.resolve(m_root);
    if (!element || m_property.isEmpty())
        return Failed;
    // setProperty also reports false for a dynamic property, which is written all the same.
    const bool declared = element->metaObject()->indexOfProperty(m_property.constData()) >= 0;
    if (!element->setProperty(m_property.constData(), a_value) && declared)
        return Failed;
    element->raiseLater();
    if (auto* widgetElement = qobject_cast<WidgetElementBase*>(element))
        QMetaObject::invokeMethod(widgetElement, "setHighlightInactive");
    return Done;
}

} // namespace Orvex
