#pragma once

#include "elements/ElementLocator.h"
#include "elements/UndoRedoBase.h"

#include <QPointer>
#include <QVariant>
#include <QVector>

#include <cstddef>

namespace Orvex {

class FeatureElementBase;

// What adding and removing an instance share: one is the other's undo, so both hold the feature's place
// and what the instance carries, and each of undo and redo is one of the same two steps.
class UndoRedoInstanceAddRemove : public UndoRedoBase
{
    Q_OBJECT

public:
    ~UndoRedoInstanceAddRemove() override;

    ElementLocator locator() const { return m_locator; }
    size_t index() const { return m_index; }

protected:
    // Takes a feature list's member ids at a_index, so that whatever refers to the members by id finds
    // them again; with a_keepValues also the instance's values (a value feature's value, a feature
    // list's member data), while they can still be read.
    UndoRedoInstanceAddRemove(ElementBase* a_root, FeatureElementBase* a_feature, size_t a_index,
                              bool a_keepValues);

    // Whether the feature can be found from the root.
    bool isLocated() const { return m_root && m_locator.isValid(); }

    // Puts the instance back at its index with what it carried and shows it.
    Result addInstance();
    Result removeInstance();

private:
    QPointer<ElementBase> m_root;
    ElementLocator m_locator;
    size_t m_index;
    QVariant m_values;
    QVector<quint64> m_memberIds;
    bool m_keepsValues;
};

} // namespace Orvex
