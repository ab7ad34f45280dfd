#include "fileio/SchemaParserHintNode.h"

namespace Orvex {

SchemaParserHintNode::SchemaParserHintNode(const QString& a_name) : m_name(a_name)
{
}

SchemaParserHintNode::~SchemaParserHintNode() = default;

SchemaParserHintNode* SchemaParserHintNode::lookup(const QString& a_name, unsigned a_flags)
{
    SchemaParserHintNode* node = const_cast<SchemaParserHintNode*>(child(a_name));
    if (!node) {
        m_children.push_back(std::make_unique<SchemaParserHintNode>(a_name));
        node = m_children.back().get();
    }
    node->addFlags(a_flags);
    return node;
}

SchemaParserHintNode* SchemaParserHintNode::lookupPath(const QStringList& a_path, unsigned a_flags)
{
    SchemaParserHintNode* node = this;
    for (const QString& name : a_path)
        node = node->lookup(name);
    node->addFlags(a_flags);
    return node;
}

const SchemaParserHintNode* SchemaParserHintNode::child(const QString& a_name) const
{
    for (const std::unique_ptr<SchemaParserHintNode>& node : m_children) {
        if (node->m_name == a_name)
            return node.get();
    }
    return nullptr;
}

const SchemaParserHintNode* SchemaParserHintNode::find(const QStringList& a_path) const
{
    const SchemaParserHintNode* node = this;
    for (const QString& name : a_path) {
        node = node->child(name);
        if (!node)
            return nullptr;
    }
    return node;
}

unsigned SchemaParserHintNode::flagsAt(const QStringList& a_path) const
{
    const SchemaParserHintNode* node = find(a_path);
    return node ? node->m_flags : NoFlags;
}

QStringList SchemaParserHintNode::childNames() const
{
    QStringList names;
    for (const std::unique_ptr<SchemaParserHintNode>& node : m_children)
        names << node->m_name;
    return names;
}

} // namespace Orvex
