#pragma once

#include "elements/ElementLocator.h"
#include "elements/UndoRedoBase.h"

#include <QPointer>
#include <QVariant>

#include <cstddef>

namespace Orvex {

class ValueFeatureElementBase;

// A new value stored in one instance of a value feature.
class UndoRedoValueFeatureChange : public UndoRedoBase
{
    Q_OBJECT

public:
    // Made once a_new has been stored in instance a_index in place of a_old.
    UndoRedoValueFeatureChange(ElementBase* a_root, ValueFeatureElementBase* a_feature, size_t a_index,
                               const QVariant& a_old, const QVariant& a_new);
    ~UndoRedoValueFeatureChange() override;

    bool isValid() const { return m_root && m_locator.isValid(); }
    ElementLocator locator() const { return m_locator; }

protected:
    Result onUnapply() override;
    Result onReapply() override;

private:
    Result store(const QVariant& a_value);

    QPointer<ElementBase> m_root;
    ElementLocator m_locator;
    size_t m_index;
    QVariant m_old;
    QVariant m_new;
};

} // namespace Orvex
