#include "model/LumexTree.h"

#include "model/LumexTreeElement.h"
#include "model/LumexTreeMode.h"
#include "platform/LumexSource.h"

namespace Orvex {

LumexTree::LumexTree(const QString& a_file, QObject* a_parent)
    : QObject(a_parent), m_file(a_file), m_root(new LumexTreeElement(this))
{
}

LumexTree::~LumexTree()
{
    delete m_root;
}

void LumexTree::setFile(const QString& a_file)
{
    m_file = a_file;
}

std::shared_ptr<const Lumex::LumexSource> LumexTree::source() const
{
    if (!m_sourceText.isNull()) {
        m_source = Lumex::LumexSource::read(m_sourceText);
        m_sourceText = QByteArray();
    }
    return m_source;
}

void LumexTree::setSource(std::shared_ptr<const Lumex::LumexSource> a_source)
{
    m_source = std::move(a_source);
    m_sourceText = QByteArray();
}

void LumexTree::setSourceText(const QByteArray& a_text)
{
    m_source.reset();
    m_sourceText = a_text.isNull() ? QByteArray("") : a_text;
}

QByteArray LumexTree::sourceText() const
{
    if (!m_sourceText.isNull())
        return m_sourceText;
    return m_source ? m_source->text() : QByteArray();
}

LumexTreeElement* LumexTree::root() const
{
    return m_root;
}

LumexTreeElement* LumexTree::elementByPath(const QStringList& a_path, bool a_schemaCompliant)
{
    return m_root->descendantByPath(a_path, a_schemaCompliant);
}

LumexTreeMode* LumexTree::attachMode(QObject* a_modeObj)
{
    if (!a_modeObj)
        return nullptr;
    LumexTreeElement* modes = elementByPath(
        {QStringLiteral("quarnel_config"), QStringLiteral("camera"), QStringLiteral("modes")}, true);
    if (!modes)
        return nullptr;
    // Attached modes are "mode" children too; only the template recorded from the schema is copied. The
    // template comes first, so the walk stops early: listing every mode per attachment would make
    // loading a file of many modes quadratic.
    const QString modeName = QStringLiteral("mode");
    for (int i = 0; i < modes->childCount(); ++i) {
        const LumexTreeElement* candidate = modes->childAt(i);
        if (candidate->name() != modeName || candidate->isModeElement())
            continue;
        // The mode's own attributes only: its content is read into the node, which makes the nodes it
        // has, where a copy of every node the schema allows would mostly be taken away again.
        LumexTreeElement bare(modeName, nullptr);
        bare.setIsSchemaCompliant(true);
        for (const LumexTreeElement* child : candidate->childElements()) {
            if (child->isAttribute())
                new LumexTreeElement(*child, &bare);
        }
        return new LumexTreeMode(bare, a_modeObj, modes);
    }
    return nullptr;
}

LumexTreeMode* LumexTree::modeNode(const QObject* a_modeObj) const
{
    if (!a_modeObj)
        return nullptr;
    for (const QPointer<LumexTreeMode>& node : m_nodesByMode.value(a_modeObj)) {
        if (node && node->parentElement())
            return node;
    }
    return nullptr;
}

QList<LumexTreeMode*> LumexTree::attachedModes() const
{
    QList<LumexTreeMode*> nodes;
    for (const AttachedMode& attached : m_modes) {
        if (attached.m_node && attached.m_node->parentElement())
            nodes.append(attached.m_node);
    }
    return nodes;
}

void LumexTree::removeMode(QObject* a_modeObj)
{
    m_nodesByMode.remove(a_modeObj);
    for (int i = m_modes.size() - 1; i >= 0; --i) {
        const AttachedMode attached = m_modes.at(i);
        if (attached.m_node && attached.m_modeObject != a_modeObj)
            continue;
        m_modes.removeAt(i);
        if (attached.m_node)
            attached.m_node->removeSelf();
    }
}

void LumexTree::trackMode(LumexTreeMode* a_node, QObject* a_modeObj)
{
    m_modes.append({a_modeObj, a_node});
    m_nodesByMode[a_modeObj].append(a_node);
    connect(a_modeObj, &QObject::destroyed, this, &LumexTree::removeMode, Qt::UniqueConnection);
}

} // namespace Orvex
