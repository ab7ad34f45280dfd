#include "elements/UndoRedoBase.h"

namespace Orvex {

UndoRedoBase::UndoRedoBase(QObject* a_parent) : ActionBase(a_parent)
{
}

UndoRedoBase::~UndoRedoBase() = default;

} // namespace Orvex
