#pragma once

#include "undo/ActionStack.h"

namespace Orvex {

// The history of a document's edits. It is an action stack of its own type so that the commands and the
// main window can tell it apart from the navigation history.
class UndoRedoStack : public ActionStack
{
    Q_OBJECT

public:
    explicit UndoRedoStack(QObject* a_parent = nullptr);
    ~UndoRedoStack() override;

protected:
    // Each step of a jump raises its element through the delay queue; flushing between steps keeps
    // the raises in the order of the steps.
    void afterStep() override;
};

} // namespace Orvex
