#pragma once

#include "elements/UndoRedoInstanceAddRemove.h"

namespace Orvex {

// An instance removed from a feature. Undo adds it again with the values it had (a value feature's
// value, a feature list's member data) and gives a feature list's members their old ids back; redo
// removes it again.
class UndoRedoRemoveInstance : public UndoRedoInstanceAddRemove
{
    Q_OBJECT

public:
    // Made just before the instance at a_index is removed, while its values can still be read; the caller
    // then removes it and pushes the command.
    UndoRedoRemoveInstance(ElementBase* a_root, FeatureElementBase* a_feature, size_t a_index);
    ~UndoRedoRemoveInstance() override;

    // False when the feature cannot be found from the root or has no such instance.
    bool isValid() const { return isLocated() && m_hadInstance; }

protected:
    Result onUnapply() override { return addInstance(); }
    Result onReapply() override { return removeInstance(); }

private:
    bool m_hadInstance = false;
};

} // namespace Orvex
