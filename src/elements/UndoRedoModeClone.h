#pragma once

#include "elements/ElementLocator.h"
#include "elements/UndoRedoBase.h"

#include <QPointer>
#include <QVector>

namespace Orvex {

class ModeElement;

// A copy of a mode put into the camera. Redo makes the copy anew, under the ids the first copy had;
// undo takes the copy out and destroys it.
class UndoRedoModeClone : public UndoRedoBase
{
    Q_OBJECT

public:
    // Made once the copy of a_source has been inserted into the camera at a_position.
    UndoRedoModeClone(ElementBase* a_root, ModeElement* a_source, int a_position);
    ~UndoRedoModeClone() override;

    bool isValid() const { return m_root && m_sourceLocator.isValid() && !m_cloneIds.isEmpty(); }

protected:
    Result onUnapply() override;
    Result onReapply() override;

private:
    QPointer<ElementBase> m_root;
    ElementLocator m_sourceLocator;
    int m_position;
    // The copy's own id first, then those of the elements below it in the order findChildren gives.
    QVector<quint64> m_cloneIds;
};

} // namespace Orvex
