#pragma once

#include "elements/ElementLocator.h"
#include "elements/UndoRedoBase.h"

#include <QPointer>

#include <cstddef>

namespace Orvex {

class FeatureElementBase;

// An instance moved within its feature, so that it went from position a_from to position a_to.
class UndoRedoReinsertInstance : public UndoRedoBase
{
    Q_OBJECT

public:
    // Made once the instance has been moved.
    UndoRedoReinsertInstance(ElementBase* a_root, FeatureElementBase* a_feature, size_t a_from, size_t a_to);
    ~UndoRedoReinsertInstance() override;

    bool isValid() const { return m_root && m_locator.isValid(); }
    ElementLocator locator() const { return m_locator; }

protected:
    Result onUnapply() override;
    Result onReapply() override;

private:
    Result move(size_t a_from, size_t a_to);

    QPointer<ElementBase> m_root;
    ElementLocator m_locator;
    size_t m_from;
    size_t m_to;
};

} // namespace Orvex
