#pragma once

#include "model/LumexTreeElement.h"

#include <QObject>
#include <QPointer>

namespace Orvex {

// The subtree of one mode of the camera file, tied to the editor's mode object; its element id
// is always that object's id. A QObject, unlike other nodes, so that the tree can hold its mode nodes
// by guarded pointers: there is one per mode, not one per value.
class LumexTreeMode : public QObject, public LumexTreeElement
{
    Q_OBJECT

public:
    // Deep copy of a_template appended to a_parent; a_modeObj's "id" property gives the element id.
    LumexTreeMode(const LumexTreeElement& a_template, QObject* a_modeObj, LumexTreeElement* a_parent);
    ~LumexTreeMode() override;

    bool isModeElement() const override;
    QObject* modeObject() const { return m_modeObject; }

private:
    QPointer<QObject> m_modeObject;
};

} // namespace Orvex
