#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "TestSupport.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeCategoryElementBase.h"
#include "elements/ModeElement.h"
#include "elements/UndoRedoStack.h"
#include "elements/ValueFeatureElementBase.h"
#include "elements/WindowElement.h"
#include "fileio/LumexPrinter.h"
#include "model/OperationCanceledException.h"
#include "platform/LumexSource.h"
#include "widgets/ProgressStepper.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace Orvex;
using OrvexTest::addTableRows;
using OrvexTest::CameraDocument;
using OrvexTest::field;
using OrvexTest::fileBytes;
using OrvexTest::writtenFile;

namespace {

const QString s_schema = OrvexTest::sourcePath(QStringLiteral("tests/model/data/schema/camera.xsd"));

QByteArray baseFile()
{
    return fileBytes(OrvexTest::sourcePath(QStringLiteral("tests/model/data/schema/camera.lumex")));
}

// A feature element of a kind the camera file format does not know.
class OddFeature : public FeatureElementBase
{
public:
    using FeatureElementBase::FeatureElementBase;
    QVariant dataSet() const override { return QVariant(); }
    void setDataSet(const QVariant&) override {}
    void highlight(size_t) override {}

protected:
    void insertInstanceValue(size_t) override {}
    void removeInstanceValue(size_t) override {}
    void moveInstanceValue(size_t, size_t) override {}
};

// The feature an edit names: "Feature" among the global ones, "Mode:Category/Feature" in a mode, a
// member of a list instance as "List@instance/Member"; a mode category alone names its presence.
FeatureElementBase* featureAt(CameraDocument& a_document, const QString& a_where, size_t& a_instance)
{
    const int colon = a_where.indexOf(QLatin1Char(':'));
    QStringList steps = a_where.mid(colon + 1).split(QLatin1Char('/'));
    CategoryElementBase* category = a_document.camera()->globalCategory();
    if (colon >= 0) {
        ModeElement* mode = a_document.camera()->modeByName(a_where.left(colon));
        category = nullptr;
        for (ModeCategoryElementBase* candidate :
             mode ? mode->categories() : QVector<ModeCategoryElementBase*>()) {
            if (candidate->name() == steps.first())
                category = candidate;
        }
        steps.removeFirst();
        if (steps.isEmpty())
            return qobject_cast<GenericModeCategory*>(category)
                       ? qobject_cast<GenericModeCategory*>(category)->categoryFeature()
                       : nullptr;
    }
    FeatureElementBase* feature = nullptr;
    for (const QString& step : qAsConst(steps)) {
        const QString name = step.section(QLatin1Char('@'), 0, 0);
        const auto* list = qobject_cast<FeatureListFeatureBase*>(feature);
        feature = nullptr;
        if (!list && category)
            feature = category->feature(name);
        for (FeatureElementBase* member :
             list ? list->instanceMembers(a_instance) : QVector<FeatureElementBase*>()) {
            if (member->name() == name)
                feature = member;
        }
        a_instance = step.section(QLatin1Char('@'), 1).toULong();
        category = nullptr;
    }
    return feature;
}

// One line of an edit file: a verb, what it acts on and its argument, as the editor's commands do them.
bool applyEdit(CameraDocument& a_document, const QString& a_line)
{
    const QString verb = a_line.section(QLatin1Char(' '), 0, 0);
    const QString where = a_line.section(QLatin1Char(' '), 1, 1);
    const QString argument = a_line.section(QLatin1Char(' '), 2);
    CameraElement* camera = a_document.camera();
    if (verb == QLatin1String("undo-all")) {
        UndoRedoStack* history = a_document.window.undoRedoStack();
        const bool recorded = history->index() > 0;
        while (history->index() > 0)
            history->unapply();
        return recorded;
    }
    ModeElement* mode = camera->modeByName(where);
    if (verb == QLatin1String("clone")) {
        ModeElement* copy = mode->clone();
        copy->setName(argument);
        return camera->insertMode(camera->indexOfMode(mode) + 1, copy) >= 0;
    }
    if (verb == QLatin1String("delete")) {
        delete camera->takeMode(camera->indexOfMode(mode));
        return true;
    }
    if (verb == QLatin1String("rename")) {
        mode->setName(argument);
        return true;
    }
    if (verb == QLatin1String("move"))
        return camera->moveMode(camera->indexOfMode(mode), argument.toInt());
    size_t instance = 0;
    FeatureElementBase* feature = featureAt(a_document, where, instance);
    if (!feature)
        return false;
    if (verb == QLatin1String("enable") || verb == QLatin1String("disable")) {
        feature->setEnabled(verb == QLatin1String("enable"));
        return true;
    }
    // As the user does it: recorded in the history.
    if (verb == QLatin1String("user-insert") || verb == QLatin1String("user-remove")) {
        if (verb.endsWith(QLatin1String("insert")))
            feature->userInsert(argument.toULong());
        else
            feature->userRemove(argument.toULong());
        return true;
    }
    auto* value = qobject_cast<ValueFeatureElementBase*>(feature);
    if (verb == QLatin1String("user-set") && value) {
        value->userSetValue(instance, value->valueFromText(argument));
        return value->valueText(instance) == argument;
    }
    if (verb == QLatin1String("insert"))
        return feature->insertInstance(argument.toULong());
    if (verb == QLatin1String("remove"))
        return feature->removeInstance(argument.toULong());
    return verb == QLatin1String("set") && value && value->setValueFromText(instance, argument);
}

} // namespace

class TestLumexPrinter : public QObject
{
    Q_OBJECT

private slots:
    void roundTrip_data() { OrvexTest::addFolderRows(QStringLiteral("tests/model/data/roundtrip")); }

    void roundTrip()
    {
        QFETCH(QString, folder);
        QTemporaryDir dir;
        const QString input = QDir(folder).filePath(QStringLiteral("input.lumex"));
        const QString written = dir.filePath(QStringLiteral("written.lumex"));

        // Saved as loaded, the modes not built yet, and again once every mode is built.
        CameraDocument document;
        document.load(input);
        for (const bool build : {false, true}) {
            for (const ModeElement* mode : build ? document.camera()->modes() : QVector<ModeElement*>())
                mode->categories();
            QVERIFY(document.save(written));
            QCOMPARE(fileBytes(written).split('\n'),
                     fileBytes(QDir(folder).filePath(QStringLiteral("expected.lumex"))).split('\n'));
        }

        QString output;
        QVERIFY2(OrvexTest::runXmllint(written, QString(), &output) == 0, qPrintable(output));
        if (OrvexTest::runXmllint(input, document.schema) == 0)
            QVERIFY2(OrvexTest::runXmllint(written, document.schema, &output) == 0, qPrintable(output));
        // Without the extra data, what is left is the schema's content alone, and valid.
        const QString schemaOnly = dir.filePath(QStringLiteral("schema-only.lumex"));
        QVERIFY(document.save(schemaOnly, false));
        QVERIFY2(OrvexTest::runXmllint(schemaOnly, document.schema, &output) == 0, qPrintable(output));

        CameraDocument reread;
        reread.load(written);
        const QString rewritten = dir.filePath(QStringLiteral("rewritten.lumex"));
        QVERIFY(reread.save(rewritten));
        QCOMPARE(fileBytes(rewritten).split('\n'), fileBytes(written).split('\n'));
    }

    // Saving writes into the file's own text: a folder per case holds the file, the edits made to it
    // (edit.txt) and the file as saved after them.
    void keepsLayout_data() { OrvexTest::addFolderRows(QStringLiteral("tests/model/data/layout")); }

    void keepsLayout()
    {
        QFETCH(QString, folder);
        const QDir data(folder);
        const QString input = data.filePath(QStringLiteral("input.lumex"));
        CameraDocument document;
        document.load(input);
        document.tree.setSource(Lumex::LumexSource::read(fileBytes(input)));
        for (const QByteArray& line : fileBytes(data.filePath(QStringLiteral("edit.txt"))).split('\n')) {
            if (!line.trimmed().isEmpty() && !line.startsWith('#'))
                QVERIFY2(applyEdit(document, QString::fromUtf8(line.trimmed())), line.constData());
        }
        QTemporaryDir dir;
        const QString written = dir.filePath(QStringLiteral("written.lumex"));
        QVERIFY(document.save(written));
        QCOMPARE(fileBytes(written).split('\n'),
                 fileBytes(data.filePath(QStringLiteral("expected.lumex"))).split('\n'));
        QString output;
        if (OrvexTest::runXmllint(input, document.schema) == 0)
            QVERIFY2(OrvexTest::runXmllint(written, document.schema, &output) == 0, qPrintable(output));
    }

    // Content the schema does not know stays with its table row when rows are removed or moved.
    void keptContentFollowsItsRow_data()
    {
        addTableRows(QStringLiteral("tests/model/data/printer/kept-rows.txt"), {"from", "to", "rows"});
    }

    void keptContentFollowsItsRow()
    {
        const int from = field("from").toInt();
        const int to = field("to").toInt();

        QTemporaryDir dir;
        const QString input = writtenFile(
            dir.filePath(QStringLiteral("in.lumex")),
            baseFile().replace("</timing>", "</timing><regs><reg><address>0x10</address><data>1</data></reg>"
                                            "<reg><!-- second --><address>0x14</address><data>2</data></reg>"
                                            "</regs>"));
        QCOMPARE(OrvexTest::runXmllint(input, s_schema), 0);
        CameraDocument document;
        document.load(input, s_schema);
        FeatureElementBase* table = nullptr;
        for (ModeCategoryElementBase* category : document.camera()->mode(0)->categories()) {
            if (category->name() == QLatin1String("regs"))
                table = category->feature(QStringLiteral("reg"));
        }
        QVERIFY(table);
        QVERIFY(to < 0 ? table->removeInstance(size_t(from)) : table->moveInstance(size_t(from), size_t(to)));

        const QString written = dir.filePath(QStringLiteral("out.lumex"));
        QVERIFY(document.save(written));
        QString output;
        QVERIFY2(OrvexTest::runXmllint(written, s_schema, &output) == 0, qPrintable(output));
        const QByteArray text = fileBytes(written);
        const int start = text.indexOf("<regs>") + 6;
        QCOMPARE(text.mid(start, text.indexOf("</regs>") - start).simplified().replace("> <", "><"),
                 field("rows"));
    }

    void keepsValueTexts_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/model/data/printer/value-texts.txt"),
                                {"feature", "fileText", "edit", "written"});
    }

    void keepsValueTexts()
    {
        QFETCH(QByteArray, feature);
        QFETCH(QByteArray, fileText);
        QFETCH(QByteArray, edit);
        QFETCH(QByteArray, written);

        QTemporaryDir dir;
        CameraDocument document;
        const QByteArray element = '<' + feature + '>' + fileText + "</" + feature + '>';
        document.load(writtenFile(dir.filePath(QStringLiteral("in.lumex")),
                                  baseFile().replace("</features>", element + "</features>")),
                      s_schema);
        auto* value = qobject_cast<ValueFeatureElementBase*>(document.global(feature));
        if (!edit.isEmpty()) {
            QVariant typed = QString::fromLatin1(edit);
            QVERIFY(typed.convert(value->value().userType()));
            value->setValue(value->instanceCount() - 1, typed);
        }
        const QString output = dir.filePath(QStringLiteral("out.lumex"));
        QVERIFY(document.save(output));

        Lumex::CamFile file;
        QVERIFY(file.load(QFile::encodeName(output), 0));
        const Lumex::ConstCamProperty features = file.root()["camera"]["features"];
        QCOMPARE(QByteArray(features.child(feature, features.count(feature) - 1).get()), written);
    }

    // A value that repeats inside a mode is written back instance by instance: from the mode's node
    // while the mode is not built, from its feature once it is, with and without the extra data.
    void keepsRepeatedValuesOfModes()
    {
        QTemporaryDir dir;
        const QString schema =
            writtenFile(dir.filePath(QStringLiteral("camera.xsd")),
                        fileBytes(s_schema).replace(
                            "<xs:element name=\"exposure\" type=\"xs:int\"/>",
                            "<xs:element name=\"exposure\" type=\"xs:int\"/>"
                            "<xs:element name=\"marker\" type=\"xs:int\" minOccurs=\"0\" maxOccurs=\"3\"/>"));
        const QString input = writtenFile(
            dir.filePath(QStringLiteral("in.lumex")),
            baseFile().replace("</exposure>",
                               "</exposure><marker>7</marker><marker>8</marker><marker>9</marker>"));
        CameraDocument document;
        document.load(input, schema);
        const QString output = dir.filePath(QStringLiteral("out.lumex"));
        for (const bool build : {false, true}) {
            for (const ModeElement* mode : build ? document.camera()->modes() : QVector<ModeElement*>())
                mode->categories();
            for (const bool extraData : {true, false}) {
                QVERIFY(document.save(output, extraData));
                QByteArrayList markers;
                for (const QByteArray& part : fileBytes(output).split('<')) {
                    if (part.startsWith("marker>"))
                        markers << part.mid(7);
                }
                QCOMPARE(markers, QByteArrayList({"7", "8", "9"}));
                // Without the extra data the camera is named by the attribute the shipped schemas
                // require, which this one does not declare.
                QString problems;
                if (extraData)
                    QVERIFY2(OrvexTest::runXmllint(output, schema, &problems) == 0, qPrintable(problems));
            }
        }
    }

    void rejectsCamera_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/model/data/printer/refusals.txt"),
                                {"changeBytes", "kind", "function", "message"});
    }

    void rejectsCamera()
    {
        QFETCH(QByteArray, changeBytes);
        QFETCH(QByteArray, kind);
        QFETCH(QByteArray, function);
        QFETCH(QByteArray, message);
        const QString change = QString::fromUtf8(changeBytes);

        CameraDocument document;
        document.load(OrvexTest::sourcePath(QStringLiteral("tests/model/data/schema/camera.lumex")),
                      s_schema);
        CameraGlobalCategory* global = document.camera()->globalCategory();
        const QString target = change.section(QLatin1Char('='), 0, 0);
        const QStringList value = change.section(QLatin1Char('='), 1).split(QLatin1Char(','));
        LumexPrinter printer(nullptr, &document.tree);
        printer.setSchemaPaths(document.schema, QString());
        if (target == QLatin1String("schemas")) {
            printer.setSchemaPaths(QString(), QString());
        } else if (target == QLatin1String("mode")) {
            document.camera()->mode(0)->setName(QStringLiteral("A<&"));
            document.camera()->mode(0)->setElementPath(value);
        } else if (target == QLatin1String("features")) {
            global->setElementPath(value);
        } else if (change == QLatin1String("Note=")) {
            global->feature(target)->setName(QString());
        } else if (target == QLatin1String("odd")) {
            auto* odd = new OddFeature(global);
            odd->setName(QStringLiteral("Odd"));
            odd->setElementPath(global->elementPath());
            global->addFeature(odd);
        } else {
            global->feature(target)->setElementPath(value);
        }
        QCOMPARE(OrvexTest::thrownText([&] { printer.print(document.camera()); }),
                 QStringLiteral("%1 thrown from Orvex::LumexPrinter::%2 in LumexPrinter.cpp[]: %3")
                     .arg(QString::fromUtf8(kind), QString::fromUtf8(function), QString::fromUtf8(message)));
    }

    void failedSaveKeepsFile_data()
    {
        addTableRows(QStringLiteral("tests/model/data/printer/failed-saves.txt"),
                     {"target", "readOnlyFolder", "error"});
    }

    void failedSaveKeepsFile()
    {
        const bool readOnlyFolder = field("readOnlyFolder") == "1";
        const QString error = field("error");

        if (readOnlyFolder && geteuid() == 0)
            QSKIP("Folder permissions do not bind the superuser.");
        QTemporaryDir dir;
        CameraDocument document;
        document.load(OrvexTest::sourcePath(QStringLiteral("examples/Example_CXP.lumex")));
        const QString path = dir.filePath(field("target"));
        const QByteArray previous = fileBytes(writtenFile(path, "previous"));
        if (readOnlyFolder)
            QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner));

        QTest::ignoreMessage(
            QtDebugMsg, QRegularExpression(QStringLiteral("^\\[LumexPrinter::save@\\d+\\] Camera file write "
                                                          "error: ") +
                                           QRegularExpression::escape(error) + QLatin1Char('$')));
        const bool saved = document.save(path);
        QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QVERIFY(!saved);
        QCOMPARE(fileBytes(path), previous);
        QCOMPARE(QDir(QFileInfo(path).absolutePath()).entryList(QDir::Files | QDir::Hidden).size(),
                 int(!previous.isEmpty()));
    }

    void cancelledPrintStops()
    {
        CameraDocument document;
        document.load(OrvexTest::sourcePath(QStringLiteral("examples/Example_CXP.lumex")));
        ProgressStepper stepper(nullptr, 0, 100);
        stepper.cancel();
        LumexPrinter printer(&stepper, &document.tree);
        printer.setSchemaPaths(document.schema, QString());
        QVERIFY_EXCEPTION_THROWN(printer.print(document.camera()), OperationCanceledException);
    }
};

QTEST_MAIN(TestLumexPrinter)
#include "tst_lumexprinter.moc"
