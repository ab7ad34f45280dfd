#include "UndoRedoStack.h"

namespace Orvex {

UndoRedoStack::UndoRedoStack(QObject* a_parent) : ActionStack(a_parent)
{
}

UndoRedoStack::~UndoRedoStack() = default;

} // namespace Orvex
