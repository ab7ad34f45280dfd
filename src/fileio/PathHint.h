#pragma once

#include "platform/Lumex.h"

#include <QStringList>

namespace Orvex {

class LumexTreeElement;

// A place in a camera file from which a path lookup continues instead of starting at the root: the
// markup node there, the element names that lead to it, and the document-tree element that belongs to
// it (null when there is none).
struct PathHint
{
    PathHint();
    PathHint(const Lumex::ConstCamProperty& a_property, const QStringList& a_path,
             LumexTreeElement* a_treeElement);

    Lumex::ConstCamProperty property;
    QStringList path;
    LumexTreeElement* treeElement = nullptr;
};

} // namespace Orvex
