#include "fileio/LumexPrinter.h"

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/UnbuiltModeReader.h"
#include "elements/ValueFeatureElementBase.h"
#include "fileio/LumexFailureWords.h"
#include "fileio/LumexParser.h"
#include "model/LumexTree.h"
#include "model/LumexTreeElement.h"
#include "model/LumexTreeMode.h"
#include "platform/LogCategories.h"
#include "platform/LumexSource.h"
#include "platform/QNDriver.h"
#include "widgets/ProgressStepper.h"

#include <QByteArrayList>
#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace Orvex {

namespace {

const char* const s_rootName = "quarnel_config";

QString text(const char* a_utf8)
{
    return QString::fromUtf8(a_utf8 ? a_utf8 : "");
}

// Compared without a QString made per node: every value written asks. Names are nearly always ASCII.
bool isNamed(const QString& a_name, const char* a_utf8)
{
    if (!a_utf8)
        return a_name.isEmpty();
    int size = 0;
    for (const char* at = a_utf8; *at; ++at, ++size) {
        if (static_cast<unsigned char>(*at) >= 0x80)
            return a_name == QString::fromUtf8(a_utf8);
    }
    return a_name == QLatin1String(a_utf8, size);
}

QString escaped(const QString& a_text)
{
    return a_text.toHtmlEscaped();
}

QString joinedPath(const QStringList& a_path)
{
    return a_path.join(QLatin1Char('>'));
}

// The schema paths may come with either separator, whatever the platform.
QString fileNameOnly(const QString& a_path)
{
    return a_path.mid(qMax(a_path.lastIndexOf(QLatin1Char('/')), a_path.lastIndexOf(QLatin1Char('\\'))) + 1);
}

QByteArray indentation(int a_depth)
{
    return '\n' + QByteArray(2 * a_depth, ' ');
}

// Copies a_source into a_target, putting each child of an element without text on a line of its own
// when a_layOut is set; where there is text, the content is copied as it is. Returns the first failure
// of the markup library.
Lumex::Error copyLaidOut(const Lumex::CamProperty& a_source, Lumex::CamProperty a_target, int a_depth,
                         bool a_layOut = true)
{
    for (unsigned index = 0; index < a_source.attribute_count(); ++index) {
        const char* name = a_source.attribute(index);
        const char* value = nullptr;
        Lumex::Error result = a_source.get(name, value);
        if (result)
            result = a_target.set(name, value);
        if (!result)
            return result;
    }
    // An element holding only comments holds an empty value: white space there would become its value.
    bool hasElements = false;
    bool hasText = false;
    for (auto child = a_source.begin(nullptr); child != a_source.end(nullptr); ++child) {
        hasElements =
            hasElements || !child->is(Lumex::CamProperty::TextNode | Lumex::CamProperty::CommentNode |
                                      Lumex::CamProperty::OtherNode);
        hasText = hasText || child->is(Lumex::CamProperty::TextNode);
    }
    const bool indent = a_layOut && hasElements && !hasText;
    const auto append = [&a_target](Lumex::CamProperty::XmlNodeType a_kind, const char* a_value) {
        Lumex::CamProperty node = a_target.push_back(a_kind);
        return node.isNull() ? Lumex::Error("Write error", "A node could not be added.", a_value)
                             : node.set(a_value);
    };
    const QByteArray inner = indentation(a_depth + 1);
    for (auto child = a_source.begin(nullptr); child != a_source.end(nullptr); ++child) {
        Lumex::Error result;
        if (indent)
            result = append(Lumex::CamProperty::TextNode, inner.constData());
        if (result && child->is(Lumex::CamProperty::TextNode)) {
            result = append(Lumex::CamProperty::TextNode, child->get());
        } else if (result && child->is(Lumex::CamProperty::CommentNode)) {
            result = append(Lumex::CamProperty::CommentNode, child->get());
        } else if (result) {
            Lumex::CamProperty element = a_target.push_back(child->name());
            result = element.isNull()
                         ? Lumex::Error("Write error", "An element could not be added.", child->name())
                         : copyLaidOut(*child, element, a_depth + 1, a_layOut);
        }
        if (!result)
            return result;
    }
    return indent ? append(Lumex::CamProperty::TextNode, indentation(a_depth).constData()) : Lumex::Error();
}

} // namespace

LumexPrinter::LumexPrinter(ProgressStepper* a_progress, LumexTree* a_tree, QObject* a_parent)
    : QObject(a_parent), m_document(s_rootName, Lumex::CamFile::SourceRootName), m_progress(a_progress),
      m_tree(a_tree)
{
}

LumexPrinter::~LumexPrinter() = default;

void LumexPrinter::setSchemaPaths(const QString& a_coaXPressXsdPath, const QString& a_cameraLinkXsdPath)
{
    m_coaXPressXsdPath = a_coaXPressXsdPath;
    m_cameraLinkXsdPath = a_cameraLinkXsdPath;
}

void LumexPrinter::print(CameraElement* a_camera)
{
    if (!a_camera)
        return;
    m_text.clear();
    m_document = Lumex::CamFile(s_rootName, Lumex::CamFile::SourceRootName);
    m_pathSteps.clear();
    m_links.clear();
    m_nearExtra.clear();
    m_extraBelow.clear();
    m_allIndex = LinkIndex();
    m_allIndexed = false;
    m_unbuiltReader = UnbuiltModeReader();
    m_placeholders.clear();
    // Where the text keeps no layout, a mode would be written once for its signature and again in full.
    m_placeholding = m_tree && m_keepsLayout && m_preserveExtraData &&
                     Lumex::LumexSource::mayHoldLayout(m_tree->sourceText());
    if (m_tree && m_tree->root())
        indexTree(m_tree->root());
    m_nearIndex = LinkIndex();
    buildIndex(m_nearIndex, &m_nearExtra);

    printCamera(a_camera);
    writeFrameContent();

    // Without the extra data the file's own text would bring back what the user chose to drop. The
    // layout is read only where it is kept: reading it costs about as much as the file's own parse.
    if (mergeIntoSource())
        return;
    for (std::size_t index = 0; index < m_placeholders.size(); ++index)
        fillPlaceholder(index);
    Lumex::CamFile laidOut(s_rootName, Lumex::CamFile::SourceRootName);
    const Lumex::Error result = copyLaidOut(m_document.root(), laidOut.root(), 0);
    if (!result) {
        ORVEX_THROW(
            FeatureLoadErrorException,
            QStringLiteral("Unable to lay out the camera file: %1").arg(escaped(text(result.message()))));
    }
    m_document = std::move(laidOut);
}

bool LumexPrinter::mergeIntoSource()
{
    m_text.clear();
    std::shared_ptr<const Lumex::LumexSource> source;
    Lumex::LumexSource::Placeholders placeholders;
    if (!m_placeholders.empty()) {
        Lumex::LumexSource::ModeSignatures modes;
        for (const Placeholder& placeholder : m_placeholders)
            modes.expected.emplace(placeholder.name, placeholder.signature);
        source = Lumex::LumexSource::read(m_tree->sourceText(), modes);
        for (std::size_t index = 0; index < m_placeholders.size(); ++index) {
            const Placeholder& placeholder = m_placeholders[index];
            if (source && modes.matched.count(placeholder.name) != 0)
                placeholders.emplace_back(placeholder.element, placeholder.signature);
            else
                fillPlaceholder(index);
        }
    }
    if (!source && m_tree && m_keepsLayout && m_preserveExtraData)
        source = m_tree->source();
    if (!source)
        return false;
    Lumex::Error merged = source->merge(m_document, m_text, placeholders);
    if (!merged && !placeholders.empty()) {
        // The text read without the modes it holds as they are could not take the document: the whole
        // text and the whole document are tried.
        for (std::size_t index = 0; index < m_placeholders.size(); ++index)
            fillPlaceholder(index);
        source = m_tree->source();
        merged = source ? source->merge(m_document, m_text)
                        : Lumex::Error("Layout error", "The file's text holds no layout.", nullptr);
    }
    if (merged)
        return true;
    m_text.clear();
    QNDebugString(QByteArray("[LumexPrinter] The file's layout could not be kept: " +
                             QByteArray(merged.message() ? merged.message() : "") + '\n')
                      .constData());
    return false;
}

bool LumexPrinter::save(const QString& a_path, FailurePlace* a_failure, QString* a_report) const
{
    const QByteArray path = QFile::encodeName(a_path);
    // Where no temporary file can be made beside the file, the markup library would write over the
    // file in place, and a failure on the way would leave it half written.
    const QFileInfo folder(QFileInfo(a_path).absolutePath());
    const Lumex::Error result =
        folder.isDir() && !folder.isWritable()
            ? Lumex::Error("Write error", "The folder does not allow a temporary file.", path.constData())
        : m_text.isEmpty() ? m_document.write(path.constData())
                           : Lumex::CamFile::writeBytes(path.constData(), m_text.constData(), m_text.size());
    if (result)
        return true;
    for (Lumex::Error error = result; !bool(error); error = error.skip_next(Lumex::Error::NextError)) {
        const QByteArray entry =
            QByteArray("[LumexPrinter::") + __func__ + '@' + QByteArray::number(__LINE__) +
            "] Camera file write error: " + (error.message() ? error.message() : "") + '\n';
        QNDebugString(entry.constData());
        if (a_report)
            *a_report += QString::fromUtf8(entry).trimmed() + QLatin1Char(' ') + text(error.comment()) +
                         QLatin1Char('\n');
    }
    if (a_failure) {
        a_failure->m_file = a_path;
        a_failure->m_problem = LumexFailureWords::saveProblem(a_path, result);
    }
    return false;
}

Lumex::CamProperty LumexPrinter::printPath(const QStringList& a_path, const PathHint* a_hint)
{
    if (a_path.isEmpty())
        return Lumex::CamProperty();
    Lumex::CamProperty node = m_document.root();
    int next = 0;
    if (a_hint) {
        const QString problem = LumexParser::pathHintProblem(a_path, *a_hint);
        if (!problem.isEmpty())
            ORVEX_THROW(BadPathHintException, problem);
        node = a_hint->property.property();
        next = a_hint->path.size();
        if (a_path.size() == next)
            return node;
    }
    if (node.isNull() || !isNamed(a_path.at(next), node.name()))
        return Lumex::CamProperty();
    for (int index = next + 1; index < a_path.size(); ++index) {
        const QString& segment = a_path.at(index);
        if (segment.isEmpty())
            ORVEX_THROW(BadPathException,
                        QStringLiteral("Unnamed element in path (%1).").arg(joinedPath(a_path)));
        if (m_pathSteps.size() <= std::size_t(index))
            m_pathSteps.resize(std::size_t(index) + 1);
        PathStep& step = m_pathSteps[std::size_t(index)];
        if (!(step.parent == node) || step.name != segment) {
            const QByteArray name = segment.toUtf8();
            Lumex::CamProperty child = node[name.constData()];
            if (child.isNull())
                child = node.push_back(name.constData());
            if (child.isNull())
                return Lumex::CamProperty();
            step = {node, segment, child};
        }
        node = step.child;
    }
    return node;
}

void LumexPrinter::printCamera(CameraElement* a_camera)
{
    breathe();
    Lumex::CamProperty root = m_document.root();
    if (qstrcmp(root.name(), s_rootName) != 0) {
        root.clear();
        root.set_name(s_rootName);
    }
    QString schemaPath;
    if (a_camera->standard() == CameraElement::StandardCameraLink)
        schemaPath = m_cameraLinkXsdPath;
    else if (a_camera->standard() == CameraElement::StandardCoaXPress)
        schemaPath = m_coaXPressXsdPath;
    if (schemaPath.isEmpty())
        ORVEX_THROW(MissingFeatureException, "Unable to determine the device standard for file generation.");
    Lumex::Error result = root.set("xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance");
    if (result)
        result = root.set("xsi:noNamespaceSchemaLocation", fileNameOnly(schemaPath).toUtf8().constData());
    if (!result) {
        ORVEX_THROW(MissingFeatureException,
                    QStringLiteral("Unable to name the schema file \"%1\": %2")
                        .arg(escaped(fileNameOnly(schemaPath)), escaped(text(result.message()))));
    }

    step(QStringLiteral("Writing global features"));
    printFeatureList(a_camera->globalCategory(), nullptr);
    if (!m_preserveExtraData) {
        // The schema requires the camera's standard as an attribute, which the elements do not hold;
        // with extra data kept it comes back from the file as it was.
        const char* standard =
            a_camera->standard() == CameraElement::StandardCameraLink ? "CameraLink" : "CoaXPress";
        Lumex::CamProperty camera =
            printPath({QString::fromLatin1(s_rootName), QStringLiteral("camera")}, nullptr);
        const Lumex::Error named = camera.set("standard", standard);
        if (!named) {
            ORVEX_THROW(MissingFeatureException, QStringLiteral("Unable to name the camera's standard: %1")
                                                     .arg(escaped(text(named.message()))));
        }
    }
    for (ModeElement* mode : a_camera->modes()) {
        step(QStringLiteral("Writing mode: ") + mode->name());
        printModeOrPlaceholder(mode);
    }
    step(QStringLiteral("Camera data processed"));
}

void LumexPrinter::printModeOrPlaceholder(ModeElement* a_mode)
{
    if (!m_placeholding || a_mode->isBuilt() || !m_tree->modeNode(a_mode)) {
        printMode(a_mode);
        return;
    }
    Lumex::CamFile apart(s_rootName, Lumex::CamFile::SourceRootName);
    const std::size_t signature = Lumex::LumexSource::signature(printModeApart(a_mode, apart));
    Lumex::CamProperty modes = printPath(a_mode->elementPath(), nullptr);
    const QByteArray name = a_mode->name().toUtf8();
    Lumex::CamProperty placeholder = modes.isNull() ? Lumex::CamProperty() : modes.push_back("mode");
    if (placeholder.isNull() || !placeholder.set("name", name.constData())) {
        ORVEX_THROW(ModeLoadErrorException,
                    QStringLiteral("Unable to print the \"%1\" mode.").arg(escaped(a_mode->name())));
    }
    m_placeholders.push_back({placeholder, signature, a_mode, name.toStdString(), false});
}

Lumex::CamProperty LumexPrinter::printModeApart(ModeElement* a_mode, Lumex::CamFile& a_scratch)
{
    // The printing steps remember nodes of the document they were taken in.
    m_pathSteps.clear();
    std::swap(m_document, a_scratch);
    Lumex::CamProperty mode;
    try {
        mode = printMode(a_mode);
    } catch (...) {
        std::swap(m_document, a_scratch);
        m_pathSteps.clear();
        throw;
    }
    std::swap(m_document, a_scratch);
    m_pathSteps.clear();
    return mode;
}

void LumexPrinter::fillPlaceholder(std::size_t a_index)
{
    Placeholder& placeholder = m_placeholders[a_index];
    if (placeholder.filled)
        return;
    placeholder.filled = true;
    Lumex::CamFile apart(s_rootName, Lumex::CamFile::SourceRootName);
    const Lumex::CamProperty mode = printModeApart(placeholder.mode, apart);
    const Lumex::Error copied = copyLaidOut(mode, placeholder.element, 0, false);
    if (!copied) {
        ORVEX_THROW(ModeLoadErrorException,
                    QStringLiteral("Unable to print the \"%1\" mode: %2")
                        .arg(escaped(placeholder.mode->name()), escaped(text(copied.message()))));
    }
}

Lumex::CamProperty LumexPrinter::printMode(ModeElement* a_mode)
{
    breathe();
    Lumex::CamProperty modes = printPath(a_mode->elementPath(), nullptr);
    if (modes.isNull()) {
        ORVEX_THROW(
            ModeLoadErrorException,
            QStringLiteral("Unable to print a path  for the \"%1\" mode.").arg(escaped(a_mode->name())));
    }
    Lumex::CamProperty mode = modes.push_back("mode");
    const Lumex::Error named = mode.isNull()
                                   ? Lumex::Error("Write error", "The mode could not be added.", nullptr)
                                   : mode.set("name", a_mode->name().toUtf8().constData());
    if (!named) {
        ORVEX_THROW(ModeLoadErrorException,
                    QStringLiteral("Unable to print the name of the \"%1\" mode: %2")
                        .arg(escaped(a_mode->name()), escaped(text(named.message()))));
    }

    const PathHint modeHint(mode, a_mode->elementPath(), nullptr);
    // A mode not built yet is written from its node of the tree, through the template's categories.
    const ModeElement* modeTemplate = a_mode->camera() ? a_mode->camera()->modeTemplate() : nullptr;
    const LumexTreeElement* modeNode =
        !a_mode->isBuilt() && m_tree && modeTemplate ? m_tree->modeNode(a_mode) : nullptr;
    for (ModeCategoryElementBase* category : modeNode ? modeTemplate->categories() : a_mode->categories()) {
        breathe();
        // A category switched off is not written; in an unbuilt mode, one the file lacks.
        const LumexTreeElement* categoryNode =
            modeNode ? UnbuiltModeReader::categoryNode(modeNode, category) : nullptr;
        auto* generic = qobject_cast<GenericModeCategory*>(category);
        FeatureElementBase* presence = generic && !modeNode ? generic->categoryFeature() : nullptr;
        if (modeNode ? !categoryNode : presence && !presence->isEnabled())
            continue;
        Lumex::CamProperty categoryElement;
        if (generic) {
            categoryElement = printPath(QStringList(category->elementPath()) << category->name(), &modeHint);
            if (categoryElement.isNull()) {
                ORVEX_THROW(ModeLoadErrorException,
                            QStringLiteral("Unable to print a path for the \"%1\" feature list.")
                                .arg(category->name()));
            }
        }
        printFeatureList(category, &modeHint, modeNode);
        if (categoryNode)
            writeTreeContent(categoryElement, categoryNode);
        else if (presence)
            writeLinkedContent(presence, categoryElement);
    }
    writeLinkedContent(a_mode, mode);
    return mode;
}

Lumex::CamProperty LumexPrinter::printFeatureList(ElementBase* a_list, const PathHint* a_hint,
                                                  const LumexTreeElement* a_scopeNode)
{
    breathe();
    const QStringList& path = a_list->elementPath();
    Lumex::CamProperty holder = printPath(path, a_hint);
    if (holder.isNull()) {
        ORVEX_THROW(
            ModeLoadErrorException,
            QStringLiteral("Unable to print a path for the \"%1\" feature list.").arg(a_list->name()));
    }
    auto* list = qobject_cast<FeatureListFeatureBase*>(a_list);
    auto* category = qobject_cast<CategoryElementBase*>(a_list);
    const QString name = list ? list->name() : QString();
    const QStringList leading = name.isEmpty() ? QStringList(path.mid(0, path.size() - 1)) : path;
    // A list of an unbuilt mode has the nodes of its instances; a category of one stands in its node.
    const QVector<const LumexTreeElement*> nodes = a_scopeNode && list
                                                       ? m_unbuiltReader.instanceNodes(list, a_scopeNode)
                                                       : QVector<const LumexTreeElement*>();
    const size_t instances =
        list ? (a_scopeNode ? size_t(nodes.size()) : list->instanceCount()) : (category ? 1 : 0);

    Lumex::CamProperty last = holder;
    for (size_t instance = 0; instance < instances; ++instance) {
        Lumex::CamProperty element = name.isEmpty() ? holder : holder.push_back(name.toUtf8().constData());
        if (element.isNull()) {
            ORVEX_THROW(ModeLoadErrorException,
                        QStringLiteral("Unable to print a path for the \"%1\" feature list.").arg(name));
        }
        const PathHint hint(element, leading, nullptr);
        const LumexTreeElement* memberScope = list && a_scopeNode ? nodes.at(int(instance)) : a_scopeNode;
        const QVector<FeatureElementBase*> members =
            list ? (a_scopeNode ? list->memberTemplates() : list->instanceMembers(instance))
                 : category->features();
        for (FeatureElementBase* member : members)
            printFeature(member, hint, memberScope);
        if (list)
            writeTreeContent(element, a_scopeNode ? memberScope : instanceNode(list, instance, members));
        last = element;
    }
    if (category && !a_scopeNode)
        writeLinkedContent(category, holder);
    return last;
}

Lumex::CamProperty LumexPrinter::printFeature(FeatureElementBase* a_feature, const PathHint& a_hint,
                                              const LumexTreeElement* a_scopeNode)
{
    // Values first: nearly every feature is one, and each cast walks the class's meta-objects.
    auto* value = qobject_cast<ValueFeatureElementBase*>(a_feature);
    if (!value) {
        if (auto* list = qobject_cast<FeatureListFeatureBase*>(a_feature))
            return printFeatureList(list, &a_hint, a_scopeNode);
        ORVEX_THROW(UnknownFeatureTypeException,
                    QStringLiteral("The \"%1\" feature is an unknown type.").arg(a_feature->name()));
    }

    const QString& name = value->name();
    const QStringList& path = value->elementPath();
    Lumex::CamProperty holder = printPath(path, &a_hint);
    if (holder.isNull())
        ORVEX_THROW(FeatureLoadErrorException,
                    QStringLiteral("Unable to print a path for the \"%1\" feature.").arg(name));
    // Values go out as UTF-8: an unbuilt mode's are its nodes' bytes as read, without a round trip
    // through text for every value of every mode.
    QByteArrayList texts;
    const QVector<const LumexTreeElement*> nodes =
        a_scopeNode ? m_unbuiltReader.instanceNodes(value, a_scopeNode) : QVector<const LumexTreeElement*>();
    if (a_scopeNode) {
        texts.reserve(nodes.size());
        for (const LumexTreeElement* node : nodes)
            texts << node->value();
    } else {
        texts.reserve(int(value->instanceCount()));
        for (size_t instance = 0; instance < value->instanceCount(); ++instance)
            texts << value->valueText(instance).toUtf8();
    }
    if (texts.isEmpty())
        return holder;
    const bool repeated = value->maxOccurs() != 1 && !value->isAttribute();
    if (name.isEmpty() && (value->isAttribute() || repeated)) {
        ORVEX_THROW(FeatureLoadErrorException,
                    QStringLiteral("Unnamed feature at path (%1).").arg(joinedPath(path)));
    }
    const QByteArray utf8Name = name.toUtf8();
    const auto written = [&](const Lumex::Error& a_result, const QByteArray& a_value) {
        if (!a_result) {
            ORVEX_THROW(
                FeatureLoadErrorException,
                QStringLiteral("Unable to print the value \"%1\" of the \"%2\" feature: %3")
                    .arg(escaped(QString::fromUtf8(a_value)), name, escaped(text(a_result.message()))));
        }
    };

    // The markup library escapes what it writes; escaping here as well would escape twice.
    if (value->isAttribute()) {
        const QByteArray joined = texts.join(';');
        written(holder.set(utf8Name.constData(), joined.constData()), joined);
        return holder;
    }
    if (name.isEmpty()) {
        if (texts.size() == 1)
            written(holder.set(texts.first().constData()), texts.first());
        return holder;
    }
    if (!repeated && texts.size() != 1)
        return holder;
    Lumex::CamProperty element = holder;
    for (int instance = 0; instance < texts.size(); ++instance) {
        element = holder.push_back(utf8Name.constData());
        if (element.isNull()) {
            ORVEX_THROW(FeatureLoadErrorException,
                        QStringLiteral("Unable to print a path for the \"%1\" feature.").arg(name));
        }
        written(element.set(texts.at(instance).constData()), texts.at(instance));
        writeTreeContent(element, a_scopeNode ? nodes.at(instance) : linkedNode(value, instance));
    }
    return element;
}

void LumexPrinter::writeTreeContent(Lumex::CamProperty a_node, const LumexTreeElement* a_element)
{
    if (!m_preserveExtraData || !a_element || m_extraBelow.count(a_element) == 0)
        return;
    for (const LumexTreeElement* child : a_element->childElements()) {
        if (child->isSchemaCompliant())
            continue;
        const QByteArray name = child->name().toUtf8();
        Lumex::Error result;
        if (child->isText() || child->isComment()) {
            Lumex::CamProperty node = a_node.push_back(child->isText() ? Lumex::CamProperty::TextNode
                                                                       : Lumex::CamProperty::CommentNode);
            result = node.isNull() ? Lumex::Error("Write error", "The node could not be added.", nullptr)
                                   : node.set(child->value().constData());
        } else if (child->isAttribute()) {
            result = a_node.set(name.constData(), child->value().constData());
        } else {
            Lumex::CamProperty element = a_node.push_back(name.constData());
            element.markCopied();
            if (element.isNull()) {
                result = Lumex::Error("Write error", "The element could not be added.", name.constData());
            } else if (!child->value().isNull()) {
                result = element.set(child->value().constData());
            }
            if (result)
                writeTreeContent(element, child);
        }
        if (!result) {
            ORVEX_THROW(FeatureLoadErrorException,
                        QStringLiteral("Unable to print the extra data at path (%1): %2")
                            .arg(escaped(joinedPath(child->path())), escaped(text(result.message()))));
        }
    }
}

void LumexPrinter::writeLinkedContent(const ElementBase* a_element, Lumex::CamProperty a_node)
{
    for (int index = 0; const LumexTreeElement* node = linkedNode(a_element, index); ++index)
        writeTreeContent(a_node, node);
}

void LumexPrinter::writeFrameContent()
{
    if (!m_preserveExtraData || !m_tree)
        return;
    QStringList path;
    const LumexTreeElement* node = m_tree->root();
    for (const QString& name :
         {QString::fromLatin1(s_rootName), QStringLiteral("camera"), QStringLiteral("modes")}) {
        node = node ? node->childByName(name) : nullptr;
        if (!node)
            return;
        path << name;
        if (m_extraBelow.count(node) == 0)
            continue;
        const Lumex::CamProperty element = printPath(path, nullptr);
        if (!element.isNull())
            writeTreeContent(element, node);
    }
}

bool LumexPrinter::indexTree(const LumexTreeElement* a_node)
{
    if (a_node->elementId() != 0)
        m_links.emplace_back(quint64(a_node->elementId()), a_node);
    bool compliant = a_node->isSchemaCompliant();
    const QList<LumexTreeElement*> children = a_node->childElements();
    for (const LumexTreeElement* child : children)
        compliant = indexTree(child) && compliant;
    if (!compliant) {
        m_extraBelow.insert(a_node);
        if (a_node->elementId() != 0)
            m_nearExtra.insert(quint64(a_node->elementId()));
        for (const LumexTreeElement* child : children) {
            if (child->elementId() != 0)
                m_nearExtra.insert(quint64(child->elementId()));
        }
    }
    return compliant;
}

void LumexPrinter::buildIndex(LinkIndex& a_index, const std::unordered_set<quint64>* a_only) const
{
    a_index.next.assign(m_links.size(), -1);
    if (!a_only)
        a_index.firstAndLast.reserve(m_links.size());
    if (a_only && a_only->empty())
        return;
    for (int link = 0; link < int(m_links.size()); ++link) {
        const quint64 id = m_links[std::size_t(link)].first;
        if (a_only && a_only->count(id) == 0)
            continue;
        const auto inserted = a_index.firstAndLast.emplace(id, std::make_pair(link, link));
        if (!inserted.second) {
            a_index.next[std::size_t(inserted.first->second.second)] = link;
            inserted.first->second.second = link;
        }
    }
}

const LumexTreeElement* LumexPrinter::linkAt(const LinkIndex& a_index, const ElementBase* a_element,
                                             int a_position) const
{
    if (!a_element || a_element->id() == 0)
        return nullptr;
    const auto found = a_index.firstAndLast.find(a_element->id());
    int link = found == a_index.firstAndLast.end() ? -1 : found->second.first;
    for (; link >= 0 && a_position > 0; --a_position)
        link = a_index.next[std::size_t(link)];
    return link >= 0 ? m_links[std::size_t(link)].second : nullptr;
}

const LumexTreeElement* LumexPrinter::linkedNode(const ElementBase* a_element, int a_index) const
{
    return linkAt(m_nearIndex, a_element, a_index);
}

const LumexTreeElement* LumexPrinter::instanceNode(const FeatureListFeatureBase* a_list, size_t a_instance,
                                                   const QVector<FeatureElementBase*>& a_members)
{
    // Whichever member answers below, its node or that node's parent holds extra data only if the
    // member is near some.
    const auto nearExtra = [this](const ElementBase* a_element) {
        return a_element && m_nearExtra.count(a_element->id()) != 0;
    };
    if (!nearExtra(a_list) && std::none_of(a_members.begin(), a_members.end(), nearExtra))
        return nullptr;
    if (!m_allIndexed) {
        buildIndex(m_allIndex, nullptr);
        m_allIndexed = true;
    }
    // The members know their instance whatever was inserted, removed or moved since reading: the node
    // of a member lies in the instance's node, and an unnamed member is that node's own text.
    for (const FeatureElementBase* member : a_members) {
        const LumexTreeElement* node = linkAt(m_allIndex, member, 0);
        if (!node)
            continue;
        return member->name().isEmpty() ? node : node->parentElement();
    }
    // None of its members was in the file: the instance can only be found by its position.
    return linkAt(m_allIndex, a_list, int(a_instance));
}

void LumexPrinter::breathe()
{
    if (m_progress)
        m_progress->breathe();
}

void LumexPrinter::step(const QString& a_detail)
{
    qCDebug(orvexFilesLog).noquote() << a_detail;
    if (m_progress) {
        m_progress->step();
        m_progress->setDetailText(a_detail);
    }
}

} // namespace Orvex
