#include "elements/FeatureIndex.h"

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/UnbuiltModeReader.h"
#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

namespace {

QString indexed(const QString& a_name, bool a_repeated, size_t a_index)
{
    return a_repeated ? a_name + QLatin1Char('[') + QString::number(a_index) + QLatin1Char(']') : a_name;
}

class Walker
{
public:
    Walker(bool a_withAbsent, const FeatureIndex::Visitor& a_visitor)
        : m_withAbsent(a_withAbsent), m_visitor(a_visitor)
    {
    }

    // a_scopeNode, for a feature of an unbuilt mode, is the node its instances are looked up from.
    void feature(const FeatureElementBase* a_feature, const QStringList& a_holderPath,
                 const QStringList& a_segments, const LumexTreeElement* a_scopeNode)
    {
        const QVector<const LumexTreeElement*> nodes =
            a_scopeNode ? m_reader.instanceNodes(a_feature, a_scopeNode) : QVector<const LumexTreeElement*>();
        const QStringList& path = a_feature->elementPath();
        const QStringList segments = a_segments + path.mid(qMin(a_holderPath.size(), path.size()));
        const QString& name = a_feature->name();
        const bool repeated = a_feature->maxOccurs() != 1;

        if (auto* list = qobject_cast<const FeatureListFeatureBase*>(a_feature)) {
            const QStringList instancePath = name.isEmpty() ? path : path + QStringList(name);
            const size_t instances = a_scopeNode ? size_t(nodes.size()) : list->instanceCount();
            for (size_t instance = 0; instance < instances; ++instance) {
                const QStringList instanceSegments =
                    name.isEmpty() ? segments : segments + QStringList(indexed(name, repeated, instance));
                const QVector<FeatureElementBase*> members =
                    a_scopeNode ? list->memberTemplates() : list->instanceMembers(instance);
                m_entry.steps << int(instance) << 0;
                for (int position = 0; position < members.size(); ++position) {
                    m_entry.steps.last() = position;
                    feature(members.at(position), instancePath, instanceSegments,
                            a_scopeNode ? nodes.at(int(instance)) : nullptr);
                }
                m_entry.steps.resize(m_entry.steps.size() - 2);
            }
            return;
        }
        auto* value = qobject_cast<const ValueFeatureElementBase*>(a_feature);
        if (!value)
            return;
        m_entry.feature = value;
        m_entry.name = name.isEmpty() ? segments.value(segments.size() - 1) : name;
        const size_t count = a_scopeNode ? size_t(nodes.size()) : value->instanceCount();
        if (count == 0) {
            if (!m_withAbsent)
                return;
            m_entry.instance = FeatureIndex::NoInstance;
            m_entry.value.clear();
            m_entry.path = entryPath(value, segments, name, repeated, 0);
            m_visitor(m_entry);
            return;
        }
        for (size_t instance = 0; instance < count; ++instance) {
            // A repeated text without a name of its own cannot be told apart in the file; the printer
            // writes only a single one.
            if (name.isEmpty() && count != 1)
                continue;
            m_entry.instance = instance;
            m_entry.value = a_scopeNode ? UnbuiltModeReader::valueText(nodes.at(int(instance)))
                                        : value->valueText(instance);
            m_entry.path = entryPath(value, segments, name, repeated, instance);
            m_visitor(m_entry);
        }
    }

    void category(const CategoryElementBase* a_category, const QStringList& a_scopePath,
                  const LumexTreeElement* a_modeNode)
    {
        const QVector<FeatureElementBase*> features = a_category->features();
        for (int position = 0; position < features.size(); ++position) {
            m_entry.topFeature = position;
            m_entry.steps = {position};
            feature(features.at(position), a_scopePath, QStringList(), a_modeNode);
        }
    }

private:
    static QString entryPath(const ValueFeatureElementBase* a_value, const QStringList& a_segments,
                             const QString& a_name, bool a_repeated, size_t a_instance)
    {
        QString path = a_segments.join(QLatin1Char('/'));
        if (a_name.isEmpty())
            return path;
        if (!path.isEmpty())
            path += QLatin1Char('/');
        if (a_value->isAttribute())
            path += QLatin1Char('@');
        return path + indexed(a_name, a_repeated, a_instance);
    }

    bool m_withAbsent;
    const FeatureIndex::Visitor& m_visitor;
    FeatureIndex::Entry m_entry;
    UnbuiltModeReader m_reader;
};

} // namespace

QStringList FeatureIndex::scopePath(const CameraElement* a_camera)
{
    return a_camera->globalCategory()->elementPath();
}

QStringList FeatureIndex::scopePath(const ModeElement* a_mode)
{
    return QStringList(a_mode->elementPath()) << QStringLiteral("mode");
}

void FeatureIndex::visit(const CategoryElementBase* a_category, const QStringList& a_scopePath,
                         bool a_withAbsent, const Visitor& a_visitor)
{
    Walker walker(a_withAbsent, a_visitor);
    walker.category(a_category, a_scopePath, nullptr);
}

void FeatureIndex::visitUnbuilt(const CategoryElementBase* a_template, const LumexTreeElement* a_modeNode,
                                const QStringList& a_scopePath, bool a_withAbsent, const Visitor& a_visitor)
{
    if (!a_modeNode)
        return;
    Walker walker(a_withAbsent, a_visitor);
    walker.category(a_template, a_scopePath, a_modeNode);
}

bool FeatureIndex::isPresent(const CategoryElementBase* a_category)
{
    auto* generic = qobject_cast<const GenericModeCategory*>(a_category);
    return !generic || generic->categoryFeature()->isEnabled();
}

} // namespace Orvex
