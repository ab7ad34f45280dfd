#include "model/LumexTreeMode.h"

#include "model/LumexTree.h"

#include <QVariant>

namespace Orvex {

LumexTreeMode::LumexTreeMode(const LumexTreeElement& a_template, QObject* a_modeObj,
                             LumexTreeElement* a_parent)
    : LumexTreeElement(a_template, a_parent), m_modeObject(a_modeObj)
{
    // The editor's mode object is only known by its properties here: the file model stays free of
    // the element classes.
    becomeModeNode(a_modeObj ? a_modeObj->property("id").toLongLong() : 0);
    if (a_modeObj && tree())
        tree()->trackMode(this, a_modeObj);
}

LumexTreeMode::~LumexTreeMode() = default;

bool LumexTreeMode::isModeElement() const
{
    return true;
}

} // namespace Orvex
