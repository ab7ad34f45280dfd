#pragma once

#include "elements/UndoRedoInstanceAddRemove.h"

namespace Orvex {

// An instance added to a feature. Redo adds it again, and a feature list's new members get the ids
// they had, so that whatever refers to them by id finds them; undo removes it.
class UndoRedoAddInstance : public UndoRedoInstanceAddRemove
{
    Q_OBJECT

public:
    // Made once the instance has been added at a_index, with the root the feature is found from (the
    // window element).
    UndoRedoAddInstance(ElementBase* a_root, FeatureElementBase* a_feature, size_t a_index);
    ~UndoRedoAddInstance() override;

    // False when the feature cannot be found from the root: such a command must not be pushed.
    bool isValid() const { return isLocated(); }

protected:
    Result onUnapply() override { return removeInstance(); }
    Result onReapply() override { return addInstance(); }
};

} // namespace Orvex
