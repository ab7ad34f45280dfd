#include "elements/UnbuiltModeReader.h"

#include "elements/CategoryElementBase.h"
#include "elements/FeatureElementBase.h"
#include "model/LumexTreeElement.h"

namespace Orvex {

namespace {

const LumexTreeElement* schemaChild(const LumexTreeElement* a_node, const QString& a_name, bool a_attribute)
{
    for (int position = 0; position < a_node->childCount(); ++position) {
        const LumexTreeElement* child = a_node->childAt(position);
        if (child->isSchemaCompliant() && child->isAttribute() == a_attribute && !child->isText() &&
            !child->isComment() && child->name() == a_name)
            return child;
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
    const QStringList path = a_feature->elementPath();
    if (a_scope != m_lastScope || path != m_lastPath) {
        m_lastScope = a_scope;
        m_lastPath = path;
        m_lastHolder = schemaNode(a_scope, path);
    }
    const LumexTreeElement* holder = m_lastHolder;
    if (!holder)
        return nodes;
    const QString name = a_feature->name();
    if (name.isEmpty()) {
        nodes << holder;
        return nodes;
    }
    for (int position = 0; position < holder->childCount(); ++position) {
        const LumexTreeElement* child = holder->childAt(position);
        if (child->isSchemaCompliant() && child->isAttribute() == a_feature->isAttribute() &&
            !child->isText() && !child->isComment() && child->name() == name)
            nodes << child;
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
