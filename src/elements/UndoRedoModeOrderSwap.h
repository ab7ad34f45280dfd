#pragma once

#include "elements/ElementLocator.h"
#include "elements/UndoRedoBase.h"

#include <QPointer>

namespace Orvex {

class ModeElement;

// Two modes of the camera that changed places.
class UndoRedoModeOrderSwap : public UndoRedoBase
{
    Q_OBJECT

public:
    // Made once a_first and a_second have changed places; redo shows a_second, undo a_first.
    UndoRedoModeOrderSwap(ElementBase* a_root, ModeElement* a_first, ModeElement* a_second);
    ~UndoRedoModeOrderSwap() override;

    bool isValid() const { return m_root && m_firstLocator.isValid() && m_secondLocator.isValid(); }

protected:
    Result onUnapply() override;
    Result onReapply() override;

private:
    Result swap(bool a_showSecond);

    QPointer<ElementBase> m_root;
    ElementLocator m_firstLocator;
    ElementLocator m_secondLocator;
};

} // namespace Orvex
