#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace Orvex {

class CategoryElementBase;
class FeatureElementBase;
class LumexTreeElement;

// Reads a mode that is not built yet (see ModeElement::isBuilt) from the document tree it was loaded into,
// through the camera's mode template, whose features describe it. Loading left in the mode's node exactly
// the schema content the file has, checked, each value as it was read: what the built mode would hold
// and write, so that checking, saving, finding and comparing need not build it.
class UnbuiltModeReader
{
public:
    // The node of a_category's element in the mode node a_modeNode; null when the file lacks the
    // category, which is then switched off.
    static const LumexTreeElement* categoryNode(const LumexTreeElement* a_modeNode,
                                                const CategoryElementBase* a_category);
    // The nodes of a_feature's instances, in order, looked up from a_scope: the mode's node, or the node
    // of the list instance a member belongs to. An unnamed feature's one instance is its holder's text.
    // The holder found is remembered for the next feature, which mostly shares it: one reader serves
    // one walk over a mode.
    QVector<const LumexTreeElement*> instanceNodes(const FeatureElementBase* a_feature,
                                                   const LumexTreeElement* a_scope);
    // The text of an instance's node: the value as read, which the built feature writes back.
    static QString valueText(const LumexTreeElement* a_node);

private:
    // The schema node at a_path below a_scope, which stands on a_path; null when missing.
    static const LumexTreeElement* schemaNode(const LumexTreeElement* a_scope, const QStringList& a_path);

    const LumexTreeElement* m_lastScope = nullptr;
    QStringList m_lastPath;
    const LumexTreeElement* m_lastHolder = nullptr;
};

} // namespace Orvex
