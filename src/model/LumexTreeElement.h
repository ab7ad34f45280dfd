#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

class QObject;

namespace Orvex {

class LumexTree;
class LumexTreeMode;

// One node of a camera file held in memory: an element, attribute, text or comment, in file order.
// Nodes the schema does not know are kept as non-compliant nodes so that saving writes them back.
// A plain object rather than a QObject: a large file holds hundreds of thousands of nodes, and each
// QObject would add an allocation of its own to the load and to the close.
class LumexTreeElement
{
public:
    // Deep copy appended as the last child of a_parent (or standing alone when a_parent is null):
    // name and flags are copied, value and element id start empty, children are copied recursively
    // and mode nodes among them stay mode nodes of the same mode object.
    LumexTreeElement(const LumexTreeElement& a_other, LumexTreeElement* a_parent);
    // Deletes the children with the node.
    virtual ~LumexTreeElement();

    LumexTreeElement(const LumexTreeElement&) = delete;
    LumexTreeElement& operator=(const LumexTreeElement&) = delete;

    LumexTree* tree() const;
    LumexTreeElement* parentElement() const { return m_parent; }

    // By reference: the check, saving and find compare the name and read the value of every child of
    // each holder they walk, and a copy's reference counting was a third of the check's time.
    const QString& name() const { return m_name; }
    void setName(const QString& a_name);
    const QByteArray& value() const { return m_value; }
    void setValue(const QByteArray& a_value);
    qint64 elementId() const { return m_elementId; }
    void setElementId(qint64 a_elementId);
    qint64 baseElementId() const;
    virtual bool isModeElement() const;

    // Each setter keeps the node kinds consistent and returns whether the flag now has the
    // requested value.
    bool isText() const { return m_isText; }
    bool setIsText(bool a_isText);
    bool isAttribute() const { return m_isAttribute; }
    bool setIsAttribute(bool a_isAttribute);
    bool isComment() const { return m_isComment; }
    bool setIsComment(bool a_isComment);
    bool isSchemaCompliant() const { return m_isSchemaCompliant; }
    // Whether the node's value is the value of a schema feature, read from the file: its text is kept
    // as that value rather than as text of its own.
    bool holdsValue() const { return m_holdsValue; }
    void setHoldsValue(bool a_holdsValue) { m_holdsValue = a_holdsValue; }
    // The line of the file the node was read from; 0 for a node the editor made, copies included, since
    // a line would send the user to a place that does not hold it.
    int line() const { return m_line; }
    void setLine(int a_line) { m_line = a_line; }
    bool setIsSchemaCompliant(bool a_isSchemaCompliant);
    bool allSchemaCompliant() const;

    int childCount() const { return m_children.size(); }
    int childCount(const QString& a_name) const;
    LumexTreeElement* childAt(int a_index) const;
    LumexTreeElement* childByName(const QString& a_name, int a_index = 0) const;
    QList<LumexTreeElement*> childElements() const { return m_children; }
    QList<LumexTreeElement*> childElements(const QString& a_name) const;
    LumexTreeMode* modeNode(const QObject* a_modeObj) const;

    LumexTreeElement* addChild(const QString& a_name);
    LumexTreeElement* cloneChild(const QString& a_name);

    // Null unless this node's own path is a prefix of a_path; missing nodes below it are created.
    LumexTreeElement* descendantByPath(const QStringList& a_path, bool a_schemaCompliant);
    QStringList path() const;

    // Removed nodes leave the tree at once but are deleted by the event loop, so that a node
    // removed while a signal is handled stays valid until the handler returns.
    bool removeChildAt(int a_index);
    bool removeChild(LumexTreeElement* a_child);
    void removeSelf();
    void prune();

    QStringList dump() const;

protected:
    LumexTreeElement(const QString& a_name, LumexTreeElement* a_parent);
    void becomeModeNode(qint64 a_elementId);

private:
    friend class LumexTree;
    explicit LumexTreeElement(LumexTree* a_tree);

    static LumexTreeElement* copyNode(const LumexTreeElement& a_source, LumexTreeElement* a_parent);
    // Hands a node that has left the tree to the event loop, which deletes it on its next turn.
    static void deleteLater(LumexTreeElement* a_node);
    // Text, attribute and comment exclude one another; a_allowed says whether this node may take a_kind.
    bool setLeafKind(bool LumexTreeElement::*a_kind, bool a_on, bool a_allowed);
    void attachTo(LumexTreeElement* a_parent);
    void takeChildAt(int a_index);
    void copyChildrenFrom(const QList<LumexTreeElement*>& a_sources);
    void dumpInto(QStringList& a_lines, int a_depth) const;

    // Set on the root only: every other node finds its tree through its ancestors.
    LumexTree* m_tree = nullptr;
    LumexTreeElement* m_parent = nullptr;
    QString m_name;
    QByteArray m_value;
    qint64 m_elementId = 0;
    bool m_isText = false;
    bool m_isAttribute = false;
    bool m_isComment = false;
    bool m_isSchemaCompliant = false;
    bool m_holdsValue = false;
    int m_line = 0;
    QList<LumexTreeElement*> m_children;
};

} // namespace Orvex
