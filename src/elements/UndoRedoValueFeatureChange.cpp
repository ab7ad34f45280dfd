#include "elements/UndoRedoValueFeatureChange.h"

#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

UndoRedoValueFeatureChange::UndoRedoValueFeatureChange(ElementBase* a_root,
                                                       ValueFeatureElementBase* a_feature, size_t a_index,
                                                       const QVariant& a_old, const QVariant& a_new)
    : m_root(a_root), m_locator(ElementLocator::locate(a_root, a_feature)), m_index(a_index), m_old(a_old),
      m_new(a_new)
{
    setDescription(QStringLiteral("Feature value set (%1, \"%2\" --> \"%3\")")
                       .arg(ElementLocator::namePath(a_feature), a_old.toString(), a_new.toString()));
}

UndoRedoValueFeatureChange::~UndoRedoValueFeatureChange() = default;

ActionBase::Result UndoRedoValueFeatureChange::onUnapply()
{
    return store(m_old);
}

ActionBase::Result UndoRedoValueFeatureChange::onReapply()
{
    return store(m_new);
}

ActionBase::Result UndoRedoValueFeatureChange::store(const QVariant& a_value)
{
    auto* feature = m_locator.resolveAs<ValueFeatureElementBase>(m_root);
    if (!feature || m_index >= feature->instanceCount())
        return Failed;
    feature->setValue(m_index, a_value);
    feature->raiseLater();
    feature->highlight(m_index);
    return Done;
}

} // namespace Orvex
