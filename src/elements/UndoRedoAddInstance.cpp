#include "elements/UndoRedoAddInstance.h"

#include "elements/FeatureListFeatureBase.h"

namespace Orvex {

UndoRedoAddInstance::UndoRedoAddInstance(ElementBase* a_root, FeatureElementBase* a_feature, size_t a_index)
    : m_root(a_root), m_locator(ElementLocator::locate(a_root, a_feature)), m_index(a_index)
{
    if (!a_feature)
        return;
    if (const auto* list = qobject_cast<const FeatureListFeatureBase*>(a_feature))
        m_memberIds = list->memberIds(a_index);
    const QString path = ElementLocator::namePath(a_feature);
    if (a_feature->maxOccurs() == 1)
        setDescription(QStringLiteral("Feature enabled (%1)").arg(path));
    else
        setDescription(QStringLiteral("Feature inserted (%1, at index %2)").arg(path).arg(a_index));
}

UndoRedoAddInstance::~UndoRedoAddInstance() = default;

ActionBase::Result UndoRedoAddInstance::onUnapply()
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

ActionBase::Result UndoRedoAddInstance::onReapply()
{
    auto* feature = m_locator.resolveAs<FeatureElementBase>(m_root);
    if (!feature || m_index > feature->instanceCount() || !feature->insertInstance(m_index))
        return Failed;
    if (auto* list = qobject_cast<FeatureListFeatureBase*>(feature))
        list->setMemberIds(m_index, m_memberIds);
    feature->raiseLater();
    feature->highlight(m_index);
    return Done;
}

} // namespace Orvex
