#pragma once

#include "elements/ElementLocator.h"
#include "elements/UndoRedoBase.h"

#include <QPointer>
#include <QVariant>
#include <QVector>

#include <cstddef>

namespace Orvex {

class FeatureElementBase;

// An instance removed from a feature. Undo adds it again with the values it had (a value feature's
// value, a feature list's member data) and gives a feature list's members their old ids back; redo
// removes it again.
class UndoRedoRemoveInstance : public UndoRedoBase
{
    Q_OBJECT

public:
    // Made just before the instance at a_index is removed, while its values can still be read; the caller
    // then removes it and pushes the command.
    UndoRedoRemoveInstance(ElementBase* a_root, FeatureElementBase* a_feature, size_t a_index);
    ~UndoRedoRemoveInstance() override;

    // False when the feature cannot be found from the root or has no such instance.
    bool isValid() const { return m_root && m_locator.isValid() && m_hadInstance; }
    ElementLocator locator() const { return m_locator; }
    size_t index() const { return m_index; }

protected:
    Result onUnapply() override;
    Result onReapply() override;

private:
    QPointer<ElementBase> m_root;
    ElementLocator m_locator;
    size_t m_index;
    QVariant m_values;
    QVector<quint64> m_memberIds;
    bool m_hadInstance = false;
};

} // namespace Orvex
