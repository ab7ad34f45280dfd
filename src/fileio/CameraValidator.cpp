#include "fileio/CameraValidator.h"

#include "elements/BooleanFeature.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/EnumerationFeature.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/NumericFeature.h"
#include "elements/StringFeature.h"
#include "elements/UnbuiltModeReader.h"
#include "fileio/LumexParser.h"
#include "model/LumexTree.h"
#include "model/LumexTreeElement.h"
#include "model/LumexTreeMode.h"
#include "model/NumericSpelling.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QXmlStreamReader>

#include <algorithm>
#include <cmath>
#include <functional>

namespace Orvex {

namespace {

// Both schemas restrict mode names so, and the board's driver relies on it: "@" separates a mode from
// its file in the driver's lists.
const QRegularExpression s_modeName(QStringLiteral("^[^@<>&'\"\\s]+$"));

// A value quoted in a message: short enough to read, long values cut.
QString quoted(const QString& a_value)
{
    constexpr int limit = 60;
    return QLatin1Char('"') + (a_value.size() > limit ? a_value.left(limit) + QChar(0x2026) : a_value) +
           QLatin1Char('"');
}

QString indexed(const QString& a_name, bool a_repeated, size_t a_index)
{
    return a_repeated ? QStringLiteral("%1[%2]").arg(a_name).arg(a_index) : a_name;
}

QString joined(const QString& a_prefix, const QString& a_segment)
{
    if (a_segment.isEmpty())
        return a_prefix;
    return a_prefix.isEmpty() ? a_segment : a_prefix + QLatin1Char('/') + a_segment;
}

// A bound as the user reads it: whole numbers without a point, others as short as they read back.
QString boundText(double a_bound)
{
    if (std::floor(a_bound) == a_bound && std::fabs(a_bound) < 1e18)
        return QString::number(qlonglong(a_bound));
    return QString::number(a_bound, 'g', 17);
}

QString allowedRange(const QString& a_minimum, const QString& a_maximum)
{
    if (!a_minimum.isEmpty() && !a_maximum.isEmpty())
        return QStringLiteral("allowed %1 to %2").arg(a_minimum, a_maximum);
    if (!a_minimum.isEmpty())
        return QStringLiteral("allowed %1 or more").arg(a_minimum);
    return QStringLiteral("allowed up to %1").arg(a_maximum);
}

QString entryList(const QVector<EnumerationFeature::Entry>& a_entries)
{
    QStringList values;
    for (const EnumerationFeature::Entry& entry : a_entries) {
        if (values.size() == 8) {
            values << QStringLiteral("and %1 more").arg(a_entries.size() - 8);
            break;
        }
        values << entry.value;
    }
    return values.join(QStringLiteral(", "));
}

bool isBlank(const QByteArray& a_text)
{
    return a_text.trimmed().isEmpty();
}

} // namespace

CameraValidator::SchemaFacts CameraValidator::readSchema(const QString& a_schemaPath)
{
    SchemaFacts facts;
    QFile file(a_schemaPath);
    if (!file.open(QIODevice::ReadOnly))
        return facts;
    QXmlStreamReader reader(&file);
    UniqueKey key;
    // The declarations around the reader, innermost last, and the element names among them.
    QStringList declarations;
    QStringList elements;
    while (!reader.atEnd()) {
        reader.readNext();
        const QStringRef name = reader.name();
        const bool declaration = name == QLatin1String("element") || name == QLatin1String("attribute");
        if (reader.isEndElement() && declaration) {
            if (name == QLatin1String("element"))
                elements.removeLast();
            declarations.removeLast();
        }
        if (!reader.isStartElement())
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        if (declaration) {
            const bool attribute = name == QLatin1String("attribute");
            const QString declared = attributes.value(QStringLiteral("name")).toString();
            const QString path = elements.value(elements.size() - 1) +
                                 (attribute ? QStringLiteral("/@") : QStringLiteral("/")) + declared;
            facts.declared.insert(path, QStringList());
            declarations << path;
            if (!attribute)
                elements << declared;
        } else if (name == QLatin1String("enumeration") && !declarations.isEmpty()) {
            facts.declared[declarations.last()] << attributes.value(QStringLiteral("value")).toString();
        } else if (name == QLatin1String("unique")) {
            key = UniqueKey();
        } else if (name == QLatin1String("selector")) {
            key.selector = attributes.value(QStringLiteral("xpath")).toString();
        } else if (name == QLatin1String("field") && !key.selector.isEmpty()) {
            key.field = attributes.value(QStringLiteral("xpath")).toString();
            if (key.selector != QLatin1String("mode"))
                facts.keys << key;
            key = UniqueKey();
        }
    }
    return facts;
}

CameraValidator::CameraValidator(const CameraElement* a_camera, const LumexTree* a_tree,
                                 const SchemaFacts& a_schema)
    : m_camera(a_camera), m_tree(a_tree), m_schema(a_schema)
{
}

CameraValidator::~CameraValidator() = default;

int CameraValidator::count(const QVector<ValidationProblem>& a_problems,
                           ValidationProblem::Severity a_severity)
{
    return int(std::count_if(
        a_problems.cbegin(), a_problems.cend(),
        [a_severity](const ValidationProblem& a_problem) { return a_problem.severity == a_severity; }));
}

QVector<ValidationProblem> CameraValidator::byLine(QVector<ValidationProblem> a_problems)
{
    std::stable_sort(a_problems.begin(), a_problems.end(),
                     [](const ValidationProblem& a_left, const ValidationProblem& a_right) {
                         return (a_left.line ? a_left.line : INT_MAX) <
                                (a_right.line ? a_right.line : INT_MAX);
                     });
    return a_problems;
}

QVector<ValidationProblem> CameraValidator::checkAll()
{
    if (!m_camera)
        return {};
    QHash<QString, QVector<ValidationProblem>> unknown = checkUnknownContent();
    QVector<ValidationProblem> all = byLine(checkGlobal() + unknown.take(QString()));
    const QVector<ValidationProblem> names = checkModeNames();
    const QVector<ModeElement*> modes = m_camera->modes();
    for (int index = 0; index < modes.size(); ++index) {
        const ModeElement* mode = modes.at(index);
        for (const ValidationProblem& problem : names)
            if (problem.locator.steps().value(0, -1) == index)
                all << problem;
        all += byLine(checkMode(mode) + unknown.take(mode->name()));
    }
    for (const QVector<ValidationProblem>& rest : qAsConst(unknown))
        all += rest;
    return all;
}

QVector<ValidationProblem> CameraValidator::checkGlobal()
{
    m_found.clear();
    m_mode.clear();
    if (m_camera)
        checkCategory(m_camera->globalCategory(), m_camera->globalCategory()->elementPath());
    return std::move(m_found);
}

QVector<ValidationProblem> CameraValidator::checkMode(const ModeElement* a_mode)
{
    m_found.clear();
    if (!a_mode)
        return {};
    m_mode = a_mode->name();
    // A mode's features stand below its own "mode" element.
    const QStringList scope = QStringList(a_mode->elementPath()) << QStringLiteral("mode");
    if (!a_mode->isBuilt() && m_tree && m_camera && m_camera->modeTemplate()) {
        checkUnbuiltMode(a_mode, scope);
        return std::move(m_found);
    }
    for (const ModeCategoryElementBase* category : a_mode->categories()) {
        auto* generic = qobject_cast<const GenericModeCategory*>(category);
        if (generic && !generic->categoryFeature()->isEnabled())
            continue;
        checkCategory(category, scope);
    }
    return std::move(m_found);
}

QVector<ValidationProblem> CameraValidator::checkModeNames()
{
    QVector<ValidationProblem> found;
    if (!m_camera)
        return found;
    QHash<QString, int> uses;
    const QVector<ModeElement*> modes = m_camera->modes();
    for (const ModeElement* mode : modes)
        ++uses[mode->name()];
    for (int index = 0; index < modes.size(); ++index) {
        const ModeElement* mode = modes.at(index);
        ValidationProblem problem;
        if (mode->name().isEmpty())
            problem.message = QStringLiteral("The mode has an empty name; a mode needs a name");
        else if (!s_modeName.match(mode->name()).hasMatch())
            problem.message =
                QStringLiteral("The mode name %1 is not allowed; allowed: no white space, @, <, >, "
                               "&, ' or \"")
                    .arg(quoted(mode->name()));
        else if (uses.value(mode->name()) > 1)
            problem.message =
                QStringLiteral("The mode name %1 is used by more than one mode; each mode needs its own name")
                    .arg(quoted(mode->name()));
        if (problem.message.isEmpty())
            continue;
        // Where the mode stands and its line cost a walk along the modes each, so only a problem pays.
        problem.mode = mode->name();
        problem.path = QStringLiteral("@name");
        problem.locator = ElementLocator::locate(m_camera, m_camera).child(index);
        if (m_tree) {
            if (const LumexTreeElement* node = m_tree->modeNode(mode))
                problem.line = node->line();
        }
        found << problem;
    }
    return found;
}

void CameraValidator::checkCategory(const CategoryElementBase* a_category, const QStringList& a_scopePath)
{
    for (const FeatureElementBase* feature : a_category->features()) {
        Place place;
        place.feature = feature;
        place.scope = &a_scopePath;
        checkFeature(place);
    }
}

void CameraValidator::checkUnbuiltMode(const ModeElement* a_mode, const QStringList& a_scopePath)
{
    const LumexTreeElement* modeNode = m_tree->modeNode(a_mode);
    const ElementLocator modeLocator = ElementLocator::locate(m_camera, a_mode);
    // What the reader remembers of an earlier check may be gone from the tree since.
    m_unbuiltReader = UnbuiltModeReader();
    const QVector<ModeCategoryElementBase*> categories = m_camera->modeTemplate()->categories();
    for (int position = 0; position < categories.size(); ++position) {
        // A category the file lacks is switched off, and its features are not checked.
        const ModeCategoryElementBase* category = categories.at(position);
        if (!UnbuiltModeReader::categoryNode(modeNode, category))
            continue;
        const QVector<FeatureElementBase*> features = category->features();
        m_categoryLocator = modeLocator.child(position);
        for (int index = 0; index < features.size(); ++index) {
            Place place;
            place.feature = features.at(index);
            place.scope = &a_scopePath;
            place.scopeNode = modeNode;
            place.position = index;
            checkFeature(place);
        }
    }
}

ElementLocator CameraValidator::locatorOf(const Place& a_place) const
{
    if (!a_place.outer)
        return m_categoryLocator.child(a_place.position);
    return locatorOf(*a_place.outer).child(int(a_place.outer->instance)).child(a_place.position);
}

QString CameraValidator::Place::holder() const
{
    return holderPath(feature, *scope, outer ? outer->memberPrefix() : QString());
}

QString CameraValidator::Place::memberPrefix() const
{
    const QString& name = feature->name();
    return name.isEmpty() ? holder() : joined(holder(), indexed(name, feature->maxOccurs() != 1, instance));
}

void CameraValidator::checkFeature(const Place& a_place)
{
    const FeatureElementBase* feature = a_place.feature;
    const QString& name = feature->name();
    // A feature of a mode that is not built is read from the nodes of its instances.
    Spot spot;
    const Spot* unbuilt = nullptr;
    if (a_place.scopeNode) {
        spot.place = &a_place;
        spot.nodes = m_unbuiltReader.instanceNodes(feature, a_place.scopeNode);
        unbuilt = &spot;
    }
    const size_t count = unbuilt ? size_t(spot.nodes.size()) : feature->instanceCount();
    const QString shownName = feature->isAttribute() ? QLatin1Char('@') + name : name;

    if (count < feature->minOccurs() || count > feature->maxOccurs()) {
        const bool few = count < feature->minOccurs();
        QString message;
        if (few && count == 0)
            message = QStringLiteral("%1 is missing; it is required").arg(name);
        else
            message = QStringLiteral("%1 occurs %2 times; allowed %3 %4")
                          .arg(name)
                          .arg(qulonglong(count))
                          .arg(few ? QStringLiteral("at least") : QStringLiteral("at most"))
                          .arg(qulonglong(few ? feature->minOccurs() : feature->maxOccurs()));
        add(ValidationProblem::Error, feature, FeatureElementBase::NoIndex,
            joined(a_place.holder(), shownName), message, unbuilt);
    }

    // Values first: nearly every feature is one, and a cast that fails walks every class up to QObject.
    if (auto* value = qobject_cast<const ValueFeatureElementBase*>(feature)) {
        for (size_t instance = 0; instance < count; ++instance) {
            if (unbuilt) {
                // What a template feature found right once is right in every mode that repeats it. The
                // node's bytes tell it, before they are decoded, for every value of every mode.
                const auto checked =
                    qMakePair(static_cast<const void*>(value), spot.nodes.at(int(instance))->value());
                if (m_cleanValues.contains(checked))
                    continue;
                const QString text = UnbuiltModeReader::valueText(spot.nodes.at(int(instance))).trimmed();
                const int found = m_found.size();
                checkValue(value, instance, a_place, shownName, text, readValue(value, text), unbuilt);
                if (m_found.size() == found)
                    m_cleanValues.insert(checked);
            } else {
                checkValue(value, instance, a_place, shownName, value->valueText(instance).trimmed(),
                           value->value(instance), nullptr);
            }
        }
        return;
    }
    if (auto* list = qobject_cast<const FeatureListFeatureBase*>(feature)) {
        const QStringList& path = feature->elementPath();
        const QStringList memberHolder = name.isEmpty() ? path : path + QStringList(name);
        Place instancePlace = a_place;
        const QVector<FeatureElementBase*> templates =
            unbuilt ? list->memberTemplates() : QVector<FeatureElementBase*>();
        for (size_t instance = 0; instance < count; ++instance) {
            instancePlace.instance = instance;
            Place memberPlace;
            memberPlace.scope = &memberHolder;
            memberPlace.outer = &instancePlace;
            if (unbuilt) {
                memberPlace.scopeNode = spot.nodes.at(int(instance));
                for (int position = 0; position < templates.size(); ++position) {
                    memberPlace.feature = templates.at(position);
                    memberPlace.position = position;
                    checkFeature(memberPlace);
                }
                continue;
            }
            // Member by member: a list of each instance's members would be made for every instance.
            for (size_t position = 0; const FeatureElementBase* member = list->member(instance, position);
                 ++position) {
                memberPlace.feature = member;
                checkFeature(memberPlace);
            }
        }
        checkUniqueKeys(list, a_place, unbuilt);
    }
}

QString CameraValidator::holderPath(const FeatureElementBase* a_feature, const QStringList& a_holderPath,
                                    const QString& a_prefix)
{
    const QStringList& path = a_feature->elementPath();
    QString holder = a_prefix;
    for (const QString& segment : path.mid(qMin(a_holderPath.size(), path.size())))
        holder = joined(holder, segment);
    return holder;
}

QVariant CameraValidator::readValue(const ValueFeatureElementBase* a_feature, const QString& a_text)
{
    // A fixed feature holds its fixed value whatever it reads; a boolean spelled otherwise keeps the value
    // it had, which a mode's copy of the template has from the declaration.
    if (a_feature->fixedValue().isValid())
        return a_feature->fixedValue();
    const LumexParser::ValueReading reading = LumexParser::readingOf(a_feature, a_text);
    return reading.value.isValid() ? reading.value : a_feature->defaultValue();
}

void CameraValidator::checkValue(const ValueFeatureElementBase* a_feature, size_t a_index,
                                 const Place& a_place, const QString& a_name, const QString& a_text,
                                 const QVariant& a_value, const Spot* a_spot)
{
    const auto pathOf = [&] {
        return joined(a_place.holder(), indexed(a_name, a_feature->maxOccurs() != 1, a_index));
    };
    const QString& text = a_text;
    // The path, and the name an unnamed feature takes from it, cost strings most values never need.
    QString path;
    QString name = a_feature->name();
    if (name.isEmpty()) {
        path = pathOf();
        name = path.section(QLatin1Char('/'), -1);
    }
    const auto report = [&](ValidationProblem::Severity a_severity, const QString& a_message) {
        add(a_severity, a_feature, a_index, path.isEmpty() ? pathOf() : path, a_message, a_spot);
    };

    // An empty element takes the value its declaration gives, as a schema reads it; an empty attribute
    // is a value of its own.
    if (text.isEmpty() && !a_feature->isAttribute() &&
        (a_feature->fixedValue().isValid() || a_feature->defaultValue().isValid()))
        return;
    if (a_feature->fixedValue().isValid()) {
        const QString fixed = a_feature->textFromValue(a_feature->fixedValue());
        if (text != fixed && a_feature->valueFromText(text) != a_feature->fixedValue())
            report(ValidationProblem::Error,
                   QStringLiteral("%1 is %2; it is fixed at %3").arg(name, quoted(text), quoted(fixed)));
        return;
    }

    if (auto* numeric = qobject_cast<const NumericFeature*>(a_feature)) {
        const NumericValue::RepTypeEnum type = numeric->representationType();
        if (!NumericSpelling::isWellFormed(text, type)) {
            report(ValidationProblem::Error,
                   QStringLiteral("%1 is %2; allowed: %3")
                       .arg(name, quoted(text), NumericSpelling::allowedForm(type)));
            return;
        }
        // The type's bounds are strings of their own, which only a reported value needs.
        if (NumericSpelling::compareWithTypeRange(text, type) != 0) {
            report(ValidationProblem::Error, QStringLiteral("%1 is %2; %3")
                                                 .arg(name, text,
                                                      allowedRange(NumericSpelling::typeMinimum(type),
                                                                   NumericSpelling::typeMaximum(type))));
            return;
        }
        if (NumericSpelling::underflows(text, type)) {
            report(ValidationProblem::Warning,
                   QStringLiteral("%1 is %2, too small for its type: it reads as 0").arg(name, text));
            return;
        }
        if (!numeric->isWithinRange(a_value)) {
            const QString minimum = numeric->hasExplicitMinimum() ? boundText(numeric->minimumValue())
                                                                  : NumericSpelling::typeMinimum(type);
            const QString maximum = numeric->hasExplicitMaximum() ? boundText(numeric->maximumValue())
                                                                  : NumericSpelling::typeMaximum(type);
            report(ValidationProblem::Error,
                   QStringLiteral("%1 is %2; %3")
                       .arg(name, text,
                            minimum.isEmpty() && maximum.isEmpty() ? QStringLiteral("outside its type")
                                                                   : allowedRange(minimum, maximum)));
            return;
        }
        if (numeric->hasFractionDigits() &&
            NumericSpelling::fractionDigits(text) > int(numeric->fractionDigits())) {
            report(ValidationProblem::Error,
                   QStringLiteral("%1 is %2; allowed at most %3 digits after the point")
                       .arg(name, text)
                       .arg(int(numeric->fractionDigits())));
        }
        return;
    }
    if (auto* enumeration = qobject_cast<const EnumerationFeature*>(a_feature)) {
        const QVector<EnumerationFeature::Entry> entries = enumeration->entries();
        const bool listed =
            std::any_of(entries.cbegin(), entries.cend(),
                        [&text](const EnumerationFeature::Entry& a_entry) { return a_entry.value == text; });
        if (!listed)
            report(ValidationProblem::Error,
                   QStringLiteral("%1 is %2; allowed %3").arg(name, quoted(text), entryList(entries)));
        return;
    }
    if (qobject_cast<const BooleanFeature*>(a_feature)) {
        static const QStringList spellings{QStringLiteral("true"), QStringLiteral("false"),
                                           QStringLiteral("1"), QStringLiteral("0")};
        if (!spellings.contains(text))
            report(ValidationProblem::Error,
                   QStringLiteral("%1 is %2; allowed true, false, 1 or 0").arg(name, quoted(text)));
        return;
    }
    if (auto* string = qobject_cast<const StringFeature*>(a_feature)) {
        const QString value = a_value.toString();
        const int length = value.toUcs4().size();
        if (length > string->stringLengthMax()) {
            report(ValidationProblem::Error, QStringLiteral("%1 has %2 characters; allowed at most %3")
                                                 .arg(name)
                                                 .arg(length)
                                                 .arg(string->stringLengthMax()));
        }
        // Not copied: a QRegExp allocates whenever it is, and every string value of the file passes here.
        const QRegExp* pattern = string->sharedStringPattern();
        if (pattern && !pattern->isEmpty() && pattern->isValid() && !matchesPattern(*pattern, value)) {
            report(ValidationProblem::Error, QStringLiteral("%1 is %2; allowed: text matching %3")
                                                 .arg(name, quoted(value), pattern->pattern()));
        }
    }
}

bool CameraValidator::matchesPattern(const QRegExp& a_pattern, const QString& a_value)
{
    MatchedValues& matched = m_matched[&a_pattern];
    // A pattern set anew, or another one made where a freed one stood, starts over.
    if (matched.pattern != a_pattern.pattern()) {
        matched.pattern = a_pattern.pattern();
        matched.values.clear();
    }
    if (matched.values.contains(a_value))
        return true;
    if (!a_pattern.exactMatch(a_value))
        return false;
    matched.values.insert(a_value);
    return true;
}

void CameraValidator::checkUniqueKeys(const FeatureListFeatureBase* a_list, const Place& a_place,
                                      const Spot* a_spot)
{
    for (const UniqueKey& key : qAsConst(m_schema.keys)) {
        if (key.selector != a_list->name())
            continue;
        const bool attribute = key.field.startsWith(QLatin1Char('@'));
        const QString field = attribute ? key.field.mid(1) : key.field;
        QHash<QString, size_t> first;
        const bool repeated = a_list->maxOccurs() != 1;
        const size_t instances = a_spot ? size_t(a_spot->nodes.size()) : a_list->instanceCount();
        for (size_t instance = 0; instance < instances; ++instance) {
            const QVector<FeatureElementBase*> members =
                a_spot ? a_list->memberTemplates() : a_list->instanceMembers(instance);
            for (int position = 0; position < members.size(); ++position) {
                const FeatureElementBase* member = members.at(position);
                auto* value = qobject_cast<const ValueFeatureElementBase*>(member);
                if (!value || member->name() != field || member->isAttribute() != attribute)
                    continue;
                Spot memberSpot;
                if (a_spot) {
                    memberSpot.place = a_spot->place;
                    memberSpot.instance = instance;
                    memberSpot.member = position;
                    memberSpot.nodes = m_unbuiltReader.instanceNodes(member, a_spot->nodes.at(int(instance)));
                }
                if (a_spot ? memberSpot.nodes.isEmpty() : member->instanceCount() == 0)
                    continue;
                // Keys compare by value, as the schema compares them: "05" and "5" are one index.
                const QVariant held =
                    a_spot
                        ? readValue(value, UnbuiltModeReader::valueText(memberSpot.nodes.first()).trimmed())
                        : value->value(0);
                const QString keyText = value->textFromValue(held);
                const auto earlier = first.constFind(keyText);
                if (earlier == first.cend()) {
                    first.insert(keyText, instance);
                    continue;
                }
                add(ValidationProblem::Error, member, 0,
                    joined(joined(a_place.holder(), indexed(a_list->name(), repeated, instance)), key.field),
                    QStringLiteral("%1 %2 is used by %3[%4] already; each %3 needs its own %1")
                        .arg(field, keyText, a_list->name())
                        .arg(qulonglong(*earlier)),
                    a_spot ? &memberSpot : nullptr);
            }
        }
    }
}

void CameraValidator::add(ValidationProblem::Severity a_severity, const FeatureElementBase* a_feature,
                          size_t a_index, const QString& a_path, const QString& a_message, const Spot* a_spot)
{
    ValidationProblem problem;
    problem.severity = a_severity;
    problem.mode = m_mode;
    problem.path = a_path;
    problem.message = a_message;
    problem.instance = a_index;
    if (a_spot) {
        problem.locator = locatorOf(*a_spot->place);
        if (a_spot->member >= 0)
            problem.locator = problem.locator.child(int(a_spot->instance)).child(a_spot->member);
        const int line = a_spot->nodes.isEmpty()                  ? 0
                         : a_index < size_t(a_spot->nodes.size()) ? a_spot->nodes.at(int(a_index))->line()
                                                                  : a_spot->nodes.first()->line();
        problem.line = line;
    } else {
        problem.locator = ElementLocator::locate(m_camera, a_feature);
        problem.line = lineOf(a_feature, a_index);
    }
    m_found << problem;
}

int CameraValidator::lineOf(const FeatureElementBase* a_feature, size_t a_index)
{
    if (!m_tree)
        return 0;
    if (!m_linesBuilt) {
        m_linesBuilt = true;
        QVector<const LumexTreeElement*> pending{m_tree->root()};
        while (!pending.isEmpty()) {
            const LumexTreeElement* node = pending.takeLast();
            if (!node)
                continue;
            if (node->elementId() > 0 && node->line() > 0)
                m_lines[quint64(node->elementId())] << node->line();
            const QList<LumexTreeElement*> children = node->childElements();
            for (int child = children.size(); child-- > 0;)
                pending << children.at(child);
        }
    }
    const QVector<int> lines = m_lines.value(a_feature->id());
    if (lines.isEmpty())
        return 0;
    return a_index < size_t(lines.size()) ? lines.at(int(a_index)) : lines.first();
}

QHash<QString, QVector<ValidationProblem>> CameraValidator::checkUnknownContent()
{
    QHash<QString, QVector<ValidationProblem>> found;
    m_globalPath = m_camera ? m_camera->globalCategory()->elementPath().join(QLatin1Char('/')) : QString();
    if (m_tree && m_tree->root())
        collectUnknown(m_tree->root(), QString(), m_tree->root(), found);
    return found;
}

ElementLocator CameraValidator::nearestKnown(const LumexTreeElement* a_node) const
{
    // The nearest element the schema knows is where the user can look.
    for (const LumexTreeElement* above = a_node; above; above = above->parentElement()) {
        const ElementBase* element = ElementBase::findById(quint64(above->elementId()));
        if (!element)
            continue;
        // Inside a mode not built yet only the mode's node is linked: where the element of a node below
        // it will stand is found through the template, which leaves the mode unbuilt.
        const auto* mode = qobject_cast<const ModeElement*>(element);
        if (mode && !mode->isBuilt() && m_camera && m_camera->modeTemplate()) {
            for (const LumexTreeElement* inner = a_node; inner && inner != above;
                 inner = inner->parentElement()) {
                const ElementLocator found = unbuiltLink(mode, above, inner);
                if (found.isValid())
                    return found;
            }
        }
        return ElementLocator::locate(m_camera, element);
    }
    return ElementLocator();
}

ElementLocator CameraValidator::unbuiltLink(const ModeElement* a_mode, const LumexTreeElement* a_modeNode,
                                            const LumexTreeElement* a_node) const
{
    // Building links nodes in the order it reads them, a node read twice (a list instance that is also
    // its unnamed member's text) to the last: the walk goes the same way and keeps the last match.
    ElementLocator found;
    UnbuiltModeReader reader;
    const std::function<void(const QVector<FeatureElementBase*>&, const LumexTreeElement*,
                             const ElementLocator&)>
        walk = [&](const QVector<FeatureElementBase*>& a_features, const LumexTreeElement* a_scope,
                   const ElementLocator& a_holder) {
            for (int position = 0; position < a_features.size(); ++position) {
                const FeatureElementBase* feature = a_features.at(position);
                const ElementLocator locator = a_holder.child(position);
                const QVector<const LumexTreeElement*> nodes = reader.instanceNodes(feature, a_scope);
                auto* list = qobject_cast<const FeatureListFeatureBase*>(feature);
                for (int instance = 0; instance < nodes.size(); ++instance) {
                    if (nodes.at(instance) == a_node)
                        found = locator;
                    if (list)
                        walk(list->memberTemplates(), nodes.at(instance), locator.child(instance));
                }
            }
        };
    const ElementLocator modeLocator = ElementLocator::locate(m_camera, a_mode);
    const QVector<ModeCategoryElementBase*> categories = m_camera->modeTemplate()->categories();
    for (int position = 0; position < categories.size(); ++position) {
        const LumexTreeElement* categoryNode =
            UnbuiltModeReader::categoryNode(a_modeNode, categories.at(position));
        if (!categoryNode)
            continue;
        if (categoryNode == a_node)
            found = modeLocator.child(position).child(ElementLocator::SpecialChild);
        walk(categories.at(position)->features(), a_modeNode, modeLocator.child(position));
    }
    return found;
}

QString CameraValidator::unknownPath(const LumexTreeElement* a_node, const LumexTreeElement* a_start,
                                     bool a_global) const
{
    QVector<const LumexTreeElement*> chain;
    for (const LumexTreeElement* node = a_node; node && node != a_start; node = node->parentElement())
        chain.prepend(node);
    QString path;
    for (const LumexTreeElement* node : qAsConst(chain)) {
        if (node->isComment() || node->isText())
            continue;
        // Below a mode, paths start at the mode; the global features' own element is left out too.
        path = joined(path, node->isAttribute() ? QLatin1Char('@') + node->name() : node->name());
        if (a_global && path.startsWith(m_globalPath + QLatin1Char('/')))
            path = path.mid(m_globalPath.size() + 1);
        else if (a_global && path == m_globalPath)
            path.clear();
    }
    return path;
}

void CameraValidator::collectUnknown(const LumexTreeElement* a_node, const QString& a_mode,
                                     const LumexTreeElement* a_pathStart,
                                     QHash<QString, QVector<ValidationProblem>>& a_found) const
{
    const int children = a_node->childCount();
    for (int position = 0; position < children; ++position) {
        const LumexTreeElement* child = a_node->childAt(position);
        // The walk meets every node of the file: the mode's name is pointed at, not copied, for each.
        QString modeName;
        const QString* mode = &a_mode;
        // Where the path of what is found below starts; the path itself is made only for a problem.
        const LumexTreeElement* pathStart = a_pathStart;
        if (child->isModeElement()) {
            const auto* modeNode = static_cast<const LumexTreeMode*>(child);
            const auto* element = qobject_cast<const ModeElement*>(modeNode->modeObject());
            if (element)
                modeName = element->name();
            mode = &modeName;
            pathStart = child;
        }
        const auto shownName = [child] {
            return child->isAttribute() ? QLatin1Char('@') + child->name() : child->name();
        };
        // Namespace declarations are no attributes to a schema.
        const bool namespaceDeclaration =
            child->isAttribute() &&
            (child->name() == QLatin1String("xmlns") || child->name().startsWith(QLatin1String("xmlns:")));
        // Content the editor read is declared and in place; only the rest is looked up, as the walk
        // meets every element of the file.
        const auto declared =
            child->isSchemaCompliant() || child->isText() || child->isComment()
                ? m_schema.declared.cend()
                : m_schema.declared.constFind(a_node->name() + QLatin1Char('/') + shownName());
        const bool known = child->isSchemaCompliant() || declared != m_schema.declared.cend();
        if (child->isComment() || child->isSchemaCompliant() || namespaceDeclaration || known ||
            (child->isText() && isBlank(child->value()))) {
            if (!child->isText() && !child->isComment() && !child->isAttribute())
                collectUnknown(child, *mode, pathStart, a_found);
            if (!known)
                continue;
        }
        // A second copy of an element the schema allows once is kept beside the one the editor reads.
        const bool excess =
            known && !child->isAttribute() && !child->isSchemaCompliant() &&
            std::any_of(a_node->childElements().cbegin(), a_node->childElements().cend(),
                        [child](const LumexTreeElement* a_sibling) {
                            return a_sibling->isSchemaCompliant() && a_sibling->name() == child->name();
                        });
        if (known && !excess &&
            (child->isSchemaCompliant() || declared->isEmpty() ||
             declared->contains(QString::fromUtf8(child->value()).trimmed())))
            continue;
        ValidationProblem problem;
        problem.severity = known ? ValidationProblem::Error : ValidationProblem::Warning;
        problem.mode = *mode;
        problem.path = unknownPath(child->isText() ? a_node : child, pathStart, mode->isEmpty());
        problem.line = child->line();
        const QString kept = QStringLiteral("the schema does not know it; it is kept and written back");
        if (excess)
            problem.message =
                QStringLiteral("<%1> occurs more often than allowed; the copy is kept and written back")
                    .arg(child->name());
        else if (known)
            problem.message = QStringLiteral("%1 is %2; allowed %3")
                                  .arg(shownName(), quoted(QString::fromUtf8(child->value()).trimmed()),
                                       declared->join(QStringLiteral(", ")));
        else if (child->isText())
            problem.message = QStringLiteral("Text %1 where the schema allows none; %2")
                                  .arg(quoted(QString::fromUtf8(child->value()).trimmed()), kept);
        else if (child->isAttribute())
            problem.message = QStringLiteral("Unknown attribute %1; %2").arg(child->name(), kept);
        else
            problem.message = QStringLiteral("Unknown element <%1>; %2").arg(child->name(), kept);
        problem.locator = nearestKnown(a_node);
        a_found[*mode] << problem;
    }
}

} // namespace Orvex
