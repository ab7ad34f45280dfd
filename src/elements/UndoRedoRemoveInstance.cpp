#include "elements/UndoRedoRemoveInstance.h"

#include "elements/FeatureElementBase.h"

namespace Orvex {

UndoRedoRemoveInstance::UndoRedoRemoveInstance(ElementBase* a_root, FeatureElementBase* a_feature,
                                               size_t a_index)
    : UndoRedoInstanceAddRemove(a_root, a_feature, a_index, true)
{
    if (!a_feature)
        return;
    m_hadInstance = a_index < a_feature->instanceCount();
    const QString path = ElementLocator::namePath(a_feature);
    if (a_feature->maxOccurs() == 1)
        setDescription(QStringLiteral("Feature disabled (%1)").arg(path));
    else
        setDescription(QStringLiteral("Feature removed (%1, index %2)").arg(path).arg(a_index));
}

UndoRedoRemoveInstance::~UndoRedoRemoveInstance() = default;

} // namespace Orvex
