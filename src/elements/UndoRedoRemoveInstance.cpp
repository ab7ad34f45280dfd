#include "elements/UndoRedoRemoveInstance.h"

#include "elements/FeatureListFeatureBase.h"
#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

UndoRedoRemoveInstance::UndoRedoRemoveInstance(ElementBase* a_root, FeatureElementBase* a_feature,
                                               size_t a_index)
    : m_root(a_root), m_locator(ElementLocator::locate(a_root, a_feature)), m_index(a_index)
{
    if (!a_feature)
        return;
    m_hadInstance = a_index < a_feature->instanceCount();
    if (const auto* valueFeature = qobject_cast<const ValueFeatureElementBase*>(a_feature)) {
        m_values = valueFeature->value(a_index);
    } else if (const auto* list = qobject_cast<const FeatureListFeatureBase*>(a_feature)) {
        m_values = list->instanceDataSet(a_index);
        m_memberIds = list->memberIds(a_index);
    }
    const QString path = ElementLocator::namePath(a_feature);
    if (a_feature->maxOccurs() == 1)
        setDescription(QStringLiteral("Feature disabled (%1)").arg(path));
    else
        setDescription(QStringLiteral("Feature removed (%1, index %2)").arg(path).arg(a_index));
}

UndoRedoRemoveInstance::~UndoRedoRemoveInstance() = default;

ActionBase::Result UndoRedoRemoveInstance::onUnapply()
{
    auto* feature = m_locator.resolveAs<FeatureElementBase>(m_root);
    if (!feature || m_index > feature->instanceCount() || !feature->insertInstance(m_index))
        return Failed;
    if (auto* valueFeature = qobject_cast<ValueFeatureElementBase*>(feature)) {
        valueFeature->setValue(m_index, m_values);
    } else if (auto* list = qobject_cast<FeatureListFeatureBase*>(feature)) {
        // Nested lists need their instances back before their members' ids fit.
        list->setInstanceDataSet(m_index, m_values);
        list->setMemberIds(m_index, m_memberIds);
    }
    feature->raiseLater();
    feature->highlight(m_index);
    return Done;
}

ActionBase::Result UndoRedoRemoveInstance::onReapply()
{
    auto* feature = m_locator.resolveAs<FeatureElementBase>(m_root);
    if (!feature || m_index >= feature->instanceCount())
        return Failed;
    QMetaObject::invokeMethod(feature, "setHighlightInactive");
    if (!feature->removeInstance(m_index))
        return Failed;
    feature->raiseLater();
    return Done;
}

} // namespace Orvex
