#include "fileio/PathHint.h"

namespace Orvex {

PathHint::PathHint() = default;

PathHint::PathHint(const Lumex::ConstCamProperty& a_property, const QStringList& a_path,
                   LumexTreeElement* a_treeElement)
    : property(a_property), path(a_path), treeElement(a_treeElement)
{
}

} // namespace Orvex
