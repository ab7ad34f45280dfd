#include "CameraFileDump.h"

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/CategoryElementBase.h"
#include "elements/FeatureIndex.h"
#include "elements/ModeCategoryElementBase.h"
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

    DumpNode* descendant(const QVector<QStringRef>& a_segments)
    {
        DumpNode* node = this;
        for (const QStringRef& segment : a_segments)
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

private:
    DumpNode* child(const QStringRef& a_segment)
    {
        for (const auto& existing : children) {
            if (existing->segment == a_segment)
                return existing.get();
        }
        children.push_back(std::make_unique<DumpNode>());
        children.back()->segment = a_segment.toString();
        return children.back().get();
    }
};

// The values of one scope sorted into the tree of the elements that hold them.
class ScopeDump
{
public:
    void add(const FeatureIndex::Entry& a_entry)
    {
        const QString text = CameraFileDump::escapedValue(a_entry.value);
        QVector<QStringRef> segments = a_entry.path.splitRef(QLatin1Char('/'), Qt::SkipEmptyParts);
        if (a_entry.feature->isAttribute()) {
            const QString attribute = segments.takeLast().toString();
            m_root.descendant(segments)->attributeLines << attribute + QLatin1Char('\t') + text;
        } else {
            m_root.descendant(segments)->textLines << text;
        }
        m_values.insert(a_entry.path, {a_entry.feature->id(), a_entry.instance});
    }

    void collect(const QString& a_scope, QStringList& a_lines) const
    {
        m_root.collect(a_scope, QString(), a_lines);
    }

    // The feature id and instance of the value at a_path; id 0 when there is none.
    QPair<quint64, size_t> valueAt(const QString& a_path) const { return m_values.value(a_path, {0, 0}); }

private:
    DumpNode m_root;
    QHash<QString, QPair<quint64, size_t>> m_values;
};

// Calls a_visit with each scope's name and its values, in the order of the file.
void forEachScope(const CameraElement* a_camera,
                  const std::function<void(const QString&, const ScopeDump&)>& a_visit)
{
    const auto dumpOf = [](const CategoryElementBase* a_category, const QStringList& a_scopePath,
                           ScopeDump& a_dump) {
        if (FeatureIndex::isPresent(a_category))
            FeatureIndex::visit(a_category, a_scopePath, false,
                                [&a_dump](const FeatureIndex::Entry& a_entry) { a_dump.add(a_entry); });
    };
    ScopeDump camera;
    dumpOf(a_camera->globalCategory(), FeatureIndex::scopePath(a_camera), camera);
    a_visit(QStringLiteral("camera"), camera);

    for (const ModeElement* mode : a_camera->modes()) {
        ScopeDump dump;
        const QStringList scopePath = FeatureIndex::scopePath(mode);
        for (const ModeCategoryElementBase* category : mode->categories())
            dumpOf(category, scopePath, dump);
        a_visit(QStringLiteral("mode=") + mode->name(), dump);
    }
}

} // namespace

QStringList CameraFileDump::lines(const CameraElement* a_camera)
{
    QStringList result;
    if (a_camera) {
        forEachScope(a_camera, [&](const QString& a_scope, const ScopeDump& a_dump) {
            a_dump.collect(a_scope, result);
        });
    }
    return result;
}

QString CameraFileDump::setValue(CameraElement* a_camera, const QString& a_scope, const QString& a_path,
                                 const QString& a_text)
{
    QPair<quint64, size_t> found{0, 0};
    if (a_camera) {
        forEachScope(a_camera, [&](const QString& a_name, const ScopeDump& a_dump) {
            if (a_name == a_scope)
                found = a_dump.valueAt(a_path);
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
