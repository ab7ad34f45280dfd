#include "TestSupport.h"
#include "board/QNBrdDataSource.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/EnumerationFeature.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/StringFeature.h"
#include "elements/ValueFeatureObserverBase.h"
#include "elements/WindowElement.h"
#include "fileio/SchemaParser.h"
#include "model/LumexDiagnostics.h"
#include "model/LumexTree.h"
#include "model/LumexTreeElement.h"
#include "model/OperationCanceledException.h"
#include "widgets/ProgressStepper.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Orvex;

namespace {

// A schema of the shape the editor expects, with the given global features, mode categories and
// top-level declarations.
QString schemaText(const QString& a_global, const QString& a_categories = QString(),
                   const QString& a_types = QString())
{
    return QStringLiteral(
               R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">)"
               R"(<xs:element name="quarnel_config"><xs:complexType><xs:sequence>)"
               R"(<xs:element name="camera" minOccurs="0"><xs:complexType><xs:sequence>)"
               R"(<xs:element minOccurs="0" name="features"><xs:complexType><xs:sequence>%1)"
               R"(</xs:sequence></xs:complexType></xs:element>)"
               R"(<xs:element name="modes" minOccurs="0"><xs:complexType><xs:sequence>)"
               R"(<xs:element name="mode" minOccurs="1" maxOccurs="unbounded"><xs:complexType><xs:all>%2)"
               R"(</xs:all></xs:complexType></xs:element>)"
               R"(</xs:sequence></xs:complexType></xs:element>)"
               R"(</xs:sequence></xs:complexType></xs:element>)"
               R"(</xs:sequence></xs:complexType></xs:element>%3</xs:schema>)")
        .arg(a_global, a_categories, a_types);
}

QString simpleElement(const QString& a_name, const QString& a_base, const QString& a_facets)
{
    return QStringLiteral(
               R"(<xs:element name="%1"><xs:simpleType><xs:restriction base="%2">%3</xs:restriction>)"
               R"(</xs:simpleType></xs:element>)")
        .arg(a_name, a_base, a_facets);
}

QString category(const QString& a_name, const QString& a_content)
{
    return QStringLiteral(
               R"(<xs:element name="%1" minOccurs="0"><xs:complexType>%2</xs:complexType></xs:element>)")
        .arg(a_name, a_content);
}

// One document being opened: a window element with its camera, a document tree, and the schema file.
struct Document
{
    QTemporaryDir dir;
    WindowElement window{nullptr};
    LumexTree tree{QStringLiteral("camera.lumex")};
    QString schemaPath;

    explicit Document(const QString& a_schema = QString())
    {
        schemaPath = dir.filePath(QStringLiteral("schema.xsd"));
        QFile file(schemaPath);
        if (file.open(QIODevice::WriteOnly))
            file.write(a_schema.toUtf8());
    }
    CameraElement* camera() { return window.camera(); }
    ModeElement* modeTemplate() { return camera()->mode(0); }
};

// "features/Name" for a global feature, "Category/Name" for a mode feature, more names for the member
// templates of lists; an empty last name finds the unnamed member.
FeatureElementBase* findFeature(CameraElement* a_camera, const QString& a_locator)
{
    const QStringList names = a_locator.split(QLatin1Char('/'));
    CategoryElementBase* category = a_camera->globalCategory();
    if (names.first() != QLatin1String("features")) {
        category = nullptr;
        for (ModeCategoryElementBase* candidate : a_camera->mode(0)->categories()) {
            if (candidate->name() == names.first())
                category = candidate;
        }
    }
    FeatureElementBase* feature = category ? category->feature(names.value(1)) : nullptr;
    for (int level = 2; feature && level < names.size(); ++level) {
        auto* list = qobject_cast<FeatureListFeatureBase*>(feature);
        feature = nullptr;
        for (FeatureElementBase* member : list ? list->memberTemplates() : QVector<FeatureElementBase*>()) {
            if (member->name() == names[level])
                feature = member;
        }
    }
    return feature;
}

LumexTreeElement* existingNode(LumexTree& a_tree, const QStringList& a_path)
{
    LumexTreeElement* node = a_tree.root();
    for (const QString& name : a_path)
        node = node ? node->childByName(name) : nullptr;
    return node;
}

const QStringList s_modePath = {"quarnel_config", "camera", "modes", "mode"};

} // namespace

class TestSchemaParser : public QObject
{
    Q_OBJECT

private slots:
    void rejectsSchema_data();
    void rejectsSchema();
    void buildsFeature_data();
    void buildsFeature();
    void loadsShippedSchemas_data();
    void loadsShippedSchemas();
    void cancelStopsLoading();
    void attachesRegisterHelpers_data();
    void attachesRegisterHelpers();
};

void TestSchemaParser::rejectsSchema_data()
{
    QTest::addColumn<QString>("schema");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("function");
    // Empty: the HTML list of the markup library's diagnostics for the file.
    QTest::addColumn<QString>("message");

    const QString valid = schemaText(QString());
    QTest::newRow("malformed") << valid.left(valid.size() - 4) << "XsdLoadException"
                               << "SchemaParser" << QString();
    QString otherPrefix = valid;
    otherPrefix.replace(QLatin1String("xs:schema"), QLatin1String("xsd:schema"));
    QTest::newRow("root xsd:schema") << otherPrefix << "ChildNotFoundException"
                                     << "loadCamera"
                                     << R"(Root should be "xs:schema". Found "xsd:schema", instead.)";
    QString noMinOccurs = valid;
    noMinOccurs.replace(QLatin1String(R"(name="camera" minOccurs="0")"), QLatin1String(R"(name="camera")"));
    QTest::newRow("camera without minOccurs")
        << noMinOccurs << "ChildNotFoundException"
        << "goToChild"
        << R"(Found no child of "xs:sequence" named "xs:element", with the all of the specified attributes )"
           R"((minOccurs=0 name=camera).)";
    QTest::newRow("unknown type of category")
        << schemaText(QString(), R"(<xs:element name="Strobe" type="NoSuchType"/>)")
        << "ChildNotFoundException"
        << "goToChild"
        << R"(Found no child of "xs:schema" named "xs:complexType", with the all of the specified attributes )"
           R"((name=NoSuchType).)";
    QTest::newRow("unnamed category")
        << schemaText(QString(), R"(<xs:element minOccurs="0"/>)") << "MissingAttributeException"
        << "loadCategories"
        << R"(Missing attribute "name" on the "xs:element" feature.)";
    QTest::newRow("unknown feature class") << schemaText("<xs:choice/>") << "UnknownFeatureClassException"
                                           << "loadFeature"
                                           << R"(Unknown feature class "xs:choice".)";
    QTest::newRow("annotation in content")
        << schemaText(QString(), category("Sensor", "<xs:annotation/><xs:sequence/>"))
        << "UnknownFeatureClassException"
        << "loadFeature"
        << R"(Unknown feature class "xs:annotation".)";
    QTest::newRow("unnamed feature") << schemaText(R"(<xs:element type="xs:string"/>)")
                                     << "MissingAttributeException"
                                     << "loadFeature"
                                     << R"(Missing attribute "name" on a feature element.)";
    QTest::newRow("restriction without base")
        << schemaText(simpleElement("Model", "", "").replace(R"( base="")", ""))
        << "MissingAttributeException"
        << "loadFeature"
        << R"(Missing attribute "base" on the "Model" feature.)";
    QTest::newRow("fixed and default")
        << schemaText(
               QString(),
               category("Strobe", R"(<xs:attribute name="Gain" type="xs:int" default="1" fixed="2"/>)"))
        << "MismatchedAttributeException"
        << "loadFeatureProperties"
        << R"("fixed" and "default" values both present for the "Gain" "xs:attribute" feature.)";
    QTest::newRow("unknown type") << schemaText(R"(<xs:element name="Created" type="xs:date"/>)")
                                  << "UnknownFeatureTypeException"
                                  << "makeTypedFeature"
                                  << R"(Unknown feature type "xs:date" on the "Created" feature.)";
    QTest::newRow("untyped element") << schemaText(R"(<xs:element name="Notes"/>)")
                                     << "UnknownFeatureTypeException"
                                     << "makeTypedFeature"
                                     << R"(Unknown feature type "xs:anyType" on the "Notes" feature.)";
    QTest::newRow("unsupported simple base")
        << schemaText(simpleElement("Created", "xs:date", R"(<xs:pattern value="\d+"/>)"))
        << "UnknownFeatureTypeException"
        << "makeSimpleFeature"
        << R"(Unsupported simpleType feature type "xs:date".)";
    QTest::newRow("non-enumeration child")
        << schemaText(
               simpleElement("Mode", "xs:string", R"(<xs:enumeration value="A"/><xs:pattern value="A"/>)"))
        << "BadChildTypeException"
        << "makeSimpleFeature"
        << "Non-xs:enumeration child entry in the feature xs:restrictions.";
    QTest::newRow("enumeration without value")
        << schemaText(simpleElement("Mode", "xs:string", R"(<xs:enumeration value="A"/><xs:enumeration/>)"))
        << "MissingAttributeException"
        << "makeSimpleFeature"
        << R"(Missing "value" attribute on xs:enumeration feature.)";
    QTest::newRow("blank enumeration value")
        << schemaText(simpleElement("Mode", "xs:int", R"(<xs:enumeration value=" 	 "/>)"))
        << "NullValueException"
        << "makeSimpleFeature"
        << R"(Empty "value" attribute on xs:enumeration feature.)";
    QTest::newRow("minLength 1")
        << schemaText(simpleElement("Model", "xs:string", R"(<xs:minLength value="1"/>)"))
        << "BadValueException"
        << "makeSimpleFeature"
        << R"(Unsupported (non-zero) "value=1" attribute on "minLength" restrition of the )"
           R"("Model" feature.)";
    const QStringList facets = {"xs:string pattern",     "xs:string maxLength",  "xs:string minLength",
                                "xs:float minInclusive", "xs:byte maxInclusive", "xs:decimal fractionDigits"};
    for (const QString& facet : facets) {
        const QString base = facet.section(' ', 0, 0);
        const QString name = facet.section(' ', 1, 1);
        QTest::addRow("%s without value", qPrintable(name))
            << schemaText(simpleElement("Gain", base, QStringLiteral("<xs:%1/>").arg(name)))
            << "MissingAttributeException"
            << "makeSimpleFeature"
            << QStringLiteral(R"(Missing "value" attribute on "%1" restrition of the "Gain" feature.)")
                   .arg(name);
    }
}

void TestSchemaParser::rejectsSchema()
{
    QFETCH(QString, schema);
    QFETCH(QString, kind);
    QFETCH(QString, function);
    QFETCH(QString, message);

    Document document(schema);
    if (message.isEmpty()) {
        Lumex::CamFile file;
        message = LumexDiagnostics::toHtml(file.load(QFile::encodeName(document.schemaPath), 0));
        QVERIFY(message.startsWith(QLatin1String("<ol><li>")));
    }
    std::unique_ptr<SchemaParser> parser;
    QString text;
    try {
        parser = std::make_unique<SchemaParser>(nullptr, &document.tree, nullptr, document.schemaPath);
        parser->loadCamera(document.camera());
    } catch (const ExceptionBase& a_error) {
        text = QString::fromUtf8(a_error.what());
    }
    const QRegularExpression expected(
        QStringLiteral("^%1 thrown from Orvex::SchemaParser::%2 in SchemaParser\\.cpp\\[\\d+\\]: ")
            .arg(kind, function) +
        QRegularExpression::escape(message) + QLatin1Char('$'));
    QVERIFY2(expected.match(text).hasMatch(), qPrintable(text));
    if (parser)
        QVERIFY(parser->names().isEmpty());
}

void TestSchemaParser::buildsFeature_data()
{
    QTest::addColumn<QString>("global");
    QTest::addColumn<QString>("categories");
    QTest::addColumn<QString>("locator");
    QTest::addColumn<QString>("className");
    QTest::addColumn<QStringList>("elementPath");
    QTest::addColumn<QVariantMap>("properties");

    const QStringList global = {"quarnel_config", "camera", "features"};
    const QString strobe = R"(<xs:element name="Strobe" type="StrobeType" minOccurs="0"/>)";
    const auto strobeType = [](const QString& a_attribute) {
        return QStringLiteral(R"(<xs:complexType name="StrobeType">%1</xs:complexType>)").arg(a_attribute);
    };
    const auto occurs = [](int a_min, qulonglong a_max, bool a_attribute = false) {
        return QVariantMap{{"minOccurs", a_min}, {"maxOccurs", a_max}, {"isAttribute", a_attribute}};
    };
    const QString unsignedReg =
        R"(<xs:sequence><xs:element name="Offset" type="xs:unsignedInt"/></xs:sequence>)";
    const auto group = [&](const QString& a_occurs) {
        return category("ROI",
                        QStringLiteral(R"(<xs:sequence><xs:element name="Window" %1><xs:complexType>%2)"
                                       R"(</xs:complexType></xs:element></xs:sequence>)")
                            .arg(a_occurs, unsignedReg));
    };
    const qulonglong unbounded = FeatureElementBase::Unbounded;

    for (const QString& use : QStringList{"required", "", "optional"}) {
        QTest::addRow("attribute use '%s'", qPrintable(use))
            << QString()
            << strobe + strobeType(QStringLiteral(R"(<xs:attribute name="Enable" type="xs:boolean" %1/>)")
                                       .arg(use.isEmpty() ? use : QStringLiteral("use=\"%1\"").arg(use)))
            << "Strobe/Enable"
            << "Orvex::BooleanFeature" << s_modePath + QStringList{"Strobe"}
            << occurs(use == QLatin1String("optional") ? 0 : 1, 1, true);
    }
    QTest::newRow("typed category with sequence")
        << QString()
        << strobe +
               strobeType(
                   R"(<xs:sequence><xs:element name="Width" type="xs:short" minOccurs="0" maxOccurs="3"/></xs:sequence>)")
        << "Strobe/Width"
        << "Orvex::NumericFeature" << s_modePath + QStringList{"Strobe"}
        << QVariantMap{{"minOccurs", 0}, {"maxOccurs", 3}, {"representationType", NumericFeature::RT_short}};
    QTest::newRow("unbounded group") << QString() << group(R"(minOccurs="0" maxOccurs="unbounded")")
                                     << "ROI/Window"
                                     << "Orvex::FeatureTableFeature" << s_modePath + QStringList{"ROI"}
                                     << occurs(0, unbounded);
    QTest::newRow("single group") << QString() << group(R"(maxOccurs="1")") << "ROI/Window"
                                  << "Orvex::FeatureListFeature" << s_modePath + QStringList{"ROI"}
                                  << occurs(1, 1);
    QTest::newRow("two fixed instances")
        << QString() << group(R"(minOccurs="2" maxOccurs="2")") << "ROI/Window"
        << "Orvex::FeatureListFeature" << s_modePath + QStringList{"ROI"} << occurs(2, 2);
    QTest::newRow("group member") << QString() << group(QString()) << "ROI/Window/Offset"
                                  << "Orvex::NumericFeature" << s_modePath + QStringList{"ROI", "Window"}
                                  << QVariantMap{{"representationType", NumericFeature::RT_unsignedInt}};
    QTest::newRow("integer base") << simpleElement(
                                         "Gain", "xs:integer",
                                         R"(<xs:minInclusive value="-5"/><xs:maxInclusive value="1e3"/>)")
                                  << QString() << "features/Gain"
                                  << "Orvex::NumericFeature" << global
                                  << QVariantMap{{"representationType", NumericFeature::RT_integer},
                                                 {"minimumValue", -5.0},
                                                 {"maximumValue", 1000.0},
                                                 {"hasExplicitMaximum", true}};
    QTest::newRow("double type") << R"(<xs:element name="Gamma" type="xs:double" default="2.2"/>)"
                                 << QString() << "features/Gamma"
                                 << "Orvex::NumericFeature" << global
                                 << QVariantMap{{"representationType", NumericFeature::RT_double},
                                                {"defaultValue", 2.2}};
    QTest::newRow("fraction digits") << simpleElement("Rate", "xs:decimal",
                                                      R"(<xs:fractionDigits value="2"/>)")
                                     << QString() << "features/Rate"
                                     << "Orvex::NumericFeature" << global
                                     << QVariantMap{{"fractionDigits", 2.0}, {"hasFractionDigits", true}};
    QTest::newRow("string facets")
        << simpleElement("Model", "xs:string",
                         R"(<xs:minLength value="0"/><xs:maxLength value="64"/><xs:pattern value="\d+"/>)")
        << QString() << "features/Model"
        << "Orvex::StringFeature" << global
        << QVariantMap{{"stringLengthMax", 64},
                       {"stringPattern", QRegExp("\\d+", Qt::CaseSensitive, QRegExp::W3CXmlSchema11)}};
    QTest::newRow("default")
        << R"(<xs:element name="Model" type="xs:string" default="Unknown"><xs:annotation>)"
           R"(<xs:documentation>As printed on the camera.</xs:documentation></xs:annotation></xs:element>)"
        << QString() << "features/Model"
        << "Orvex::StringFeature" << global
        << QVariantMap{{"defaultValue", "Unknown"},
                       {"fixedValue", QVariant()},
                       {"stringValue", "Unknown"},
                       {"annotation", "As printed on the camera."}};
    QTest::newRow("fixed enumeration")
        << simpleElement("standard", "xs:string", R"(<xs:enumeration value=" CameraLink "/>)")
               .replace(R"(name="standard")", R"(name="standard" fixed="CameraLink")")
        << QString() << "features/standard"
        << "Orvex::EnumerationFeature" << global
        << QVariantMap{
               {"fixedValue", "CameraLink"}, {"defaultValue", QVariant()}, {"enumValue", "CameraLink"}};
    QTest::newRow("duplicate entry")
        << simpleElement("Mode", "xs:string", R"(<xs:enumeration value="A"/><xs:enumeration value="A "/>)")
        << QString() << "features/Mode"
        << "Orvex::EnumerationFeature" << global << QVariantMap{{"enumValue", "A"}, {"pendingMessages", 1}};
    const QString frameTimeout = category(
        "Timing",
        R"(<xs:sequence><xs:element name="FrameTimeout" minOccurs="0"><xs:complexType><xs:simpleContent>)"
        R"(<xs:extension base="xs:unsignedInt"><xs:attribute name="enabled" type="xs:boolean" use="optional"/>)"
        R"(</xs:extension></xs:simpleContent></xs:complexType></xs:element></xs:sequence>)");
    QTest::newRow("extension") << QString() << frameTimeout << "Timing/FrameTimeout/"
                               << "Orvex::NumericFeature"
                               << s_modePath + QStringList{"Timing", "FrameTimeout"} << occurs(1, 1);
    QTest::newRow("extension attribute")
        << QString() << frameTimeout << "Timing/FrameTimeout/enabled"
        << "Orvex::BooleanFeature" << s_modePath + QStringList{"Timing", "FrameTimeout"}
        << occurs(0, 1, true);
}

void TestSchemaParser::buildsFeature()
{
    QFETCH(QString, global);
    QFETCH(QString, categories);
    QFETCH(QString, locator);
    QFETCH(QString, className);
    QFETCH(QStringList, elementPath);
    QFETCH(QVariantMap, properties);

    const int typesAt = categories.indexOf(QLatin1String("<xs:complexType name="));
    Document document(
        schemaText(global, categories.left(typesAt), typesAt < 0 ? QString() : categories.mid(typesAt)));
    SchemaParser parser(nullptr, &document.tree, nullptr, document.schemaPath);
    parser.loadCamera(document.camera());

    FeatureElementBase* feature = findFeature(document.camera(), locator);
    QVERIFY(feature);
    QCOMPARE(QString::fromLatin1(feature->metaObject()->className()), className);
    QCOMPARE(feature->elementPath(), elementPath);
    // Warnings given while a feature is set up reach the window.
    QCOMPARE(document.window.pendingMessageCount(), properties.take("pendingMessages").toInt());
    for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
        QVariant actual = feature->property(qPrintable(property.key()));
        if (property.value().isValid())
            QVERIFY2(actual.convert(property.value().userType()), qPrintable(property.key()));
        QVERIFY2(actual == property.value(),
                 qPrintable(property.key() + QLatin1String(": ") + actual.toString()));
    }

    const QString name = locator.section(QLatin1Char('/'), -1);
    LumexTreeElement* node =
        existingNode(document.tree, name.isEmpty() ? elementPath : elementPath + QStringList{name});
    QVERIFY(node);
    QVERIFY(node->isSchemaCompliant());
    QCOMPARE(node->isAttribute(), feature->isAttribute());
}

void TestSchemaParser::loadsShippedSchemas_data()
{
    QTest::addColumn<QString>("schema");
    QTest::addColumn<QString>("standard");
    QTest::addColumn<QStringList>("categories");

    const QStringList common = {"Sensor", "Timing", "Trigger", "ROI"};
    const QStringList typed = {"Strobe", "TestPattern"};
    QTest::newRow("Camera Link") << "config/Vrm/LUMEX-CL.xsd"
                                 << "CameraLink"
                                 << common + QStringList{"LUT"} + typed +
                                        QStringList{"Serial", "quarnel_regs"};
    QTest::newRow("CoaXPress") << "config/Pld/LUMEX-CXP.xsd"
                               << "CoaXPress"
                               << QStringList{"Link"} + common + QStringList{"Color", "LUT"} + typed +
                                      QStringList{"cxp_regs_before", "cxp_regs_after", "quarnel_regs"};
}

void TestSchemaParser::loadsShippedSchemas()
{
    QFETCH(QString, schema);
    QFETCH(QString, standard);
    QFETCH(QStringList, categories);

    Document document;
    SchemaParser parser(nullptr, &document.tree, nullptr, OrvexTest::sourcePath(schema));
    parser.loadCamera(document.camera());

    QCOMPARE(document.camera()->modeCount(), 1);
    QStringList names;
    for (ModeCategoryElementBase* category : document.modeTemplate()->categories()) {
        names << category->name();
        QCOMPARE(category->elementPath(), s_modePath);
        const bool typed =
            category->name() == QLatin1String("Strobe") || category->name() == QLatin1String("TestPattern");
        QCOMPARE(category->typeName().isEmpty(), !typed);
        QVERIFY(category->featureCount() > 0);
    }
    QCOMPARE(names, categories);
    QCOMPARE(findFeature(document.camera(), "features/standard")->property("fixedValue").toString(),
             standard);
    QCOMPARE(document.camera()->standard(), standard == QLatin1String("CoaXPress") ? 2 : 1);
    QCOMPARE(parser.pathHints().flagsAt(s_modePath + QStringList{"quarnel_regs", "reg", "data"}), 4u);
    QVERIFY(existingNode(document.tree, s_modePath + QStringList{"name"})->isAttribute());
    QVERIFY(existingNode(document.tree, {"quarnel_config", "xsi:noNamespaceSchemaLocation"})->isAttribute());
    QCOMPARE(document.window.pendingMessageCount(), 0);
    QVERIFY(parser.names().isEmpty());
}

void TestSchemaParser::cancelStopsLoading()
{
    Document document;
    ProgressStepper stepper(nullptr, 0, 100);
    stepper.beginStage(QStringLiteral("Reading schema"), 20, 59);
    int steps = 0;
    connect(&stepper, &ProgressStepper::progress, this, [&] {
        if (++steps == 5)
            stepper.cancel();
    });
    SchemaParser parser(nullptr, &document.tree, &stepper, OrvexTest::sourcePath("config/Vrm/LUMEX-CL.xsd"));
    QVERIFY_EXCEPTION_THROWN(parser.loadCamera(document.camera()), OperationCanceledException);
    QCOMPARE(steps, 5);
    QVERIFY(parser.names().isEmpty());
    QVERIFY(document.camera()->globalCategory()->featureCount() < 5);
}

void TestSchemaParser::attachesRegisterHelpers_data()
{
    QTest::addColumn<bool>("withSource");
    QTest::addColumn<QString>("locator");
    QTest::addColumn<QString>("model");
    QTest::addColumn<QStringList>("observers");

    for (const bool withSource : {true, false}) {
        const auto source = [withSource](const char* a_name) {
            return withSource ? QString::fromLatin1(a_name) : QString();
        };
        const QStringList dec2Hex = {"Orvex::Dec2HexValueObserver"};
        const char* suffix = withSource ? "with board" : "without board";
        QTest::addRow("board address %s", suffix)
            << withSource << "quarnel_regs/reg/address" << source("Orvex::QNBrdRegsAddressItemModel")
            << (withSource ? QStringList{"Orvex::QNBrdRegsValueObserver"} : QStringList());
        QTest::addRow("board data %s", suffix)
            << withSource << "quarnel_regs/reg/data" << source("Orvex::QNBrdRegsDataItemModel") << dec2Hex;
        QTest::addRow("camera address %s", suffix)
            << withSource << "cxp_regs_after/reg/address" << QString()
            << dec2Hex + (withSource ? QStringList{"Orvex::QNCxpRegsValueObserver"} : QStringList());
        QTest::addRow("camera data %s", suffix)
            << withSource << "cxp_regs_before/reg/data" << source("Orvex::QNCxpRegsDataItemModel") << dec2Hex;
    }
    QTest::newRow("ordinary string") << true << "features/Manufacturer" << QString() << QStringList();
}

void TestSchemaParser::attachesRegisterHelpers()
{
    QFETCH(bool, withSource);
    QFETCH(QString, locator);
    QFETCH(QString, model);
    QFETCH(QStringList, observers);

    Document document;
    QNBrdDataSource source;
    SchemaParser parser(nullptr, &document.tree, nullptr, OrvexTest::sourcePath("config/Pld/LUMEX-CXP.xsd"));
    if (withSource)
        parser.setBoardDataSource(&source);
    parser.loadCamera(document.camera());

    auto* feature = qobject_cast<StringFeature*>(findFeature(document.camera(), locator));
    QVERIFY(feature);
    QCOMPARE(QString::fromLatin1(
                 feature->completerModel() ? feature->completerModel()->metaObject()->className() : ""),
             model);
    QStringList classes;
    for (ValueFeatureObserverBase* observer : feature->observers())
        classes << QString::fromLatin1(observer->metaObject()->className());
    QCOMPARE(classes, observers);

    // Helpers are made once per parser and outlive it with the camera; the copy in a table's first row
    // has the template's.
    if (auto* table = qobject_cast<FeatureListFeatureBase*>(
            findFeature(document.camera(), locator.section('/', 0, 1)))) {
        auto* copy =
            qobject_cast<StringFeature*>(table->member(0, table->memberTemplates().indexOf(feature)));
        QVERIFY(copy);
        QCOMPARE(copy->completerModel(), feature->completerModel());
        QCOMPARE(copy->observers(), feature->observers());
    }
    QStringList helpers;
    for (QObject* child : document.camera()->children()) {
        if (qobject_cast<ValueFeatureObserverBase*>(child) ||
            qobject_cast<StringFeatureCompleterItemModel*>(child))
            helpers << QString::fromLatin1(child->metaObject()->className());
    }
    QCOMPARE(QSet<QString>(helpers.cbegin(), helpers.cend()).size(), helpers.size());
    if (!model.isEmpty())
        QVERIFY(helpers.contains(model));
    for (const QString& observer : observers)
        QVERIFY(helpers.contains(observer));
}

QTEST_MAIN(TestSchemaParser)
#include "tst_schemaparser.moc"
