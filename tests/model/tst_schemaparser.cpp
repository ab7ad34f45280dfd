#include "BoardFixtures.h"
#include "ElementFixtures.h"
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
#include <QSet>
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

LumexTreeElement* existingNode(LumexTree& a_tree, const QStringList& a_path)
{
    LumexTreeElement* node = a_tree.root();
    for (int at = 0; node && at < a_path.size(); ++at)
        node = node->childByName(a_path[at]);
    return node;
}

const QStringList s_modePath = {"quarnel_config", "camera", "modes", "mode"};

// What the schema may set on a feature; the ones a feature has are listed with it.
const char* const s_properties[] = {"annotation",        "defaultValue",    "fixedValue",
                                    "stringValue",       "enumValue",       "representationType",
                                    "minimumValue",      "maximumValue",    "fractionDigits",
                                    "hasFractionDigits", "stringLengthMax", "stringPattern"};

// The completer model and the observers of a value feature.
QList<QObject*> helperObjects(FeatureElementBase* a_feature)
{
    QList<QObject*> helpers;
    if (auto* string = qobject_cast<StringFeature*>(a_feature); string && string->completerModel())
        helpers << string->completerModel();
    if (auto* value = qobject_cast<ValueFeatureElementBase*>(a_feature)) {
        for (ValueFeatureObserverBase* observer : value->observers())
            helpers << observer;
    }
    return helpers;
}

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
        const char* separator = " helpers=";
        for (QObject* helper : helperObjects(a_feature)) {
            line += QLatin1String(separator) + helper->metaObject()->className();
            separator = ",";
        }
        lines << line;
        if (auto* list = qobject_cast<FeatureListFeatureBase*>(a_feature)) {
            for (FeatureElementBase* member : list->memberTemplates())
                add(member, a_depth + 1);
            // The copies in a first row share the helpers of their templates.
            for (size_t member = 0; list->instanceCount() > 0 && member < list->memberCount(); ++member) {
                if (helperObjects(list->member(0, member)) !=
                    helperObjects(list->memberTemplates()[int(member)]))
                    lines << QStringLiteral("first row of %1 has helpers of its own").arg(list->name());
            }
        }
    };
    QVector<CategoryElementBase*> categories{a_document.camera()->globalCategory()};
    for (ModeCategoryElementBase* category : a_document.modeTemplate()->categories())
        categories << category;
    for (CategoryElementBase* category : categories) {
        auto* modeCategory = qobject_cast<ModeCategoryElementBase*>(category);
        lines << category->name() + QLatin1Char(' ') + category->elementPath().join('>') +
                     (modeCategory && !modeCategory->typeName().isEmpty()
                          ? QStringLiteral(" type=") + modeCategory->typeName()
                          : QString());
        for (FeatureElementBase* feature : category->features())
            add(feature, 1);
    }
    lines << QStringLiteral("standard %1, messages %2")
                 .arg(a_document.camera()->standard())
                 .arg(a_document.window.pendingMessageCount());
    return lines;
}

} // namespace

class TestSchemaParser : public QObject
{
    Q_OBJECT

private slots:
    void rejectsSchema_data();
    void rejectsSchema();
    void buildsFeatures_data();
    void buildsFeatures();
    void cancelStopsLoading();
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

void TestSchemaParser::buildsFeatures_data()
{
    OrvexTest::addTableRows(QStringLiteral("tests/model/data/schema/features/rows.txt"),
                            {"schema", "board", "expected"});
}

// The camera a schema gives, compared as one listing with the golden file of its row.
void TestSchemaParser::buildsFeatures()
{
    Document document;
    QNBrdDataSource source;
    SchemaParser parser(nullptr, &document.tree, nullptr, OrvexTest::sourcePath(OrvexTest::field("schema")));
    if (OrvexTest::field("board") == "1")
        parser.setBoardDataSource(&source);
    parser.loadCamera(document.camera());
    QCOMPARE(dump(document),
             OrvexTest::goldenLines("tests/model/data/schema/features/" + OrvexTest::field("expected")));
    QVERIFY(parser.names().isEmpty());

    // Helpers are made once per parser and outlive it with the camera.
    QStringList helpers;
    for (QObject* child : document.camera()->children()) {
        if (qobject_cast<ValueFeatureObserverBase*>(child) ||
            qobject_cast<StringFeatureCompleterItemModel*>(child))
            helpers << QString::fromLatin1(child->metaObject()->className());
    }
    QCOMPARE(QSet<QString>(helpers.cbegin(), helpers.cend()).size(), helpers.size());
    if (OrvexTest::field("schema").startsWith("config/")) {
        QCOMPARE(parser.pathHints().flagsAt(s_modePath + QStringList{"quarnel_regs", "reg", "data"}), 4u);
        QVERIFY(existingNode(document.tree, s_modePath + QStringList{"name"})->isAttribute());
        QVERIFY(
            existingNode(document.tree, {"quarnel_config", "xsi:noNamespaceSchemaLocation"})->isAttribute());
    }
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

QTEST_MAIN(TestSchemaParser)
#include "tst_schemaparser.moc"
