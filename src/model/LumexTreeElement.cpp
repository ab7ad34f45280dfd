#include "model/LumexTreeElement.h"

#include "model/LumexTree.h"
#include "model/LumexTreeMode.h"

#include <QObject>
#include <QPointer>

#include <vector>

namespace Orvex {

namespace {

// Owns the nodes removed since the event loop last ran; the loop deletes them all on its next turn.
class RemovedNodes : public QObject
{
public:
    ~RemovedNodes() override
    {
        // Taken batch by batch: deleting a node must not invalidate the walk.
        while (!m_nodes.empty()) {
            const std::vector<LumexTreeElement*> batch = std::move(m_nodes);
            m_nodes.clear();
            for (LumexTreeElement* node : batch)
                delete node;
        }
    }

    void add(LumexTreeElement* a_node) { m_nodes.push_back(a_node); }

private:
    std::vector<LumexTreeElement*> m_nodes;
};

QPointer<RemovedNodes>& pendingRemovals()
{
    static QPointer<RemovedNodes> s_pending;
    return s_pending;
}

} // namespace

LumexTreeElement::LumexTreeElement(LumexTree* a_tree) : m_tree(a_tree), m_isSchemaCompliant(true)
{
}

LumexTreeElement::LumexTreeElement(const QString& a_name, LumexTreeElement* a_parent) : m_name(a_name)
{
    if (a_parent)
        attachTo(a_parent);
}

LumexTreeElement::LumexTreeElement(const LumexTreeElement& a_other, LumexTreeElement* a_parent)
    : m_name(a_other.m_name), m_isText(a_other.m_isText), m_isAttribute(a_other.m_isAttribute),
      m_isComment(a_other.m_isComment),
      m_isSchemaCompliant(a_other.m_isSchemaCompliant && (!a_parent || a_parent->m_isSchemaCompliant)),
      m_holdsValue(a_other.m_holdsValue)
{
    // Taken before attaching: copying a node into its own subtree must not copy the copy.
    const QList<LumexTreeElement*> sources = a_other.m_children;
    if (a_parent)
        attachTo(a_parent);
    copyChildrenFrom(sources);
}

LumexTreeElement::~LumexTreeElement()
{
    for (LumexTreeElement* child : qAsConst(m_children))
        delete child;
}

LumexTree* LumexTreeElement::tree() const
{
    const LumexTreeElement* top = this;
    while (top->m_parent)
        top = top->m_parent;
    return top->m_tree;
}

void LumexTreeElement::setName(const QString& a_name)
{
    m_name = a_name;
}

void LumexTreeElement::setValue(const QByteArray& a_value)
{
    m_value = a_value;
}

void LumexTreeElement::setElementId(qint64 a_elementId)
{
    // A mode node's id is its mode object's id for as long as it lives.
    if (isModeElement())
        return;
    m_elementId = a_elementId;
}

qint64 LumexTreeElement::baseElementId() const
{
    for (const LumexTreeElement* node = m_parent; node; node = node->m_parent) {
        if (node->m_elementId != 0)
            return node->m_elementId;
    }
    return 0;
}

bool LumexTreeElement::isModeElement() const
{
    return false;
}

bool LumexTreeElement::setIsText(bool a_isText)
{
    return setLeafKind(&LumexTreeElement::m_isText, a_isText,
                       !isModeElement() && m_children.isEmpty() && m_name.isEmpty());
}

bool LumexTreeElement::setIsAttribute(bool a_isAttribute)
{
    return setLeafKind(&LumexTreeElement::m_isAttribute, a_isAttribute,
                       !isModeElement() && m_children.isEmpty());
}

bool LumexTreeElement::setIsComment(bool a_isComment)
{
    if (!setLeafKind(&LumexTreeElement::m_isComment, a_isComment,
                     !isModeElement() && m_children.isEmpty() && m_name.isEmpty()))
        return false;
    // The schema never describes comments; they are kept as unknown content.
    if (a_isComment)
        setIsSchemaCompliant(false);
    return true;
}

bool LumexTreeElement::setIsSchemaCompliant(bool a_isSchemaCompliant)
{
    if (a_isSchemaCompliant) {
        if (!isModeElement() && m_parent && !m_parent->m_isSchemaCompliant)
            return m_isSchemaCompliant;
        m_isSchemaCompliant = true;
        m_isComment = false;
        return true;
    }
    if (isModeElement())
        return false;
    m_isSchemaCompliant = false;
    for (LumexTreeElement* child : qAsConst(m_children))
        child->setIsSchemaCompliant(false);
    return true;
}

bool LumexTreeElement::allSchemaCompliant() const
{
    if (!m_isSchemaCompliant)
        return false;
    for (const LumexTreeElement* child : m_children) {
        if (!child->allSchemaCompliant())
            return false;
    }
    return true;
}

int LumexTreeElement::childCount(const QString& a_name) const
{
    int count = 0;
    for (const LumexTreeElement* child : m_children) {
        if (child->m_name == a_name)
            ++count;
    }
    return count;
}

LumexTreeElement* LumexTreeElement::childAt(int a_index) const
{
    return a_index >= 0 && a_index < m_children.size() ? m_children.at(a_index) : nullptr;
}

LumexTreeElement* LumexTreeElement::childByName(const QString& a_name, int a_index) const
{
    if (a_index < 0)
        return nullptr;
    int seen = 0;
    for (LumexTreeElement* child : m_children) {
        if (child->m_name == a_name && seen++ == a_index)
            return child;
    }
    return nullptr;
}

QList<LumexTreeElement*> LumexTreeElement::childElements(const QString& a_name) const
{
    QList<LumexTreeElement*> named;
    for (LumexTreeElement* child : m_children) {
        if (child->m_name == a_name)
            named.append(child);
    }
    return named;
}

LumexTreeMode* LumexTreeElement::modeNode(const QObject* a_modeObj) const
{
    if (!a_modeObj)
        return nullptr;
    for (LumexTreeElement* child : m_children) {
        if (!child->isModeElement())
            continue;
        auto* mode = static_cast<LumexTreeMode*>(child);
        if (mode->modeObject() == a_modeObj)
            return mode;
    }
    return nullptr;
}

LumexTreeElement* LumexTreeElement::addChild(const QString& a_name)
{
    return new LumexTreeElement(a_name, this);
}

LumexTreeElement* LumexTreeElement::cloneChild(const QString& a_name)
{
    const LumexTreeElement* source = childByName(a_name);
    return source ? copyNode(*source, this) : nullptr;
}

LumexTreeElement* LumexTreeElement::descendantByPath(const QStringList& a_path, bool a_schemaCompliant)
{
    // Compared along the parents rather than through path(): the load asks this for every feature.
    int depth = 0;
    for (const LumexTreeElement* node = this; node->m_parent; node = node->m_parent)
        ++depth;
    if (depth > a_path.size())
        return nullptr;
    int at = depth;
    for (const LumexTreeElement* node = this; node->m_parent; node = node->m_parent) {
        if (node->m_name != a_path.at(--at))
            return nullptr;
    }
    LumexTreeElement* node = this;
    for (int i = depth; i < a_path.size(); ++i) {
        LumexTreeElement* next = node->childByName(a_path.at(i));
        if (!next) {
            next = new LumexTreeElement(a_path.at(i), node);
            next->setIsSchemaCompliant(a_schemaCompliant);
        }
        node = next;
    }
    return node;
}

QStringList LumexTreeElement::path() const
{
    QStringList names;
    for (const LumexTreeElement* node = this; node->m_parent; node = node->m_parent)
        names.prepend(node->m_name);
    return names;
}

bool LumexTreeElement::removeChildAt(int a_index)
{
    if (m_children.isEmpty())
        return false;
    takeChildAt(a_index < 0 || a_index >= m_children.size() ? m_children.size() - 1 : a_index);
    return true;
}

bool LumexTreeElement::removeChild(LumexTreeElement* a_child)
{
    if (!a_child)
        return false;
    bool found = false;
    for (int i = m_children.size() - 1; i >= 0; --i) {
        if (m_children.at(i) == a_child) {
            m_children.removeAt(i);
            found = true;
        }
    }
    if (found) {
        a_child->m_parent = nullptr;
        deleteLater(a_child);
    }
    return found;
}

void LumexTreeElement::removeSelf()
{
    if (m_parent)
        m_parent->removeChild(this);
    else
        deleteLater(this);
}

void LumexTreeElement::prune()
{
    for (int i = m_children.size() - 1; i >= 0; --i)
        m_children.at(i)->prune();
    for (int i = m_children.size() - 1; i >= 0; --i) {
        const LumexTreeElement* child = m_children.at(i);
        if (child->m_isSchemaCompliant && child->m_children.isEmpty())
            takeChildAt(i);
    }
}

QStringList LumexTreeElement::dump() const
{
    QStringList lines;
    dumpInto(lines, 0);
    return lines;
}

bool LumexTreeElement::setLeafKind(bool LumexTreeElement::*a_kind, bool a_on, bool a_allowed)
{
    if (!a_on) {
        this->*a_kind = false;
        return true;
    }
    if (!a_allowed)
        return this->*a_kind;
    m_isText = false;
    m_isAttribute = false;
    m_isComment = false;
    this->*a_kind = true;
    return true;
}

void LumexTreeElement::becomeModeNode(qint64 a_elementId)
{
    m_elementId = a_elementId;
    m_isText = false;
    m_isAttribute = false;
    m_isComment = false;
    m_isSchemaCompliant = true;
}

LumexTreeElement* LumexTreeElement::copyNode(const LumexTreeElement& a_source, LumexTreeElement* a_parent)
{
    if (a_source.isModeElement()) {
        const auto& mode = static_cast<const LumexTreeMode&>(a_source);
        return new LumexTreeMode(mode, mode.modeObject(), a_parent);
    }
    return new LumexTreeElement(a_source, a_parent);
}

void LumexTreeElement::attachTo(LumexTreeElement* a_parent)
{
    m_parent = a_parent;
    a_parent->m_children.append(this);
    a_parent->m_isText = false;
    a_parent->m_isAttribute = false;
    a_parent->m_isComment = false;
}

void LumexTreeElement::takeChildAt(int a_index)
{
    LumexTreeElement* child = m_children.takeAt(a_index);
    child->m_parent = nullptr;
    deleteLater(child);
}

void LumexTreeElement::deleteLater(LumexTreeElement* a_node)
{
    QPointer<RemovedNodes>& pending = pendingRemovals();
    if (!pending) {
        pending = new RemovedNodes;
        pending->deleteLater();
    }
    pending->add(a_node);
}

void LumexTreeElement::copyChildrenFrom(const QList<LumexTreeElement*>& a_sources)
{
    for (const LumexTreeElement* source : a_sources)
        copyNode(*source, this);
}

void LumexTreeElement::dumpInto(QStringList& a_lines, int a_depth) const
{
    QString kind = QStringLiteral("Element");
    if (isModeElement())
        kind = QStringLiteral("Mode");
    else if (m_isText)
        kind = QStringLiteral("Text");
    else if (m_isComment)
        kind = QStringLiteral("Comment");
    else if (m_isAttribute)
        kind = QStringLiteral("Attribute");
    QString line = QStringLiteral("%1%2 \"%3\" = \"%4\"")
                       .arg(QString(a_depth * 2, QLatin1Char(' ')), kind, m_name, QString::fromUtf8(m_value));
    if (m_elementId != 0)
        line += QStringLiteral(" id %1").arg(m_elementId);
    if (!m_isSchemaCompliant)
        line += QStringLiteral(" (not in schema)");
    a_lines.append(line);
    for (const LumexTreeElement* child : m_children)
        child->dumpInto(a_lines, a_depth + 1);
}

} // namespace Orvex
