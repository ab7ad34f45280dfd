#include "elements/UndoRedoInstanceAddRemove.h"

#include "elements/FeatureListFeatureBase.h"
#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

UndoRedoInstanceAddRemove::UndoRedoInstanceAddRemove(ElementBase* a_root, FeatureElementBase* a_feature,
                                                     size_t a_index, bool a_keepValues)
    : m_root(a_root), m_locator(ElementLocator::locate(a_root, a_feature)), m_index(a_index),
      m_keepsValues(a_keepValues)
{
    if (!a_feature)
        return;
    if (const auto* list = qobject_cast<const FeatureListFeatureBase*>(a_feature)) {
        if (m_keepsValues)
            m_values = list->instanceDataSet(a_index);
        m_memberIds = list->memberIds(a_index);
    } else if (const auto* valueFeature = qobject_cast<const ValueFeatureElementBase*>(a_feature)) {
        if (m_keepsValues)
            m_values = valueFeature->value(a_index);
    }
}

UndoRedoInstanceAddRemove::~UndoRedoInstanceAddRemove() = default;

ActionBase::Result UndoRedoInstanceAddRemove::addInstance()
{
    auto* feature = m_locator.resolveAs<FeatureElementBase>(m_root);
    if (!feature || m_index > feature->instanceCount() || !feature->insertInstance(m_index))
        return Failed;
    auto* valueFeature = qobject_cast<ValueFeatureElementBase*>(feature);
    if (valueFeature && m_keepsValues) {
        valueFeature->setValue(m_index, m_values);
    } else if (auto* list = qobject_cast<FeatureListFeatureBase*>(feature)) {
        // Nested lists need their instances back before their members' ids fit.
        if (m_keepsValues)
            list->setInstanceDataSet(m_index, m_values);
        list->setMemberIds(m_index, m_memberIds);
    }
    feature->raiseLater();
    feature->highlight(m_index);
    return Done;
}

ActionBase::Result UndoRedoInstanceAddRemove::removeInstance()
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
