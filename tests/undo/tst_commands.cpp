#include "FileFixtures.h"
#include "RecordingDocumentHost.h"
#include "TestSupport.h"
#include "elements/BooleanFeature.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/ElementLocator.h"
#include "elements/FeatureListFeature.h"
#include "elements/FeatureTableFeature.h"
#include "elements/FeatureTableFeatureModel.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/StringFeature.h"
#include "elements/UndoRedoModeClone.h"
#include "elements/UndoRedoModeDelete.h"
#include "elements/UndoRedoModeOrderReinsert.h"
#include "elements/UndoRedoModeOrderSwap.h"
#include "elements/UndoRedoPropertySet.h"
#include "elements/UndoRedoStack.h"
#include "elements/UndoRedoValueFeatureChange.h"
#include "elements/WindowElement.h"
#include "fileio/LumexParser.h"
#include "fileio/SchemaParser.h"
#include "model/LumexTree.h"

#include <QCheckBox>
#include <QDebug>
#include <QLayout>
#include <QLineEdit>
#include <QPointer>
#include <QTest>

#include <algorithm>

using namespace Orvex;

namespace {

// Modes A, B and C, each with the category "Main" holding a feature of each kind and the category "Extra",
// read from tests/undo/data/commands; mode A's pages are shown as the user sees them.
struct Document
{
    Document()
    {
        element = new WindowElement(&window);
        camera = element->camera();
        stack = element->undoRedoStack();
        LumexParser parser(OrvexTest::sourcePath("tests/undo/data/commands/camera.lumex"), &tree, nullptr);
        SchemaParser(nullptr, &tree, nullptr, OrvexTest::sourcePath("tests/undo/data/commands/camera.xsd"))
            .loadCamera(camera);
        parser.parse(camera);
        main = qobject_cast<GenericModeCategory*>(camera->mode(0)->category(0));
        extra = qobject_cast<GenericModeCategory*>(camera->mode(0)->category(1));
        showPages();
    }

    void showPages()
    {
        for (CategoryElementBase* category : {main, extra}) {
            QWidget* page = category->createWidget();
            page->resize(900, 1200);
            page->show();
        }
    }
    template <class T = FeatureTableFeature>
    T* feature(const QString& a_name, const QString& a_mode = "A") const
    {
        return qobject_cast<T*>(camera->modeByName(a_mode)->category(0)->feature(a_name));
    }
    QCheckBox* box(FeatureElementBase* a_feature, const char* a_name = nullptr) const
    {
        auto* own = qobject_cast<QCheckBox*>(a_feature->widget());
        return own ? own : a_feature->widget()->findChild<QCheckBox*>(a_name);
    }
    QSharedPointer<UndoRedoValueFeatureChange> edit(const QString& a_mode, const QString& a_value)
    {
        auto* label = feature<StringFeature>("Label", a_mode);
        const QVariant old = label->value();
        label->setValue(a_value);
        return QSharedPointer<UndoRedoValueFeatureChange>::create(element, label, 0, old, a_value);
    }

    // Before the window, so that the elements go before the tree they were read into.
    LumexTree tree{QString()};
    OrvexTest::RecordingDocumentHost window;
    WindowElement* element = nullptr;
    CameraElement* camera = nullptr;
    UndoRedoStack* stack = nullptr;
    GenericModeCategory* main = nullptr;
    GenericModeCategory* extra = nullptr;
};

// Everything the user can see and the file would hold: the modes in order with the ids of their elements,
// the data of mode A with the ids of its rows' members, and what its widgets show of it.
QStringList state(const Document& a_document)
{
    const Document& d = a_document;
    QStringList lines;
    const auto add = [&lines](const auto&... a_values) {
        lines << QString();
        QDebug debug(&lines.last());
        (debug << ... << a_values);
    };
    for (ModeElement* mode : d.camera->modes()) {
        // A mode read from a file gets its elements when first used.
        mode->categories();
        QList<quint64> ids;
        for (const ElementBase* below : mode->findChildren<ElementBase*>())
            ids << below->id();
        std::sort(ids.begin(), ids.end());
        add(mode->name(), mode->id(), ids);
    }
    for (GenericModeCategory* category : {d.main, d.extra}) {
        add(category->name(), category->categoryFeature()->instanceCount(),
            d.box(category->categoryFeature())->isChecked());
        for (FeatureElementBase* feature : category->features()) {
            add(feature->name(), feature->dataSet());
            auto* list = qobject_cast<FeatureListFeatureBase*>(feature);
            for (size_t instance = 0; list && instance < list->instanceCount(); ++instance)
                add(list->memberIds(instance));
        }
    }
    // The label's rows in layout order, as a row left behind or put in the wrong place shows.
    QLayout* rows = d.feature<StringFeature>("Label")->widget()->layout();
    for (int row = 0; row < int(d.feature<StringFeature>("Label")->instanceCount()); ++row)
        add(rows->itemAt(row)->widget()->findChild<QLineEdit*>()->text());
    add(d.box(d.feature<BooleanFeature>("Flag"))->isChecked(),
        d.box(d.feature<FeatureListFeature>("Group"), "EnableDisableCheckBox")->isChecked());
    FeatureTableFeatureModel* model = d.feature("Table")->model();
    for (int row = 0; row < model->instanceRows(); ++row)
        add(model->index(row, 3).data(), model->index(row, 4).data(Qt::CheckStateRole),
            model->index(row, 2).data());
    return lines;
}

// Makes a change as the user (or, for modes, the camera tree) does and pushes its command. A feature
// change is "<feature> <user call> <arguments>", a list member named "<list>/<instance>/<member>";
// "Extra" is that category's presence, "rebuild" makes the pages anew.
void act(Document& a_document, const QString& a_action)
{
    Document& d = a_document;
    CameraElement* camera = d.camera;
    ModeElement* a = camera->mode(0);
    ModeElement* b = camera->mode(1);
    ModeElement* c = camera->mode(2);
    QSharedPointer<ActionBase> command;
    const QStringList words = a_action.split(' ');
    const QStringList path = words.at(0).split('/');
    FeatureElementBase* feature =
        path.at(0) == "Extra" ? d.extra->categoryFeature() : d.feature<FeatureElementBase>(path.at(0));
    if (path.size() == 3)
        feature =
            qobject_cast<FeatureListFeatureBase*>(feature)->member(path.at(1).toUInt(), path.at(2).toUInt());
    const QString call = words.value(1);
    const size_t index = words.value(2).toUInt();
    if (call == "set") {
        const QVariant value = words.at(3) == "true" ? QVariant(true) : QVariant(words.at(3));
        qobject_cast<ValueFeatureElementBase*>(feature)->userSetValue(index, value);
    } else if (call == "insert") {
        words.size() > 2 ? feature->userInsert(index) : feature->userInsert();
    } else if (call == "remove") {
        feature->userRemove(index);
    } else if (call == "enable") {
        feature->userSetEnabled(index != 0);
    } else if (call == "reinsert") {
        QVector<size_t> rows;
        for (const QString& row : words.mid(3))
            rows << row.toUInt();
        QVERIFY(qobject_cast<FeatureTableFeature*>(feature)->userReinsertRows(rows, index));
    } else if (a_action == "clone") {
        camera->insertMode(1, b->clone());
        command = QSharedPointer<UndoRedoModeClone>::create(d.element, b, 1);
    } else if (a_action == "delete") {
        command = QSharedPointer<UndoRedoModeDelete>::create(d.element, camera->takeMode(1), 1);
    } else if (a_action == "swap") {
        camera->moveMode(0, 2);
        camera->moveMode(1, 0);
        command = QSharedPointer<UndoRedoModeOrderSwap>::create(d.element, a, c);
    } else if (a_action == "to back") {
        camera->moveMode(0, 2);
        command = QSharedPointer<UndoRedoModeOrderReinsert>::create(d.element, a, nullptr, b);
    } else if (a_action == "down") {
        camera->moveMode(0, 1);
        command = QSharedPointer<UndoRedoModeOrderReinsert>::create(d.element, a, c, b);
    } else if (a_action == "to front") {
        camera->moveMode(2, 0);
        command = QSharedPointer<UndoRedoModeOrderReinsert>::create(d.element, c, a, nullptr);
    } else if (a_action == "rename") {
        b->setName("Fast");
        command = QSharedPointer<UndoRedoPropertySet>::create(d.element, b, "name", "B", "Fast");
    } else {
        QFAIL(qPrintable("unknown action " + a_action));
    }
    if (command)
        d.stack->push(command);
    ElementBaseDelayQueue::instance()->flush();
    if (words.last() == "rebuild") {
        // The undo and redo that follow must find the feature without the widgets they were asked from.
        delete d.main->widget();
        d.showPages();
    }
}

// Undoes or redoes a_times steps as the window's actions do; returns the mode shown then ("-" for none).
QString step(Document& a_document, bool a_undo, int a_times)
{
    for (int time = 0; time < a_times; ++time)
        a_undo ? emit a_document.window.undo() : emit a_document.window.redo();
    ElementBaseDelayQueue::instance()->flush();
    ModeElement* current = a_document.camera->currentMode();
    return current ? current->name() : QStringLiteral("-");
}

} // namespace

class TestCommands : public QObject
{
    Q_OBJECT

private slots:
    void undoRedo_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/undo/data/commands-undoredo.txt"),
                                {"shown", "descriptions"});
    }

    // Each change undone and redone: everything comes back exactly, and the document differs from the saved
    // one exactly while it is not in the saved state.
    void undoRedo()
    {
        QFETCH(QByteArray, shown);
        QFETCH(QByteArray, descriptions);

        Document document;
        const QStringList before = state(document);
        for (const QString& change : QString(QTest::currentDataTag()).split(", "))
            act(document, change);
        const QStringList after = state(document);
        QVERIFY(after != before);
        QStringList pushed;
        for (int position = 0; position < document.stack->count(); ++position)
            pushed << document.stack->actionAt(position)->description();
        QCOMPARE(pushed.join(" + "), QString::fromUtf8(descriptions));
        QVERIFY(document.stack->isStateChanged());

        document.window.log.clear();
        const QString undone = step(document, true, pushed.size());
        QCOMPARE(state(document), before);
        QVERIFY(!document.stack->isStateChanged());
        QVERIFY(document.window.log.contains("updateDocumentState"));
        const QString redone = step(document, false, pushed.size());
        QCOMPARE(state(document), after);
        QCOMPARE(undone + ' ' + redone, QString::fromUtf8(shown));
    }

    // Commands find their elements by position from the window element; a position beyond the children there
    // now leads nowhere. Member templates are no place in the document.
    void locator()
    {
        Document d;
        FeatureTableFeature* table = d.feature("Table", "B");
        auto* main = qobject_cast<GenericModeCategory*>(d.camera->mode(1)->category(0));
        QList<ElementLocator> locators;
        for (ElementBase* target : std::initializer_list<ElementBase*>{
                 d.element, d.camera, d.camera->globalCategory()->features().first(), d.camera->mode(2), main,
                 main->categoryFeature(), table, table->member(2, 0)}) {
            locators << ElementLocator::locate(d.element, target);
            QCOMPARE(locators.last().resolve(d.element), target);
        }
        QVERIFY(!ElementLocator::locate(d.element, table->memberTemplates().first()).isValid());

        table->removeInstance(2);
        delete d.camera->takeMode(2);
        QString found;
        for (const ElementLocator& locator : locators)
            found += locator.resolve(d.element) ? '+' : '-';
        QCOMPARE(found, "+++-+++-");
    }

    // A deleted mode belongs to its command until the command goes, trimmed from the history or discarded
    // once undone; only then may the mode go with it.
    void deletedModeOwnership()
    {
        for (const bool undone : {false, true}) {
            Document document;
            QPointer<ModeElement> mode = document.camera->mode(1);
            const quint64 id = mode->id();
            act(document, "delete");
            auto* command = qobject_cast<UndoRedoModeDelete*>(document.stack->actionAt(0).data());
            QCOMPARE(command->keptMode(), mode.data());
            QCOMPARE(mode->parent(), command);
            QCOMPARE(ElementBase::findById(id), nullptr);
            if (undone) {
                document.stack->unapply();
                QCOMPARE(command->keptMode(), nullptr);
                document.stack->push(document.edit("A", "x"));
            } else {
                document.stack->setMaxDepth(0);
            }
            QCOMPARE(document.stack->count(), int(undone));
            QCOMPARE(mode.isNull(), !undone);
            QCOMPARE(ElementBase::findById(id), mode.data());
        }
    }

    // A command that cannot find its element (its root destroyed, its feature or its clone gone) fails and
    // stays applied, so the stack stops there.
    void failure()
    {
        for (const QString cause : {"root", "feature", "clone"}) {
            Document document;
            QScopedPointer<Document> other(new Document);
            QSharedPointer<ActionBase> command;
            if (cause == "clone") {
                document.camera->appendMode(document.camera->mode(2)->clone());
                command =
                    QSharedPointer<UndoRedoModeClone>::create(document.element, document.camera->mode(2), 3);
                delete document.camera->mode(3);
            } else {
                command = (cause == "root" ? *other : document).edit("C", "lost");
                cause == "root" ? other.reset() : delete document.camera->mode(2);
            }
            QVERIFY2(command->unapply() == ActionBase::Failed && command->isApplied(), qPrintable(cause));
        }
    }
};

QTEST_MAIN(TestCommands)
#include "tst_commands.moc"
