#pragma once

#include "elements/ElementLocator.h"
#include "elements/UndoRedoBase.h"

#include <QPointer>

namespace Orvex {

class CameraElement;
class ModeElement;

// A mode moved to another place in the camera: before another mode, or to the end.
class UndoRedoModeOrderReinsert : public UndoRedoBase
{
    Q_OBJECT

public:
    // Made once a_mode has been put before a_newSuccessor (null: at the end); a_oldSuccessor is the mode
    // it stood before until then (null: it was the last).
    UndoRedoModeOrderReinsert(ElementBase* a_root, ModeElement* a_mode, ModeElement* a_newSuccessor,
                              ModeElement* a_oldSuccessor);
    ~UndoRedoModeOrderReinsert() override;

    bool isValid() const;

protected:
    Result onUnapply() override;
    Result onReapply() override;

private:
    Result moveBefore(bool a_toNewSuccessor);
    // Positions change with every move, so the locators are made anew after each.
    void locate(ModeElement* a_mode, ModeElement* a_newSuccessor, ModeElement* a_oldSuccessor);

    QPointer<ElementBase> m_root;
    ElementLocator m_modeLocator;
    ElementLocator m_newSuccessorLocator;
    ElementLocator m_oldSuccessorLocator;
    bool m_hasNewSuccessor;
    bool m_hasOldSuccessor;
};

} // namespace Orvex
