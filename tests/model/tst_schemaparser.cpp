#include "FileFixtures.h"
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

#include <QDir>
#include <QTest>

#include <functional>
#include <memory>

using namespace Orvex;

namespace {

// One document being opened: a window element with its camera and a document tree.
struct Document
{
    WindowElement window{nullptr};
    LumexTree tree{QStringLiteral("camera.lumex")};

    CameraElement* camera() { return window.camera(); }
    ModeElement* modeTemplate() { return camera()->mode(0); }
};

// "features/Name" for a global feature, "Category/Name" for a mode feature, more names for the member
// templates of lists.
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

// What the schema may set on a feature; the ones a feature has are listed with it.
const char* const s_properties[] = {"annotation",        "defaultValue",    "fixedValue",
                                    "stringValue",       "enumValue",       "representationType",
                                    "minimumValue",      "maximumValue",    "fractionDigits",
                                    "hasFractionDigits", "stringLengthMax", "stringPattern"};

// One line per category and feature of the camera, list members below their list: class, element
// path, occurrences, the properties and whether the document tree holds a node of the schema for it.
QStringList dump(Document& a_document)
{
    QStringList lines;
    std::function<void(FeatureElementBase*, int)> add = [&](FeatureElementBase* a_feature, int a_depth) {
        const QStringList path = a_feature->elementPath();
        const LumexTreeElement* node = existingNode(
            a_document.tree, a_feature->name().isEmpty() ? path : path + QStringList{a_feature->name()});
        QString line =
            QStringLiteral("%1%2 %3 %4 %5..%6%7 node:%8")
                .arg(QString(a_depth * 2, QLatin1Char(' ')), a_feature->name(),
                     QString::fromLatin1(a_feature->metaObject()->className()), path.join('>'))
                .arg(a_feature->minOccurs())
                .arg(a_feature->maxOccurs() == FeatureElementBase::Unbounded
                         ? QStringLiteral("unbounded")
                         : QString::number(a_feature->maxOccurs()),
                     a_feature->isAttribute() ? QStringLiteral(" attribute") : QString(),
                     !node                                             ? QStringLiteral("none")
                     : node->isAttribute() != a_feature->isAttribute() ? QStringLiteral("other kind")
                     : node->isSchemaCompliant()                       ? QStringLiteral("schema")
                                                                       : QStringLiteral("unknown"));
        for (const char* name : s_properties) {
            const QVariant value = a_feature->property(name);
            // Bounds the schema did not set are the type's, not the schema's.
            const bool implicitBound =
                (qstrcmp(name, "minimumValue") == 0 && !a_feature->property("hasExplicitMinimum").toBool()) ||
                (qstrcmp(name, "maximumValue") == 0 && !a_feature->property("hasExplicitMaximum").toBool());
            if (a_feature->metaObject()->indexOfProperty(name) >= 0 && !implicitBound)
                line += QStringLiteral(" %1=%2").arg(
                    QLatin1String(name), value.userType() == QMetaType::QRegExp ? value.toRegExp().pattern()
                                         : value.isNull()                       ? QStringLiteral("null")
                                                                                : value.toString());
        }
        lines << line;
        if (auto* list = qobject_cast<FeatureListFeatureBase*>(a_feature)) {
            for (FeatureElementBase* member : list->memberTemplates())
                add(member, a_depth + 1);
        }
    };
    QVector<CategoryElementBase*> categories{a_document.camera()->globalCategory()};
    for (ModeCategoryElementBase* category : a_document.modeTemplate()->categories())
        categories << category;
    for (CategoryElementBase* category : categories) {
        lines << category->name() + QLatin1Char(' ') + category->elementPath().join('>');
        for (FeatureElementBase* feature : category->features())
            add(feature, 1);
    }
    lines << QStringLiteral("messages: %1").arg(a_document.window.pendingMessageCount());
    return lines;
}

} // namespace

class TestSchemaParser : public QObject
{
    Q_OBJECT

private slots:
    void rejectsSchema_data();
    void rejectsSchema();
    void buildsFeatures();
    void loadsShippedSchemas_data();
    void loadsShippedSchemas();
    void cancelStopsLoading();
    void attachesRegisterHelpers_data();
    void attachesRegisterHelpers();
};

void TestSchemaParser::rejectsSchema_data()
{
    OrvexTest::addFolderRows(QStringLiteral("tests/model/data/schema/rejected"));
}

// Each folder holds the schema and the refusal expected; a refused schema leaves no names behind.
void TestSchemaParser::rejectsSchema()
{
    QFETCH(QString, folder);
    const QString schema = QDir(folder).filePath(QStringLiteral("schema.xsd"));
    QString expected =
        QString::fromUtf8(OrvexTest::fileBytes(QDir(folder).filePath(QStringLiteral("expected.txt"))))
            .trimmed();
    if (expected.contains(QLatin1String("{diagnostics}"))) {
        Lumex::CamFile file;
        expected.replace(QLatin1String("{diagnostics}"),
                         LumexDiagnostics::toHtml(file.load(QFile::encodeName(schema), 0)));
    }
    Document document;
    std::unique_ptr<SchemaParser> parser;
    QCOMPARE(OrvexTest::thrownText([&] {
                 parser = std::make_unique<SchemaParser>(nullptr, &document.tree, nullptr, schema);
                 parser->loadCamera(document.camera());
             }),
             expected);
    QVERIFY(!parser || parser->names().isEmpty());
}

// Every kind of feature the schema can declare, compared as one listing: a duplicate enumeration entry
// warns, and attributes of no "use" are required.
void TestSchemaParser::buildsFeatures()
{
    const QDir folder(OrvexTest::sourcePath(QStringLiteral("tests/model/data/schema/features")));
    Document document;
    SchemaParser parser(nullptr, &document.tree, nullptr, folder.filePath(QStringLiteral("schema.xsd")));
    parser.loadCamera(document.camera());
    const QStringList expected =
        QString::fromUtf8(OrvexTest::fileBytes(folder.filePath(QStringLiteral("expected.txt"))))
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QStringList actual = dump(document);
    for (int line = 0; line < qMax(actual.size(), expected.size()); ++line)
        QCOMPARE(actual.value(line), expected.value(line));
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
