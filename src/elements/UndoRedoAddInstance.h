#pragma once

#include "elements/ElementLocator.h"
#include "elements/UndoRedoBase.h"

#include <QPointer>
#include <QVector>

#include <cstddef>

namespace Orvex {

class FeatureElementBase;

// An instance added to a feature. Redo adds it again, and a feature list's new members get the ids
// they had, so that whatever refers to them by id finds them; undo removes it.
class UndoRedoAddInstance : public UndoRedoBase
{
    Q_OBJECT

public:
    // Made once the instance has been added at a_index, with the root the feature is found from (the
    // window element).
    UndoRedoAddInstance(ElementBase* a_root, FeatureElementBase* a_feature, size_t a_index);
    ~UndoRedoAddInstance() override;

    // False when the feature cannot be found from the root: such a command must not be pushed.
    bool isValid() const { return m_root && m_locator.isValid(); }
    ElementLocator locator() const { return m_locator; }
    size_t index() const { return m_index; }

protected:
    Result onUnapply() override;
    Result onReapply() override;

private:
    QPointer<ElementBase> m_root;
    ElementLocator m_locator;
    size_t m_index;
    QVector<quint64> m_memberIds;
};

} // namespace Orvex
