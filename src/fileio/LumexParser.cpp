#include "fileio/LumexParser.h"

#include "elements/BooleanFeature.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/EnumerationFeature.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeBuilder.h"
#include "elements/ModeCategoryElementBase.h"
#include "elements/ModeElement.h"
#include "elements/NumericFeature.h"
#include "elements/StringFeature.h"
#include "elements/ValueFeatureElementBase.h"
#include "fileio/LumexFailureWords.h"
#include "model/LumexDiagnostics.h"
#include "model/LumexTree.h"
#include "model/LumexTreeElement.h"
#include "model/LumexTreeMode.h"
#include "model/NumericSpelling.h"
#include "platform/LogCategories.h"
#include "widgets/ProgressStepper.h"

#include <QDebug>
#include <QFile>
#include <QHash>
#include <QScopedValueRollback>
#include <QSet>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>
#include <unordered_map>

namespace Orvex {

namespace {

const QStringList s_modesPath = {QStringLiteral("quarnel_config"), QStringLiteral("camera"),
                                 QStringLiteral("modes")};
const QStringList s_modePath = s_modesPath + QStringList{QStringLiteral("mode")};

QString text(const char* a_utf8)
{
    return QString::fromUtf8(a_utf8 ? a_utf8 : "");
}

// An element name as the document holds it (UTF-8), compared with the tree's names without a QString
// when it is plain ASCII, as names nearly always are.
class ElementName
{
public:
    explicit ElementName(const char* a_utf8) : m_bytes(a_utf8 ? a_utf8 : "")
    {
        m_ascii =
            std::all_of(m_bytes.cbegin(), m_bytes.cend(), [](char a_byte) { return uchar(a_byte) < 0x80; });
    }
    std::string_view bytes() const { return m_bytes; }
    QString text() const { return QString::fromUtf8(m_bytes.data(), int(m_bytes.size())); }
    bool equals(const QString& a_name) const
    {
        if (m_ascii)
            return a_name == QLatin1String(m_bytes.data(), int(m_bytes.size()));
        return a_name == text();
    }

private:
    std::string_view m_bytes;
    bool m_ascii = true;
};

// Per element name, where the node of the last element of that name stands among a tree node's children:
// the next one of that name is looked for from there rather than from the first child, since a node may
// hold hundreds of the same name. Keyed by the name's bytes in the document, which outlives the walk.
// Most elements hold children of a few names, looked up in place; a table is made only past those.
class ChildPositions
{
public:
    int& of(std::string_view a_name)
    {
        for (std::size_t index = 0; index < m_fewCount; ++index) {
            if (m_few[index].first == a_name)
                return m_few[index].second;
        }
        if (m_fewCount < m_few.size()) {
            m_few[m_fewCount] = {a_name, -1};
            return m_few[m_fewCount++].second;
        }
        return m_many.try_emplace(a_name, -1).first->second;
    }

private:
    std::array<std::pair<std::string_view, int>, 12> m_few;
    std::size_t m_fewCount = 0;
    std::unordered_map<std::string_view, int> m_many;
};

// The value's text without the white space around it, as the tree keeps it. Nearly every value is plain
// ASCII, whose bytes are trimmed as they are; others go through the text.
QByteArray trimmedBytes(const char* a_utf8, const QString& a_text)
{
    const char* begin = a_utf8 ? a_utf8 : "";
    const char* end = begin + std::strlen(begin);
    if (!std::all_of(begin, end, [](char a_byte) { return uchar(a_byte) < 0x80; }))
        return a_text.trimmed().toUtf8();
    const auto blank = [](char a_byte) {
        return a_byte == ' ' || a_byte == '\t' || a_byte == '\n' || a_byte == '\v' || a_byte == '\f' ||
               a_byte == '\r';
    };
    while (begin != end && blank(*begin))
        ++begin;
    while (end != begin && blank(end[-1]))
        --end;
    return QByteArray(begin, int(end - begin));
}

// Messages are shown as HTML; what comes from the file must not become markup there.
QString escaped(const QString& a_text)
{
    return a_text.toHtmlEscaped();
}

// A value or name quoted in a message is cut short, since the text of a whole hostile file would bury it.
QString quotedValue(const QString& a_value)
{
    constexpr int limit = 256;
    return escaped(a_value.size() > limit ? a_value.left(limit) + QChar(0x2026) : a_value);
}

bool isBlank(const char* a_text)
{
    for (const char* character = a_text; character && *character; ++character) {
        if (*character != ' ' && *character != '\t' && *character != '\r' && *character != '\n')
            return false;
    }
    return true;
}

// Copies what the schema describes of a_node's content (the elements and attributes loading linked to
// features, with their values) into a_element.
void copySchemaContent(const LumexTreeElement* a_node, Lumex::CamProperty a_element)
{
    for (const LumexTreeElement* child : a_node->childElements()) {
        if (!child->isSchemaCompliant() || child->isText() || child->isComment())
            continue;
        const QByteArray name = child->name().toUtf8();
        if (child->isAttribute()) {
            if (!child->value().isNull())
                a_element.set(name.constData(), child->value().constData());
            continue;
        }
        Lumex::CamProperty element = a_element.push_back(name.constData());
        if (!child->value().isNull())
            element.set(child->value().constData());
        copySchemaContent(child, element);
    }
}

// Builds the modes loading left unbuilt from the document tree they were read into.
class TreeModeBuilder : public ModeBuilder
{
public:
    explicit TreeModeBuilder(LumexTree* a_tree) : m_tree(a_tree) {}

    void build(ModeElement* a_mode) override
    {
        try {
            LumexParser::buildMode(a_mode, m_tree);
        } catch (const ExceptionBase& a_exception) {
            // Loading read the same content without a failure, so this is a defect; what could not be
            // read keeps the schema's values.
            qCCritical(orvexFilesLog).noquote()
                << "The mode" << a_mode->name() << "could not be built:" << a_exception.what();
        }
    }

    const LumexTreeElement* contentNode(const ModeElement* a_mode) const override
    {
        return m_tree ? m_tree->modeNode(a_mode) : nullptr;
    }

private:
    QPointer<LumexTree> m_tree;
};

} // namespace

LumexParser::LumexParser(const QString& a_path, LumexTree* a_tree, ProgressStepper* a_progress)
    : m_path(a_path), m_tree(a_tree), m_progress(a_progress)
{
    const QByteArray path = QFile::encodeName(a_path);
    // A value written as a reference to an entity of the file is the entity's text.
    m_file.setExpandsEntities(true);
    // The tree leaves out white space that only lays out elements; not reading it at all keeps about
    // half the nodes of an indented file out of memory.
    m_file.setDropsLayoutSpace(true);
    const Lumex::Error result = m_file.load(path.constData(), Lumex::CamFile::SourcePath);
    if (!result) {
        FailurePlace place;
        place.m_file = a_path;
        place.m_problem = LumexFailureWords::loadProblem(result, &place.m_line);
        ORVEX_THROW_AT(LumexLoadException, LumexDiagnostics::toHtml(result), place);
    }
}

LumexParser::~LumexParser() = default;

bool LumexParser::isCoaXPress() const
{
    return standardIs(QStringLiteral("CoaXPress"));
}

bool LumexParser::isCameraLink() const
{
    return standardIs(QStringLiteral("CameraLink"));
}

FailurePlace LumexParser::standardProblem() const
{
    FailurePlace place;
    place.m_file = m_path;
    place.m_problem = LumexFailureWords::standardProblem(m_file.root(), &place.m_line);
    return place;
}

FailurePlace LumexParser::placeOf(const Lumex::ConstCamProperty& a_node, const QStringList& a_path,
                                  const QString& a_problem) const
{
    FailurePlace place;
    place.m_file = m_path;
    place.m_line = a_node.line();
    place.m_mode = m_mode;
    place.m_featurePath = LumexFailureWords::featurePath(a_path, !m_mode.isEmpty());
    place.m_problem = a_problem;
    return place;
}

bool LumexParser::standardIs(const QString& a_standard) const
{
    const Lumex::ConstCamProperty root = m_file.root();
    if (!root || qstrcmp(root.name(), "quarnel_config") != 0)
        return false;
    const Lumex::ConstCamProperty standard = root["camera"]["features"]["standard"];
    const char* value = nullptr;
    if (!standard || !standard.get(value))
        return false;
    return text(value).trimmed().compare(a_standard, Qt::CaseInsensitive) == 0;
}

QString LumexParser::pathHintProblem(const QStringList& a_path, const PathHint& a_hint)
{
    const auto describe = [&](const char* a_format) {
        return QString::fromLatin1(a_format).arg(a_hint.path.join(QLatin1Char('>')),
                                                 text(a_hint.property.name()), a_path.join(QLatin1Char('>')));
    };
    if (a_hint.path.size() > a_path.size())
        return describe("Excessively long path hint (%1>%2) for print path (%3).");
    for (int i = 0; i < a_hint.path.size(); ++i) {
        if (a_hint.path.at(i) != a_path.at(i))
            return describe("Internal mismatch from path hint (%1>%2) for print path (%3).");
    }
    return QString();
}

void LumexParser::parse(CameraElement* a_camera)
{
    if (!a_camera)
        return;
    m_modeNodesByName.clear();
    // The global features and the end; each mode adds its own.
    if (m_progress)
        m_progress->addSteps(2);
    step(QStringLiteral("Loading global features"));
    parseCategory(a_camera->globalCategory(), nullptr);
    parseModes(a_camera);

    const Lumex::ConstCamProperty root = m_file.root();
    if (m_tree && !!root)
        populateNonSchemaCompliant(a_camera, root, m_tree->elementByPath({text(root.name())}, false));
    step(QStringLiteral("LUMEX parsing complete"));
}

Lumex::ConstCamProperty LumexParser::parsePath(const QStringList& a_path, const PathHint* a_hint)
{
    breathe();
    if (a_path.isEmpty())
        return Lumex::ConstCamProperty();
    Lumex::ConstCamProperty node = m_file.root();
    int next = 0;
    if (a_hint) {
        const QString problem = pathHintProblem(a_path, *a_hint);
        if (!problem.isEmpty())
            ORVEX_THROW(BadPathHintException, problem);
        node = a_hint->property;
        next = a_hint->path.size();
        if (a_path.size() == next)
            return node;
    }
    if (!node || !ElementName(node.name()).equals(a_path.at(next)))
        return Lumex::ConstCamProperty();
    for (int i = next + 1; i < a_path.size(); ++i) {
        if (a_path.at(i).isEmpty())
            ORVEX_THROW(BadPathException,
                        QStringLiteral("Unnamed element in path (%1).").arg(a_path.join(QLatin1Char('>'))));
        node = node[a_path.at(i).toUtf8().constData()];
        if (!node)
            return Lumex::ConstCamProperty();
    }
    return node;
}

void LumexParser::parseModes(CameraElement* a_camera)
{
    breathe();
    const Lumex::ConstCamProperty modes = parsePath(s_modesPath, nullptr);
    if (!modes) {
        ORVEX_THROW_AT(BadCameraException, "Unable to parse the camera mode path.",
                       placeOf(parsePath(s_modesPath.mid(0, 2), nullptr), {},
                               QStringLiteral("the camera has no <modes> element")));
    }
    if (a_camera->modeCount() != 1) {
        ORVEX_THROW(BadCameraObjectException,
                    QStringLiteral("Cannot parse modes because the camera object wasn't properly initialized "
                                   "(mode count is %1, but should be one).")
                        .arg(a_camera->modeCount()));
    }
    const int count = int(modes.count("mode"));
    if (count == 0) {
        ORVEX_THROW_AT(BadCameraException, "The camera has no modes.",
                       placeOf(modes, {}, QStringLiteral("the camera has no modes")));
    }
    if (m_progress)
        m_progress->addSteps(count);

    // Names come first: they tell the modes apart in the file and on the board, so a second use would
    // make one of them unreachable, and renaming it would change the file behind the user's back. Known
    // distinct, they need no comparison with every other mode as each copy joins the camera.
    QVector<Lumex::ConstCamProperty> nodes;
    QStringList names;
    nodes.reserve(count);
    names.reserve(count);
    QSet<QString> seen;
    for (auto node = modes.begin("mode"); node != modes.end("mode"); ++node) {
        const char* attribute = nullptr;
        if (!node->get("name", attribute)) {
            ORVEX_THROW_AT(
                BadModeException,
                QStringLiteral("The camera mode at index %1 has no \"name\" attribute.").arg(nodes.size()),
                placeOf(*node, {}, QStringLiteral("mode number %1 has no name").arg(nodes.size() + 1)));
        }
        const QString name = text(attribute);
        if (seen.contains(name)) {
            ORVEX_THROW_AT(BadModeException,
                           QStringLiteral("The camera mode name \"%1\" is used by more than one mode.")
                               .arg(quotedValue(name)),
                           placeOf(*node, {}, QStringLiteral("a second mode is named \"%1\"").arg(name)));
        }
        seen.insert(name);
        nodes.append(*node);
        names.append(name);
    }

    // The template stays as the schema made it: every mode is copied from it, now or when first used.
    ModeElement* modeTemplate = a_camera->takeMode(0);
    a_camera->setModeTemplate(modeTemplate);
    for (int index = 0; index < count; ++index) {
        breathe();
        ModeElement* mode = m_tree ? modeTemplate->unbuiltCopy() : modeTemplate->clone();
        mode->setName(names.at(index));
        a_camera->appendUniquelyNamedMode(mode);
    }

    const QVector<ModeElement*> modeElements = a_camera->modes();
    for (int index = 0; index < count; ++index) {
        const Lumex::ConstCamProperty& node = nodes.at(index);
        const QString& name = names.at(index);
        ModeElement* mode = modeElements.value(index);
        if (!mode) {
            ORVEX_THROW(
                BadModeException,
                QStringLiteral("Unable to find entry for camera mode, \"%1\".").arg(quotedValue(name)));
        }
        LumexTreeElement* modeNode = nullptr;
        if (m_tree) {
            modeNode = m_tree->modeNode(mode);
            if (!modeNode)
                modeNode = m_tree->attachMode(mode);
        }
        m_modeNodesByName.insert(name, modeNode);
        step(QStringLiteral("Loading mode: ") + name);

        const PathHint hint(node, s_modesPath, modeNode);
        m_mode = name;
        // With a tree, the mode's content goes into it and is checked against the template; the mode is
        // built from it when first used.
        const QScopedValueRollback<bool> dry(m_dry, !mode->isBuilt());
        for (ModeCategoryElementBase* category :
             mode->isBuilt() ? mode->categories() : modeTemplate->categories())
            parseCategory(category, &hint);
        m_mode.clear();
    }
    if (m_tree)
        a_camera->setModeBuilder(std::make_unique<TreeModeBuilder>(m_tree));
}

void LumexParser::buildMode(ModeElement* a_mode, LumexTree* a_tree)
{
    const CameraElement* camera = a_mode ? a_mode->camera() : nullptr;
    const ModeElement* modeTemplate = camera ? camera->modeTemplate() : nullptr;
    LumexTreeMode* modeNode = a_tree ? a_tree->modeNode(a_mode) : nullptr;
    if (!modeTemplate || !modeNode)
        return;
    for (const ModeCategoryElementBase* category : modeTemplate->categories())
        a_mode->appendCategory(category->cloneCategory(a_mode));

    // The mode's schema content, as loading read it into the tree, is read again as markup, so that
    // the values go through the very code that reads a file.
    LumexParser parser(a_tree);
    parser.m_file = Lumex::CamFile(s_modePath.last().toUtf8().constData(), Lumex::CamFile::SourceRootName);
    copySchemaContent(modeNode, parser.m_file.root());
    parser.m_keepsLines = true;
    parser.m_mode = a_mode->name();
    const PathHint hint(Lumex::ConstCamProperty(parser.m_file.root()), s_modesPath, modeNode);
    for (ModeCategoryElementBase* category : a_mode->categories())
        parser.parseCategory(category, &hint);
}

LumexParser::LumexParser(LumexTree* a_tree) : m_tree(a_tree)
{
}

void LumexParser::parseCategory(CategoryElementBase* a_category, const PathHint* a_hint)
{
    // parsePath breathes.
    const QStringList& path = a_category->elementPath();
    const Lumex::ConstCamProperty node = parsePath(path, a_hint);
    if (!node) {
        ORVEX_THROW_AT(
            BadCategoryException,
            QStringLiteral("Unable to parse a path for the \"%1\" category.").arg(a_category->name()),
            placeOf(a_hint ? a_hint->property : Lumex::ConstCamProperty(m_file.root()), path,
                    QStringLiteral("this element is missing")));
    }
    LumexTreeElement* treeElement = a_hint ? a_hint->treeElement : nullptr;
    const PathHint featureHint(node, path.mid(0, path.size() - 1), treeElement);

    if (auto* modeCategory = qobject_cast<GenericModeCategory*>(a_category)) {
        // An absent category stays absent: its features keep the schema's values and are not read.
        if (!parseCategoryPresence(modeCategory, featureHint))
            return;
    } else if (m_tree && !m_dry) {
        link(treeElement ? treeElement->descendantByPath(path, true) : m_tree->elementByPath(path, true),
             a_category);
    }
    for (FeatureElementBase* feature : a_category->features())
        parseFeature(feature, featureHint);
}

bool LumexParser::parseCategoryPresence(GenericModeCategory* a_category, const PathHint& a_modeHint)
{
    // The category's element is named after the category and held by the mode, wherever the category
    // was copied from.
    const QString& name = a_category->name();
    const bool present = !name.isEmpty() && !!a_modeHint.property[name.toUtf8().constData()];
    if (!m_dry)
        a_category->categoryFeature()->setEnabled(present);
    if (present && a_modeHint.treeElement) {
        if (LumexTreeElement* modeNode =
                a_modeHint.treeElement->descendantByPath(a_category->elementPath(), true))
            link(modeNode->descendantByPath(modeNode->path() << name, true), a_category->categoryFeature());
    }
    return present;
}

void LumexParser::parseFeature(FeatureElementBase* a_feature, const PathHint& a_hint)
{
    // parsePath breathes.
    const QString& name = a_feature->name();
    const QByteArray utf8Name = name.toUtf8();
    const QStringList& path = a_feature->elementPath();
    // The features of one category or list instance follow each other with one hint and one path, and
    // each lookup compares names all the way down.
    const bool sameHolder = m_lastHolder.known &&
                            m_lastHolder.from.property() == a_hint.property.property() &&
                            m_lastHolder.treeFrom == a_hint.treeElement && m_lastHolder.path == path;
    const Lumex::ConstCamProperty pathHolder = sameHolder ? m_lastHolder.holder : parsePath(path, &a_hint);
    Lumex::ConstCamProperty holder = pathHolder;
    if (!holder) {
        ORVEX_THROW(BadFeatureException,
                    QStringLiteral("Unable to parse a path for the \"%1\" feature.").arg(name));
    }

    const bool repeated = a_feature->maxOccurs() != 1 && !name.isEmpty();
    size_t count = 1;
    if (repeated) {
        count = holder.count(utf8Name.constData());
        if (a_feature->minOccurs() > count) {
            ORVEX_THROW_AT(
                InstanceCountException,
                QStringLiteral("Expected at least %1 instances of the \"%2\" feature, but found %3.")
                    .arg(qulonglong(a_feature->minOccurs()))
                    .arg(name)
                    .arg(qulonglong(count)),
                placeOf(holder, QStringList(path) << name,
                        QStringLiteral("found %1, but at least %2 are needed")
                            .arg(qulonglong(count))
                            .arg(qulonglong(a_feature->minOccurs()))));
        }
        if (a_feature->maxOccurs() < count) {
            ORVEX_THROW_AT(
                InstanceCountException,
                QStringLiteral("Expected no more than %1 instances of the \"%2\" feature, but found %3.")
                    .arg(qulonglong(a_feature->maxOccurs()))
                    .arg(name)
                    .arg(qulonglong(count)),
                placeOf(holder.child(utf8Name.constData(), unsigned(a_feature->maxOccurs())),
                        QStringList(path) << name,
                        QStringLiteral("found %1, but at most %2 are allowed")
                            .arg(qulonglong(count))
                            .arg(qulonglong(a_feature->maxOccurs()))));
        }
        while (!m_dry && a_feature->instanceCount() < count &&
               a_feature->insertInstance(FeatureElementBase::NoIndex)) {
        }
        while (!m_dry && a_feature->instanceCount() > count && a_feature->removeInstance(0)) {
        }
    } else if (name.isEmpty()) {
        // The holder's own text: there whenever the holder is.
    } else if (a_feature->isAttribute()) {
        const char* ignored = nullptr;
        if (!holder.get(utf8Name.constData(), ignored)) {
            if (a_feature->minOccurs() != 0) {
                ORVEX_THROW_AT(
                    BadFeatureException,
                    QStringLiteral("Unable to find an attribute for the required \"%1\" feature.").arg(name),
                    placeOf(holder, QStringList(path) << name,
                            QStringLiteral("this required attribute is missing")));
            }
            // A template feature describing an unbuilt mode stays as the schema made it.
            if (!m_dry)
                a_feature->setEnabled(false);
            return;
        }
    } else {
        const Lumex::ConstCamProperty element = holder[utf8Name.constData()];
        if (!element) {
            if (a_feature->minOccurs() != 0) {
                ORVEX_THROW_AT(
                    BadFeatureException,
                    QStringLiteral("Unable to find an instance of the required \"%1\" feature.").arg(name),
                    placeOf(holder, QStringList(path) << name,
                            QStringLiteral("this required element is missing")));
            }
            // A template feature describing an unbuilt mode stays as the schema made it.
            if (!m_dry)
                a_feature->setEnabled(false);
            return;
        }
        holder = element;
    }
    if (count > 0 && !m_dry)
        a_feature->setEnabled(true);

    LumexTreeElement* treeHolder = sameHolder ? m_lastHolder.treeHolder : nullptr;
    if (m_tree && !sameHolder) {
        treeHolder = a_hint.treeElement ? a_hint.treeElement->descendantByPath(path, true)
                                        : m_tree->elementByPath(path, true);
    }
    m_lastHolder = {true, a_hint.property, a_hint.treeElement, path, pathHolder, treeHolder};
    QList<LumexTreeElement*> treeNodes;
    if (treeHolder && !name.isEmpty()) {
        // Only nodes of the schema's content: a mode built after loading has its extra content beside
        // them, copies of an element allowed once among it.
        for (LumexTreeElement* child : treeHolder->childElements()) {
            if (child->name() == name && child->isSchemaCompliant())
                treeNodes.append(child);
        }
        while (treeNodes.size() < int(count)) {
            treeNodes.append(treeHolder->addChild(name));
            treeNodes.last()->setIsSchemaCompliant(true);
        }
        while (treeNodes.size() > int(count)) {
            treeHolder->removeChild(treeNodes.takeFirst());
            m_lastHolder.known = false;
        }
        for (LumexTreeElement* node : qAsConst(treeNodes))
            node->setIsAttribute(a_feature->isAttribute());
    }

    // Instances are met in document order: looking each up by its index would walk the holder from its
    // first child every time.
    auto instanceNode = holder.begin(repeated ? utf8Name.constData() : nullptr);
    if (auto* list = qobject_cast<FeatureListFeatureBase*>(a_feature)) {
        for (size_t instance = 0; instance < count; ++instance) {
            const Lumex::ConstCamProperty node = repeated ? *instanceNode++ : holder;
            LumexTreeElement* treeNode = treeNodes.value(int(instance));
            link(treeNode, list);
            if (treeNode && !m_keepsLines)
                treeNode->setLine(int(node.line()));
            const PathHint memberHint(node, path, treeNode ? treeNode : a_hint.treeElement);
            // An unbuilt mode's content is checked against the members' templates.
            const QVector<FeatureElementBase*> members =
                m_dry ? list->memberTemplates() : list->instanceMembers(instance);
            for (FeatureElementBase* memberFeature : members)
                parseFeature(memberFeature, memberHint);
        }
        return;
    }

    auto* value = qobject_cast<ValueFeatureElementBase*>(a_feature);
    if (!value) {
        ORVEX_THROW(BadFeatureException, QStringLiteral("The \"%1\" feature has an unknown type.").arg(name));
    }
    for (size_t instance = 0; instance < count; ++instance) {
        const char* read = nullptr;
        bool readable = false;
        Lumex::ConstCamProperty valueNode = holder;
        if (repeated) {
            const Lumex::ConstCamProperty element = *instanceNode++;
            valueNode = element;
            readable = !!element && element.get(read);
        } else if (a_feature->isAttribute()) {
            readable = bool(holder.get(utf8Name.constData(), read));
        } else {
            readable = bool(holder.get(read));
        }
        // Only a failure names the path.
        const auto valuePath = [&] { return name.isEmpty() ? path : QStringList(path) << name; };
        if (!readable) {
            ORVEX_THROW_AT(
                BadValueException,
                QString::fromLatin1(a_feature->isAttribute()
                                        ? "Unable to retrieve an attribute value for the \"%1\" feature."
                                        : "Unable to retrieve a value for the \"%1\" feature.")
                    .arg(name),
                placeOf(valueNode, valuePath(), QStringLiteral("the value cannot be read")));
        }
        const QString readText = text(read);
        const QString problem = readValue(value, instance, readText);
        if (!problem.isEmpty()) {
            ORVEX_THROW_AT(BadValueException, problem,
                           placeOf(valueNode, valuePath(), LumexFailureWords::valueProblem(value, readText)));
        }
        // An unnamed feature is the text of its holder, whose node stands for it.
        LumexTreeElement* node = name.isEmpty() ? treeHolder : treeNodes.value(int(instance));
        if (node) {
            link(node, value, !value->isAttribute());
            if (!m_keepsLines)
                node->setLine(int(valueNode.line()));
            node->setValue(trimmedBytes(read, readText));
        }
    }
}

QString LumexParser::readValue(ValueFeatureElementBase* a_feature, size_t a_index, const QString& a_text)
{
    // The modes of a large file repeat each other's values: a text a template feature took once it
    // takes again.
    if (m_dry) {
        const auto accepted = qMakePair(static_cast<const void*>(a_feature), a_text);
        if (m_accepted.contains(accepted))
            return QString();
        const QString problem = readTrimmedValue(a_feature, a_index, a_text.trimmed());
        if (problem.isEmpty())
            m_accepted.insert(accepted);
        return problem;
    }
    return readTrimmedValue(a_feature, a_index, a_text.trimmed());
}

LumexParser::ValueReading LumexParser::readingOf(const ValueFeatureElementBase* a_feature,
                                                 const QString& a_value)
{
    ValueReading reading;
    if (a_value.isEmpty() && !qobject_cast<const StringFeature*>(a_feature)) {
        // An empty element stands for the value its declaration gives, as a schema reads it.
        const QVariant standIn =
            a_feature->fixedValue().isValid() ? a_feature->fixedValue() : a_feature->defaultValue();
        if (!standIn.isValid()) {
            reading.refusal =
                QStringLiteral("Empty values unsupported by the \"%1\" feature.").arg(a_feature->name());
            return reading;
        }
        reading.value = a_feature->valueFromText(a_feature->textFromValue(standIn));
        reading.keepsText = true;
        return reading;
    }
    bool taken = false;
    reading.value = a_feature->valueFromText(a_value, &taken);
    if (taken)
        return reading;
    // One value the schema rejects must not cost the whole file: an entry the list lacks and a boolean
    // spelled otherwise are kept as read (and listed as problems), a number too small for its type as
    // well, like one outside its range.
    reading.keepsText = true;
    auto* numeric = qobject_cast<const NumericFeature*>(a_feature);
    if (qobject_cast<const EnumerationFeature*>(a_feature)) {
        reading.value = a_value;
    } else if (qobject_cast<const BooleanFeature*>(a_feature)) {
        reading.value = QVariant();
    } else if (numeric && NumericSpelling::isWellFormed(a_value, numeric->representationType()) &&
               NumericSpelling::underflows(a_value, numeric->representationType())) {
        reading.value = a_feature->valueFromText(QStringLiteral("0"));
    } else {
        const QString family =
            a_feature->isAttribute()
                ? QStringLiteral("Unable to retrieve an attribute value for the \"%1\" feature")
                : QStringLiteral("Unable to retrieve a value for the \"%1\" feature");
        reading = ValueReading();
        reading.refusal =
            (family + QStringLiteral(" from \"%2\".")).arg(a_feature->name(), quotedValue(a_value));
    }
    return reading;
}

QString LumexParser::readTrimmedValue(ValueFeatureElementBase* a_feature, size_t a_index,
                                      const QString& a_value)
{
    const ValueReading reading = readingOf(a_feature, a_value);
    // An unbuilt mode's values are only judged: the template feature keeps its own.
    if (m_dry || !reading.refusal.isEmpty())
        return reading.refusal;
    if (reading.keepsText) {
        a_feature->keepFileText(a_index, a_value,
                                reading.value.isValid() ? reading.value : a_feature->value(a_index));
        return QString();
    }
    a_feature->setValueFromText(a_index, a_value);
    // A fixed feature holds its fixed value whatever is set; another value in the file is kept as its
    // text, so that saving does not change it behind the user's back.
    if (a_feature->fixedValue().isValid() && a_feature->valueText(a_index) != a_value)
        a_feature->keepFileText(a_index, a_value, a_feature->fixedValue());
    return QString();
}

void LumexParser::populateNonSchemaCompliant(CameraElement* a_camera, const Lumex::CamProperty& a_node,
                                             LumexTreeElement* a_treeElement)
{
    for (unsigned index = 0; index < a_node.attribute_count(); ++index) {
        const char* attribute = a_node.attribute(index);
        const QString name = text(attribute);
        bool known = false;
        for (int child = 0; !known && child < a_treeElement->childCount(); ++child) {
            const LumexTreeElement* node = a_treeElement->childAt(child);
            known = node->isAttribute() && node->name() == name;
        }
        if (known)
            continue;
        const char* value = nullptr;
        a_node.get(attribute, value);
        LumexTreeElement* node = a_treeElement->addChild(name);
        node->setIsAttribute(true);
        node->setLine(int(a_node.line()));
        node->setValue(QByteArray(value ? value : ""));
    }

    // White space between the elements of element-only content only lays them out; once an element
    // holds text of its own, every character of it counts.
    bool hasElements = false;
    bool hasText = false;
    // Every node of the file passes here: the children are stepped through as siblings, which needs
    // neither an iterator nor the diagnostics a handle from navigation carries.
    for (Lumex::CamProperty child = a_node.firstChildNode(); !child.isNull();
         child = child.nextSiblingNode()) {
        if (child.is(Lumex::CamProperty::TextNode))
            hasText = hasText || !isBlank(child.get());
        else if (!child.is(Lumex::CamProperty::CommentNode | Lumex::CamProperty::OtherNode))
            hasElements = true;
    }
    const bool dropBlanks = hasElements && !hasText;
    const bool holdsValue = a_treeElement->holdsValue();

    ChildPositions lastPosition;
    for (Lumex::CamProperty child = a_node.firstChildNode(); !child.isNull();
         child = child.nextSiblingNode()) {
        if (child.is(Lumex::CamProperty::OtherNode))
            continue;
        if (child.is(Lumex::CamProperty::TextNode)) {
            const char* content = child.get();
            if (holdsValue || (dropBlanks && isBlank(content)))
                continue;
            LumexTreeElement* node = a_treeElement->addChild(QString());
            node->setIsText(true);
            node->setLine(int(child.line()));
            node->setValue(QByteArray(content ? content : ""));
            continue;
        }
        if (child.is(Lumex::CamProperty::CommentNode)) {
            const char* content = nullptr;
            child.get(content);
            LumexTreeElement* node = a_treeElement->addChild(QString());
            node->setIsComment(true);
            node->setLine(int(child.line()));
            node->setValue(QByteArray(content ? content : ""));
            continue;
        }

        const ElementName name(child.name());
        LumexTreeElement* next = nullptr;
        // Only the modes of the first "modes" block of the first camera are the camera's; a second block
        // is content the schema does not know, kept as it is.
        if (name.equals(s_modePath.last()) && m_tree &&
            a_treeElement == m_tree->elementByPath(s_modesPath, true)) {
            const char* modeName = nullptr;
            if (!child.get("name", modeName))
                ORVEX_THROW(BadModeException, "Camera mode property lacks the \"name\" attribute.");
            next = m_modeNodesByName.value(text(modeName));
            if (!next) {
                ORVEX_THROW(BadModeException, QStringLiteral("Unable to find entry for camera mode, \"%1\".")
                                                  .arg(quotedValue(text(modeName))));
            }
        } else {
            int& last = lastPosition.of(name.bytes());
            for (int position = last + 1; !next && position < a_treeElement->childCount(); ++position) {
                if (name.equals(a_treeElement->childAt(position)->name())) {
                    next = a_treeElement->childAt(position);
                    last = position;
                }
            }
            if (!next) {
                next = a_treeElement->addChild(name.text());
                last = a_treeElement->childCount() - 1;
            }
        }
        if (next->line() == 0)
            next->setLine(int(child.line()));
        populateNonSchemaCompliant(a_camera, child, next);
    }
}

void LumexParser::link(LumexTreeElement* a_node, const ElementBase* a_element, bool a_holdsValue)
{
    if (!a_node)
        return;
    // The template's elements describe an unbuilt mode's nodes but are none of them.
    if (!m_dry)
        a_node->setElementId(qint64(a_element->id()));
    if (a_holdsValue)
        a_node->setHoldsValue(true);
}

void LumexParser::breathe()
{
    if (m_progress)
        m_progress->breathe();
}

void LumexParser::step(const QString& a_detail)
{
    qCDebug(orvexFilesLog).noquote() << a_detail;
    if (m_progress) {
        m_progress->step();
        m_progress->setDetailText(a_detail);
    }
}

} // namespace Orvex
