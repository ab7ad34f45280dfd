#pragma once

#include "elements/ElementLocator.h"
#include "elements/UndoRedoBase.h"

#include <QPointer>

namespace Orvex {

class ModeElement;

// A mode taken out of the camera. The command keeps the mode alive as its own Qt child, without an id,
// for as long as the deletion stands; undo puts it back where it was under its old id. A mode still
// kept when the command is destroyed goes with it.
class UndoRedoModeDelete : public UndoRedoBase
{
    Q_OBJECT

public:
    // Made once a_mode has been taken out of its camera at a_position. A mode still in its camera is
    // taken out here, from wherever it stands.
    UndoRedoModeDelete(ElementBase* a_root, ModeElement* a_mode, int a_position);
    ~UndoRedoModeDelete() override;

    bool isValid() const { return m_root && m_cameraLocator.isValid() && m_mode; }
    // The mode while the deletion stands; null once undone.
    ModeElement* keptMode() const;

protected:
    Result onUnapply() override;
    Result onReapply() override;

private:
    void keep(ModeElement* a_mode);

    QPointer<ElementBase> m_root;
    ElementLocator m_cameraLocator;
    int m_position;
    quint64 m_id = 0;
    QPointer<ModeElement> m_mode;
};

} // namespace Orvex
