#include "CameraFileDump.h"

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/ValueFeatureElementBase.h"

#include <QHash>
#include <QPair>

#include <functional>
#include <memory>
#include <vector>

namespace Orvex {

namespace {

// One element of the written file below a scope, with the values that go into it. The values arrive
// in the printer's order, which puts an element's attributes wherever the schema lists them; the file
// has them first.
struct DumpNode
{
    QString segment;
    QStringList attributeLines;
    QStringList textLines;
    std::vector<std::unique_ptr<DumpNode>> children;

    DumpNode* child(const QString& a_segment)
    {
        for (const auto& existing : children) {
            if (existing->segment == a_segment)
                return existing.get();
        }
        children.push_back(std::make_unique<DumpNode>());
        children.back()->segment = a_segment;
        return children.back().get();
    }

    DumpNode* descendant(const QStringList& a_segments)
    {
        DumpNode* node = this;
        for (const QString& segment : a_segments)
            node = node->child(segment);
        return node;
    }

    void collect(const QString& a_scope, const QString& a_path, QStringList& a_lines) const
    {
        const QString prefix = a_path.isEmpty() ? QString() : a_path + QLatin1Char('/');
        for (const QString& line : attributeLines)
            a_lines << a_scope + QLatin1Char('\t') + prefix + line;
        for (const QString& line : textLines)
            a_lines << a_scope + QLatin1Char('\t') + a_path + QLatin1Char('\t') + line;
        for (const auto& node : children)
            node->collect(a_scope, prefix + node->segment, a_lines);
    }
};

QString indexed(const QString& a_name, bool a_repeated, size_t a_index)
{
    return a_repeated ? QStringLiteral("%1[%2]").arg(a_name).arg(a_index) : a_name;
}

class ScopeWalker
{
public:
    explicit ScopeWalker(const QStringList& a_scopePath) : m_scopePath(a_scopePath) {}

    void addFeature(const FeatureElementBase* a_feature, const QStringList& a_holderPath,
                    const QStringList& a_segments)
    {
        const QStringList path = a_feature->elementPath();
        const QStringList segments = a_segments + path.mid(qMin(a_holderPath.size(), path.size()));
        const QString name = a_feature->name();
        const bool repeated = a_feature->maxOccurs() != 1;

        if (auto* list = qobject_cast<const FeatureListFeatureBase*>(a_feature)) {
            for (size_t instance = 0; instance < list->instanceCount(); ++instance) {
                const QStringList instanceSegments =
                    name.isEmpty() ? segments : segments + QStringList(indexed(name, repeated, instance));
                const QStringList instancePath = name.isEmpty() ? path : path + QStringList(name);
                for (const FeatureElementBase* member : list->instanceMembers(instance))
                    addFeature(member, instancePath, instanceSegments);
            }
            return;
        }
        auto* value = qobject_cast<const ValueFeatureElementBase*>(a_feature);
        if (!value)
            return;
        const size_t count = value->instanceCount();
        DumpNode* holder = m_root.descendant(segments);
        const QString holderPath = segments.join(QLatin1Char('/'));
        const QString prefix = holderPath.isEmpty() ? QString() : holderPath + QLatin1Char('/');
        for (size_t instance = 0; instance < count; ++instance) {
            const QString where = value->isAttribute()
                                      ? prefix + QLatin1Char('@') + indexed(name, repeated, instance)
                                  : name.isEmpty() ? holderPath
                                                   : prefix + indexed(name, repeated, instance);
            m_values.insert(where, {value->id(), instance});
            const QString text = CameraFileDump::escapedValue(value->valueText(instance));
            if (value->isAttribute()) {
                holder->attributeLines
                    << QLatin1Char('@') + indexed(name, repeated, instance) + QLatin1Char('\t') + text;
            } else if (name.isEmpty()) {
                if (count == 1)
                    holder->textLines << text;
            } else if (repeated || count == 1) {
                holder->child(indexed(name, repeated, instance))->textLines << text;
            }
        }
    }

    void addCategory(const CategoryElementBase* a_category, const QStringList& a_segments)
    {
        for (const FeatureElementBase* feature : a_category->features())
            addFeature(feature, m_scopePath, a_segments);
    }

    void collect(const QString& a_scope, QStringList& a_lines) const
    {
        m_root.collect(a_scope, QString(), a_lines);
    }

    // The feature id and instance of the value at a_path; id 0 when there is none.
    QPair<quint64, size_t> valueAt(const QString& a_path) const { return m_values.value(a_path, {0, 0}); }

private:
    QStringList m_scopePath;
    DumpNode m_root;
    QHash<QString, QPair<quint64, size_t>> m_values;
};

// Calls a_visit with each scope's name and its walker, once the walker has met the scope's values.
void forEachScope(const CameraElement* a_camera,
                  const std::function<void(const QString&, const ScopeWalker&)>& a_visit)
{
    const CameraGlobalCategory* global = a_camera->globalCategory();
    ScopeWalker camera(global->elementPath());
    camera.addCategory(global, QStringList());
    a_visit(QStringLiteral("camera"), camera);

    for (const ModeElement* mode : a_camera->modes()) {
        // The scope of a mode is its own "mode" element, below the path that holds the modes.
        const QStringList modePath = mode->elementPath() << QStringLiteral("mode");
        ScopeWalker walker(modePath);
        for (const ModeCategoryElementBase* category : mode->categories()) {
            auto* generic = qobject_cast<const GenericModeCategory*>(category);
            if (generic && !generic->categoryFeature()->isEnabled())
                continue;
            walker.addCategory(category, QStringList());
        }
        a_visit(QStringLiteral("mode=") + mode->name(), walker);
    }
}

} // namespace

QStringList CameraFileDump::lines(const CameraElement* a_camera)
{
    QStringList result;
    if (a_camera) {
        forEachScope(a_camera, [&](const QString& a_scope, const ScopeWalker& a_walker) {
            a_walker.collect(a_scope, result);
        });
    }
    return result;
}

QString CameraFileDump::setValue(CameraElement* a_camera, const QString& a_scope, const QString& a_path,
                                 const QString& a_text)
{
    QPair<quint64, size_t> found{0, 0};
    if (a_camera) {
        forEachScope(a_camera, [&](const QString& a_name, const ScopeWalker& a_walker) {
            if (a_name == a_scope)
                found = a_walker.valueAt(a_path);
        });
    }
    auto* value = qobject_cast<ValueFeatureElementBase*>(ElementBase::findById(found.first));
    if (!value)
        return QStringLiteral("No value at \"%1\" in \"%2\".").arg(a_path, a_scope);
    if (!value->setValueFromText(found.second, a_text))
        return QStringLiteral("\"%1\" is no value of \"%2\".").arg(a_text, a_path);
    return QString();
}

QString CameraFileDump::escapedValue(const QString& a_value)
{
    QString escaped;
    escaped.reserve(a_value.size());
    for (const QChar c : a_value) {
        switch (c.unicode()) {
        case '\\':
            escaped += QLatin1String("\\\\");
            break;
        case '\t':
            escaped += QLatin1String("\\t");
            break;
        case '\n':
            escaped += QLatin1String("\\n");
            break;
        case '\r':
            escaped += QLatin1String("\\r");
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

} // namespace Orvex
