#pragma once

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace Orvex {

// One node of the path-hint table: an element name with flag bits that tell the file parser, the printer
// and the schema parser what stands at that place of a camera file. The table is a tree whose unnamed
// root stands above "quarnel_config", so a path from the file's root reaches a node name by name.
class SchemaParserHintNode
{
public:
    enum Flag : unsigned
    {
        NoFlags = 0,
        BoardRegisterAddress = 2,
        BoardRegisterData = 4,
        CameraRegisterBeforeAddress = 8,
        CameraRegisterBeforeData = 16,
        CameraRegisterAfterAddress = 32,
        CameraRegisterAfterData = 64,
    };

    explicit SchemaParserHintNode(const QString& a_name = QString());
    SchemaParserHintNode(const SchemaParserHintNode&) = delete;
    SchemaParserHintNode& operator=(const SchemaParserHintNode&) = delete;
    ~SchemaParserHintNode();

    QString name() const { return m_name; }
    unsigned flags() const { return m_flags; }
    void addFlags(unsigned a_flags) { m_flags |= a_flags; }

    // The child named a_name, created without flags when missing; a_flags are or-ed into it.
    SchemaParserHintNode* lookup(const QString& a_name, unsigned a_flags = NoFlags);
    // The same walked down a path; a_flags go to the last node only. An empty path yields this node.
    SchemaParserHintNode* lookupPath(const QStringList& a_path, unsigned a_flags = NoFlags);

    // Read-only lookups for those who must not grow the table; null where the table has no such node.
    const SchemaParserHintNode* child(const QString& a_name) const;
    const SchemaParserHintNode* find(const QStringList& a_path) const;
    // The flags of the node at a_path, 0 when the table has none there.
    unsigned flagsAt(const QStringList& a_path) const;

    // In the order they were made.
    QStringList childNames() const;

private:
    QString m_name;
    unsigned m_flags = NoFlags;
    std::vector<std::unique_ptr<SchemaParserHintNode>> m_children;
};

} // namespace Orvex
