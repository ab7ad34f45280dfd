#include "elements/UndoRedoReinsertInstance.h"

#include "elements/FeatureElementBase.h"

namespace Orvex {

UndoRedoReinsertInstance::UndoRedoReinsertInstance(ElementBase* a_root, FeatureElementBase* a_feature,
                                                   size_t a_from, size_t a_to)
    : m_root(a_root), m_locator(ElementLocator::locate(a_root, a_feature)), m_from(a_from), m_to(a_to)
{
    setDescription(QStringLiteral("Feature reordered (%1, index %2 --> %3)")
                       .arg(ElementLocator::namePath(a_feature))
                       .arg(a_from)
                       .arg(a_to));
}

UndoRedoReinsertInstance::~UndoRedoReinsertInstance() = default;

ActionBase::Result UndoRedoReinsertInstance::onUnapply()
{
    return move(m_to, m_from);
}

ActionBase::Result UndoRedoReinsertInstance::onReapply()
{
    return move(m_from, m_to);
}

ActionBase::Result UndoRedoReinsertInstance::move(size_t a_from, size_t a_to)
{
    auto* feature = m_locator.resolveAs<FeatureElementBase>(m_root);
    if (!feature || !feature->moveInstance(a_from, a_to))
        return Failed;
    feature->raiseLater();
    feature->highlight(a_to);
    return Done;
}

} // namespace Orvex
