#pragma once

#include "undo/ActionBase.h"

namespace Orvex {

// The common type of the document's editing commands, so that they can be told apart from other
// actions. Each command refers to the elements it changes by a root element and locators, never by
// plain pointers, and reports Failed when its root is gone or a locator leads nowhere.
class UndoRedoBase : public ActionBase
{
    Q_OBJECT

public:
    explicit UndoRedoBase(QObject* a_parent = nullptr);
    ~UndoRedoBase() override;
};

} // namespace Orvex
