#include "fileio/SchemaParser.h"

#include "fileio/SchemaParserReading.h"

#include "board/RegisterFeatureWiring.h"
#include "elements/BooleanFeature.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/EnumerationFeature.h"
#include "elements/FeatureListFeature.h"
#include "elements/FeatureTableFeature.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/NumericFeature.h"
#include "elements/StringFeature.h"
#include "elements/WindowElement.h"
#include "model/LumexDiagnostics.h"
#include "model/LumexTree.h"
#include "model/LumexTreeElement.h"
#include "widgets/ProgressStepper.h"

#include <QDebug>
#include <QFile>
#include <QRegExp>

#include <algorithm>
#include <optional>

namespace Orvex {

using namespace SchemaReading;

SchemaParser::SchemaParser(QObject* a_owner, LumexTree* a_tree, ProgressStepper* a_progress,
                           const QString& a_schemaPath)
    : QObject(a_owner), m_tree(a_tree), m_progress(a_progress),
      m_registerWiring(std::make_unique<RegisterFeatureWiring>())
{
    struct HintRow
    {
        const char* list;
        const char* leaf;
        unsigned flag;
    };
    const HintRow rows[] = {
        {"quarnel_regs", "address", SchemaParserHintNode::BoardRegisterAddress},
        {"quarnel_regs", "data", SchemaParserHintNode::BoardRegisterData},
        {"cxp_regs_before", "address", SchemaParserHintNode::CameraRegisterBeforeAddress},
        {"cxp_regs_before", "data", SchemaParserHintNode::CameraRegisterBeforeData},
        {"cxp_regs_after", "address", SchemaParserHintNode::CameraRegisterAfterAddress},
        {"cxp_regs_after", "data", SchemaParserHintNode::CameraRegisterAfterData},
    };
    const QStringList modePath = {QStringLiteral("quarnel_config"), QStringLiteral("camera"),
                                  QStringLiteral("modes"), QStringLiteral("mode")};
    for (const HintRow& row : rows) {
        m_pathHints.lookupPath(modePath + QStringList{QString::fromLatin1(row.list), QStringLiteral("reg"),
                                                      QString::fromLatin1(row.leaf)},
                               row.flag);
    }

    const QByteArray path = QFile::encodeName(a_schemaPath);
    const Lumex::Error result = m_schema.load(path.constData(), Lumex::CamFile::SourcePath);
    if (!result)
        ORVEX_THROW(XsdLoadException, LumexDiagnostics::toHtml(result));
    m_position = m_schema.root();
}

SchemaParser::~SchemaParser() = default;

void SchemaParser::setBoardDataSource(QNBrdDataSource* a_dataSource)
{
    m_registerWiring->setDataSource(a_dataSource);
}

QNBrdDataSource* SchemaParser::boardDataSource() const
{
    return m_registerWiring->dataSource();
}

void SchemaParser::savePosition()
{
    m_savedPositions.push_back({m_position, int(m_names.size())});
}

void SchemaParser::restorePosition()
{
    const SavedPosition saved = m_savedPositions.back();
    m_savedPositions.pop_back();
    m_position = saved.node;
    while (m_names.size() > saved.nameCount)
        m_names.removeLast();
}

void SchemaParser::enter(const Lumex::ConstCamProperty& a_node)
{
    m_position = a_node;
    QString name;
    if (nodeAttribute(a_node, "name", &name))
        m_names << name;
}

void SchemaParser::goToChild(const QString& a_name, const AttributeMap& a_attributes, bool a_exact)
{
    if (!m_position)
        ORVEX_THROW(NullPropertyException, "Unable to find the child of a null property.");

    for (const Lumex::ConstCamProperty& child : childElements()) {
        if (nodeName(child) != a_name)
            continue;
        if (a_exact && child.attribute_count() != unsigned(a_attributes.size()))
            continue;
        bool matches = true;
        for (auto required = a_attributes.cbegin(); matches && required != a_attributes.cend(); ++required) {
            QString value;
            matches = nodeAttribute(child, required.key().toUtf8().constData(), &value) &&
                      value == required.value();
        }
        if (matches) {
            enter(child);
            return;
        }
    }

    QStringList pairs;
    for (auto required = a_attributes.cbegin(); required != a_attributes.cend(); ++required)
        pairs << required.key() + QLatin1Char('=') + required.value();
    const QString message =
        a_exact
            ? QStringLiteral("Found no child of \"%1\" named \"%2\", with the exact attributes (%3).")
            : QStringLiteral(
                  "Found no child of \"%1\" named \"%2\", with the all of the specified attributes (%3).");
    ORVEX_THROW(ChildNotFoundException, message.arg(currentName(), a_name, pairs.join(QLatin1Char(' '))));
}

void SchemaParser::loadCamera(CameraElement* a_camera)
{
    if (!a_camera)
        return;
    m_registerWiring->setOwner(a_camera);
    if (m_progress)
        m_progress->breathe();

    PositionGuard guard(this);
    m_position = m_schema.root();
    if (currentName() != QLatin1String("xs:schema")) {
        ORVEX_THROW(
            ChildNotFoundException,
            QStringLiteral("Root should be \"xs:schema\". Found \"%1\", instead.").arg(currentName()));
    }

    goToChild(QStringLiteral("xs:element"), {{QStringLiteral("name"), QStringLiteral("quarnel_config")}});
    goToChild(QStringLiteral("xs:complexType"));
    goToChild(QStringLiteral("xs:sequence"));
    for (const char* attribute : {"xmlns:xsi", "xsi:noNamespaceSchemaLocation"}) {
        if (LumexTreeElement* node = recordPath({QStringLiteral("quarnel_config"), QLatin1String(attribute)}))
            node->setIsAttribute(true);
    }

    goToChild(QStringLiteral("xs:element"), {{QStringLiteral("name"), QStringLiteral("camera")},
                                             {QStringLiteral("minOccurs"), QStringLiteral("0")}});
    goToChild(QStringLiteral("xs:complexType"));
    goToChild(QStringLiteral("xs:sequence"));

    report(QStringLiteral("Building global features template"));
    {
        PositionGuard cameraSequence(this);
        goToChild(QStringLiteral("xs:element"), {{QStringLiteral("minOccurs"), QStringLiteral("0")},
                                                 {QStringLiteral("name"), QStringLiteral("features")}});
        CameraGlobalCategory* global = a_camera->globalCategory();
        global->setName(m_names.last());
        // The global features are children of the "features" element itself.
        global->setElementPath(m_names);
        loadCategoryFeatures(global, nullptr);
    }

    goToChild(QStringLiteral("xs:element"), {{QStringLiteral("name"), QStringLiteral("modes")},
                                             {QStringLiteral("minOccurs"), QStringLiteral("0")}});
    goToChild(QStringLiteral("xs:complexType"));
    goToChild(QStringLiteral("xs:sequence"));

    auto* modeTemplate = new ModeElement(a_camera);
    modeTemplate->setElementPath(m_names);
    a_camera->appendMode(modeTemplate);
    recordPath(m_names + QStringList{QStringLiteral("mode")});
    if (LumexTreeElement* node =
            recordPath(m_names + QStringList{QStringLiteral("mode"), QStringLiteral("name")}))
        node->setIsAttribute(true);

    goToChild(QStringLiteral("xs:element"), {{QStringLiteral("name"), QStringLiteral("mode")},
                                             {QStringLiteral("minOccurs"), QStringLiteral("1")},
                                             {QStringLiteral("maxOccurs"), QStringLiteral("unbounded")}});
    goToChild(QStringLiteral("xs:complexType"));
    goToChild(QStringLiteral("xs:all"));
    loadCategories(modeTemplate);

    report(QStringLiteral("Schema parsing complete"));
}

void SchemaParser::loadCategories(ModeElement* a_mode)
{
    PositionGuard guard(this);
    for (const Lumex::ConstCamProperty& child : childElements()) {
        step();
        PositionGuard categoryGuard(this);
        QString name;
        if (!nodeAttribute(child, "name", &name)) {
            ORVEX_THROW(
                MissingAttributeException,
                QStringLiteral("Missing attribute \"name\" on the \"%1\" feature.").arg(nodeName(child)));
        }
        report(QStringLiteral("Building category template: ") + name);

        auto* category = new GenericModeCategory(a_mode);
        category->setName(name);
        // Categories share their mode's path: their elements are children of the "mode" element.
        category->setElementPath(m_names);
        a_mode->appendCategory(category);

        enter(child);
        QString typeName;
        if (nodeAttribute(child, "type", &typeName))
            category->setTypeName(typeName);
        loadCategoryFeatures(category, category->categoryFeature());
    }
}

void SchemaParser::loadCategoryFeatures(CategoryElementBase* a_category,
                                        FeatureElementBase* a_categoryFeature)
{
    PositionGuard guard(this);
    const QString documentation = readDocumentation();
    a_category->setAnnotation(documentation);
    recordPath(m_names);
    if (a_categoryFeature) {
        a_categoryFeature->setName(a_category->name());
        a_categoryFeature->setElementPath(positionPath());
        a_categoryFeature->setAnnotation(documentation);
    }

    QString typeName;
    if (attribute("type", &typeName)) {
        // A named type is no element of a camera file: its content belongs to the category's element,
        // so the type's own name stays out of the path.
        m_position = m_schema.root();
        goToChild(QStringLiteral("xs:complexType"), {{QStringLiteral("name"), typeName}});
        m_names.removeLast();
    } else {
        goToChild(QStringLiteral("xs:complexType"));
    }
    loadComplexContent(a_category);
}

void SchemaParser::loadComplexContent(ElementBase* a_container)
{
    for (const Lumex::ConstCamProperty& child : childElements()) {
        PositionGuard guard(this);
        const QString name = nodeName(child);
        if (name == QLatin1String("xs:sequence") || name == QLatin1String("xs:all")) {
            enter(child);
            for (const Lumex::ConstCamProperty& member : childElements())
                loadFeature(member, a_container);
        } else if (name == QLatin1String("xs:simpleContent")) {
            enter(child);
            goToChild(QStringLiteral("xs:extension"));
            loadFeature(m_position, a_container);
            for (const Lumex::ConstCamProperty& attribute : childElements())
                loadFeature(attribute, a_container);
        } else {
            loadFeature(child, a_container);
        }
    }
}

void SchemaParser::loadFeature(const Lumex::ConstCamProperty& a_node, ElementBase* a_container)
{
    step();
    PositionGuard guard(this);
    enter(a_node);

    const QString kind = currentName();
    const bool isElement = kind == QLatin1String("xs:element");
    const bool isExtension = kind == QLatin1String("xs:extension");
    if (!isElement && !isExtension && kind != QLatin1String("xs:attribute"))
        ORVEX_THROW(UnknownFeatureClassException, QStringLiteral("Unknown feature class \"%1\".").arg(kind));

    const FeatureProperties properties = loadFeatureProperties();
    // An extension is the value of the element that holds it and has no name of its own.
    if (!isExtension && properties.name.isEmpty())
        ORVEX_THROW(MissingAttributeException, "Missing attribute \"name\" on a feature element.");

    FeatureElementBase* feature = nullptr;
    QString typeName;
    if (attribute(isExtension ? "base" : "type", &typeName)) {
        feature = makeTypedFeature(typeName, properties, a_container);
    } else if (hasChild("xs:simpleType")) {
        PositionGuard restrictionGuard(this);
        goToChild(QStringLiteral("xs:simpleType"));
        goToChild(QStringLiteral("xs:restriction"));
        QString base;
        if (!attribute("base", &base)) {
            ORVEX_THROW(
                MissingAttributeException,
                QStringLiteral("Missing attribute \"base\" on the \"%1\" feature.").arg(properties.name));
        }
        feature = makeSimpleFeature(base, properties, a_container);
    } else if (hasChild("xs:complexType")) {
        feature = makeComplexFeature(properties, a_container);
    } else {
        // The types XSD gives a declaration without any: none that the editor can show.
        feature =
            makeTypedFeature(isElement ? QStringLiteral("xs:anyType") : QStringLiteral("xs:anySimpleType"),
                             properties, a_container);
    }

    applyProperties(feature, properties);

    if (auto* list = qobject_cast<FeatureListFeatureBase*>(a_container))
        list->addMember(feature);
    else if (auto* category = qobject_cast<CategoryElementBase*>(a_container))
        category->addFeature(feature);
}

void SchemaParser::applyProperties(FeatureElementBase* a_feature, const FeatureProperties& a_properties)
{
    a_feature->setMinOccurs(a_properties.minOccurs);
    a_feature->setMaxOccurs(a_properties.maxOccurs);
    a_feature->setIsAttribute(a_properties.isAttribute);
    if (!a_properties.name.isEmpty())
        a_feature->setName(a_properties.name);
    if (auto* valueFeature = qobject_cast<ValueFeatureElementBase*>(a_feature)) {
        if (!a_properties.defaultValue.isNull())
            valueFeature->setDefaultValue(a_properties.defaultValue);
        else if (!a_properties.fixedValue.isNull())
            valueFeature->setFixedValue(a_properties.fixedValue);
    }
    a_feature->setElementPath(a_properties.schemaPath);

    QStringList path = a_properties.schemaPath;
    if (!a_properties.name.isEmpty())
        path << a_properties.name;
    if (LumexTreeElement* node = recordPath(path))
        node->setIsAttribute(a_properties.isAttribute);

    if (!a_properties.documentation.isEmpty())
        a_feature->setAnnotation(a_properties.documentation);

    // Register helpers go on before the feature becomes a template, so that every copy shares them.
    if (auto* stringFeature = qobject_cast<StringFeature*>(a_feature)) {
        if (const std::optional<RegisterFeatureWiring::Role> role = registerRole(m_pathHints.flagsAt(path)))
            m_registerWiring->attach(stringFeature, *role);
    }
}

SchemaParser::FeatureProperties SchemaParser::loadFeatureProperties()
{
    PositionGuard guard(this);
    FeatureProperties properties;
    const QString kind = currentName();
    properties.isAttribute = kind == QLatin1String("xs:attribute");
    if (properties.isAttribute) {
        QString use;
        // As a schema reads it: an attribute is optional unless declared required.
        properties.minOccurs = attribute("use", &use) && use == QLatin1String("required") ? 1 : 0;
        properties.maxOccurs = 1;
    } else if (kind == QLatin1String("xs:element")) {
        unsigned occurs = 0;
        if (m_position.get("minOccurs", occurs))
            properties.minOccurs = occurs;
        QString maxOccurs;
        if (m_position.get("maxOccurs", occurs))
            properties.maxOccurs = occurs;
        else if (attribute("maxOccurs", &maxOccurs) && maxOccurs == QLatin1String("unbounded"))
            properties.maxOccurs = FeatureElementBase::Unbounded;
    }

    attribute("name", &properties.name);
    QString defaultValue;
    QString fixedValue;
    const bool hasDefault = attribute("default", &defaultValue);
    const bool hasFixed = attribute("fixed", &fixedValue);
    if (hasDefault && hasFixed) {
        ORVEX_THROW(
            MismatchedAttributeException,
            QStringLiteral("\"fixed\" and \"default\" values both present for the \"%1\" \"%2\" feature.")
                .arg(properties.name, kind));
    }
    if (hasDefault)
        properties.defaultValue = defaultValue;
    else if (hasFixed)
        properties.fixedValue = fixedValue;

    properties.schemaPath = positionPath();
    properties.documentation = readDocumentation();
    return properties;
}

QString SchemaParser::readDocumentation() const
{
    const Lumex::ConstCamProperty annotation = m_position["xs:annotation"];
    if (!annotation)
        return QString();
    const Lumex::ConstCamProperty documentation = annotation["xs:documentation"];
    return !documentation ? QString() : text(documentation.get());
}

QStringList SchemaParser::positionPath() const
{
    QStringList path = m_names;
    if (attribute("name", nullptr) && !path.isEmpty())
        path.removeLast();
    return path;
}

LumexTreeElement* SchemaParser::recordPath(const QStringList& a_path)
{
    return m_tree ? m_tree->elementByPath(a_path, true) : nullptr;
}

void SchemaParser::step()
{
    if (m_progress)
        m_progress->step();
}

void SchemaParser::report(const QString& a_text)
{
    qDebug().noquote() << a_text;
    if (m_progress)
        m_progress->setDetailText(a_text);
}

std::vector<Lumex::ConstCamProperty> SchemaParser::childElements() const
{
    std::vector<Lumex::ConstCamProperty> children;
    for (auto child = m_position.begin(nullptr); child != m_position.end(nullptr); ++child) {
        if (!child->is(s_nonElementKinds))
            children.push_back(*child);
    }
    return children;
}

bool SchemaParser::hasChild(const char* a_name) const
{
    for (const Lumex::ConstCamProperty& child : childElements()) {
        if (qstrcmp(child.name(), a_name) == 0)
            return true;
    }
    return false;
}

bool SchemaParser::attribute(const char* a_name, QString* a_value) const
{
    return nodeAttribute(m_position, a_name, a_value);
}

QString SchemaParser::currentName() const
{
    return nodeName(m_position);
}

} // namespace Orvex
