#include "elements/UndoRedoStack.h"

#include "elements/ElementBaseDelayQueue.h"

namespace Orvex {

UndoRedoStack::UndoRedoStack(QObject* a_parent) : ActionStack(a_parent)
{
}

UndoRedoStack::~UndoRedoStack() = default;

void UndoRedoStack::afterStep()
{
    ElementBaseDelayQueue::instance()->flush();
}

} // namespace Orvex
