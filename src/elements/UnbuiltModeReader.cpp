#include "elements/UnbuiltModeReader.h"

#include "elements/CategoryElementBase.h"
#include "elements/FeatureElementBase.h"
#include "model/LumexTreeElement.h"

namespace Orvex {

namespace {

// Whether a_node is schema content named a_name: an element, or with a_attribute an attribute.
bool isSchemaNode(const LumexTreeElement* a_node, const QString& a_name, bool a_attribute)
{
    return a_node->isSchemaCompliant() && a_node->isAttribute() == a_attribute && !a_node->isText() &&
           !a_node->isComment() && a_node->name() == a_name;
}

const LumexTreeElement* schemaChild(const LumexTreeElement* a_node, const QString& a_name, bool a_attribute)
{
    for (int position = 0; position < a_node->childCount(); ++position) {
        if (isSchemaNode(a_node->childAt(position), a_name, a_attribute))
            return a_node->childAt(position);
    }
    return nullptr;
}

} // namespace

const LumexTreeElement* UnbuiltModeReader::categoryNode(const LumexTreeElement* a_modeNode,
                                                        const CategoryElementBase* a_category)
{
    const LumexTreeElement* holder = a_modeNode ? schemaNode(a_modeNode, a_category->elementPath()) : nullptr;
    return holder && !a_category->name().isEmpty() ? schemaChild(holder, a_category->name(), false) : nullptr;
}

QVector<const LumexTreeElement*> UnbuiltModeReader::instanceNodes(const FeatureElementBase* a_feature,
                                                                  const LumexTreeElement* a_scope)
{
    QVector<const LumexTreeElement*> nodes;
    if (!a_scope)
        return nodes;
    const QStringList& path = a_feature->elementPath();
    if (a_scope != m_lastScope || path != m_lastPath) {
        m_lastScope = a_scope;
        m_lastPath = path;
        m_lastHolder = schemaNode(a_scope, path);
    }
    const LumexTreeElement* holder = m_lastHolder;
    if (!holder)
        return nodes;
    const QString& name = a_feature->name();
    if (name.isEmpty()) {
        nodes << holder;
        return nodes;
    }
    for (int position = 0; position < holder->childCount(); ++position) {
        if (isSchemaNode(holder->childAt(position), name, a_feature->isAttribute()))
            nodes << holder->childAt(position);
    }
    return nodes;
}

QString UnbuiltModeReader::valueText(const LumexTreeElement* a_node)
{
    return a_node ? QString::fromUtf8(a_node->value()) : QString();
}

const LumexTreeElement* UnbuiltModeReader::schemaNode(const LumexTreeElement* a_scope,
                                                      const QStringList& a_path)
{
    // The scope lies on the path, so its depth tells where the rest of the path starts; every feature
    // of a mode is looked up so, and comparing the names above it each time would double the work.
    int depth = 0;
    for (const LumexTreeElement* node = a_scope; node->parentElement(); node = node->parentElement())
        ++depth;
    if (depth > a_path.size() || (depth > 0 && a_scope->name() != a_path.at(depth - 1)))
        return nullptr;
    const LumexTreeElement* node = a_scope;
    for (int step = depth; node && step < a_path.size(); ++step)
        node = schemaChild(node, a_path.at(step), false);
    return node;
}

} // namespace Orvex
