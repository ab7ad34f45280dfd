#include "elements/UndoRedoAddInstance.h"

#include "elements/FeatureElementBase.h"

namespace Orvex {

UndoRedoAddInstance::UndoRedoAddInstance(ElementBase* a_root, FeatureElementBase* a_feature, size_t a_index)
    : UndoRedoInstanceAddRemove(a_root, a_feature, a_index, false)
{
    if (!a_feature)
        return;
    const QString path = ElementLocator::namePath(a_feature);
    if (a_feature->maxOccurs() == 1)
        setDescription(QStringLiteral("Feature enabled (%1)").arg(path));
    else
        setDescription(QStringLiteral("Feature inserted (%1, at index %2)").arg(path).arg(a_index));
}

UndoRedoAddInstance::~UndoRedoAddInstance() = default;

} // namespace Orvex
