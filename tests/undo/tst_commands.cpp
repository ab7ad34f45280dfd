#include "../elements/TestMainWindow.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/ElementLocator.h"
#include "elements/FeatureTableFeature.h"
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

#include <QHash>
#include <QPointer>
#include <QSharedPointer>
#include <QTest>

using namespace Orvex;

namespace {

// Modes A, B, C, each with the category "Main" holding the string "Name" and the table "Rows" of three
// rows with the member "Key"; the global category holds "standard".
struct Document
{
    Document()
    {
        element = new WindowElement(&window);
        camera = element->camera();
        auto* standard = new StringFeature(camera->globalCategory());
        camera->globalCategory()->addFeature(standard);
        for (const char* name : {"A", "B", "C"}) {
            auto* mode = new ModeElement(camera);
            mode->setName(name);
            auto* category = new GenericModeCategory(mode);
            category->setName("Main");
            mode->appendCategory(category);
            auto* text = new StringFeature(category);
            text->setName("Name");
            category->addFeature(text);
            auto* rows = new FeatureTableFeature(category);
            rows->setName("Rows");
            rows->setMaxOccurs(5);
            auto* key = new StringFeature(rows);
            key->setName("Key");
            rows->addMember(key);
            rows->setDataSet(QVariantList{QVariantList{}, QVariantList{}, QVariantList{}});
            category->addFeature(rows);
            camera->appendMode(mode);
        }
    }

    ModeElement* mode(const QString& a_name) const { return camera->modeByName(a_name); }
    StringFeature* text(const QString& a_mode) const
    {
        return qobject_cast<StringFeature*>(mode(a_mode)->category(0)->feature("Name"));
    }
    FeatureTableFeature* rows(const QString& a_mode) const
    {
        return qobject_cast<FeatureTableFeature*>(mode(a_mode)->category(0)->feature("Rows"));
    }
    QString order() const
    {
        QStringList names;
        for (const ModeElement* each : camera->modes())
            names << each->name();
        return names.join(',');
    }
    // Every mode with the ids of all elements in it.
    QStringList ids() const
    {
        QStringList lines;
        for (ModeElement* each : camera->modes()) {
            QString line = each->name() + ' ' + QString::number(each->id());
            for (const ElementBase* below : each->findChildren<ElementBase*>())
                line += ' ' + QString::number(below->id());
            lines << line;
        }
        return lines;
    }
    QSharedPointer<UndoRedoValueFeatureChange> edit(const QString& a_mode, const QString& a_value)
    {
        StringFeature* feature = text(a_mode);
        const QVariant old = feature->value();
        feature->setValue(a_value);
        return QSharedPointer<UndoRedoValueFeatureChange>::create(element, feature, 0, old, a_value);
    }

    TestMainWindow window;
    WindowElement* element = nullptr;
    CameraElement* camera = nullptr;
};

// Makes the change of a mode command as the camera tree would and pushes the command for it.
void change(Document& a_document, const QString& a_change)
{
    CameraElement* camera = a_document.camera;
    ModeElement* a = a_document.mode("A");
    ModeElement* b = a_document.mode("B");
    ModeElement* c = a_document.mode("C");
    QSharedPointer<ActionBase> command;
    if (a_change == "clone") {
        camera->insertMode(1, b->clone());
        command = QSharedPointer<UndoRedoModeClone>::create(a_document.element, b, 1);
    } else if (a_change == "delete") {
        command = QSharedPointer<UndoRedoModeDelete>::create(a_document.element, camera->takeMode(1), 1);
    } else if (a_change == "swap") {
        camera->moveMode(0, 2);
        camera->moveMode(1, 0);
        command = QSharedPointer<UndoRedoModeOrderSwap>::create(a_document.element, a, c);
    } else if (a_change == "to back") {
        camera->moveMode(0, 2);
        command = QSharedPointer<UndoRedoModeOrderReinsert>::create(a_document.element, a, nullptr, b);
    } else if (a_change == "to front") {
        camera->moveMode(2, 0);
        command = QSharedPointer<UndoRedoModeOrderReinsert>::create(a_document.element, c, a, nullptr);
    } else if (a_change == "rename") {
        b->setName("Fast");
        command = QSharedPointer<UndoRedoPropertySet>::create(a_document.element, b, "name", "B", "Fast");
    }
    QVERIFY(command);
    a_document.element->undoRedoStack()->push(command);
}

QString shownMode(Document& a_document, bool a_undo)
{
    a_undo ? a_document.element->undoRedoStack()->unapply() : a_document.element->undoRedoStack()->reapply();
    ElementBaseDelayQueue::instance()->flush();
    ModeElement* current = a_document.camera->currentMode();
    return current ? current->name() : QString();
}

} // namespace

class TestCommands : public QObject
{
    Q_OBJECT

private slots:
    void locator_data();
    void locator();
    void modeCommands_data();
    void modeCommands();
    void deletedModeOwnership_data();
    void deletedModeOwnership();
    void failure_data();
    void failure();
};

void TestCommands::locator_data()
{
    QTest::addColumn<QString>("element");
    QTest::addColumn<QVector<int>>("steps");
    QTest::addColumn<bool>("valid");

    const int special = ElementLocator::SpecialChild;
    QTest::newRow("window") << "window" << QVector<int>{} << true;
    QTest::newRow("camera") << "camera" << QVector<int>{0} << true;
    QTest::newRow("global feature") << "global feature" << QVector<int>{0, special, 0} << true;
    QTest::newRow("mode") << "mode" << QVector<int>{0, 2} << true;
    QTest::newRow("category") << "category" << QVector<int>{0, 1, 0} << true;
    QTest::newRow("category feature") << "category feature" << QVector<int>{0, 1, 0, special} << true;
    QTest::newRow("feature") << "feature" << QVector<int>{0, 1, 0, 1} << true;
    QTest::newRow("member of a row") << "member" << QVector<int>{0, 1, 0, 1, 2, 0} << true;
    QTest::newRow("member template") << "member template" << QVector<int>{} << false;
}

void TestCommands::locator()
{
    QFETCH(QString, element);
    QFETCH(QVector<int>, steps);
    QFETCH(bool, valid);

    Document document;
    auto* main = qobject_cast<GenericModeCategory*>(document.mode("B")->category(0));
    ElementBase* target =
        QHash<QString, ElementBase*>{
            {"window", document.element},
            {"camera", document.camera},
            {"global feature", document.camera->globalCategory()->features().first()},
            {"mode", document.mode("C")},
            {"category", main},
            {"category feature", main->categoryFeature()},
            {"feature", document.rows("B")},
            {"member", document.rows("B")->member(2, 0)},
            {"member template", document.rows("B")->memberTemplates().first()},
        }
            .value(element);
    QVERIFY(target);
    const ElementLocator locator = ElementLocator::locate(document.element, target);
    QCOMPARE(locator.isValid(), valid);
    QCOMPARE(locator.steps(), steps);
    QCOMPARE(locator.resolve(document.element), valid ? target : nullptr);

    // Positions beyond the children there are now lead nowhere.
    if (!valid || steps.size() < 2)
        return;
    document.rows("B")->removeInstance(2);
    delete document.camera->takeMode(2);
    const bool gone = element == "mode" || element == "member";
    QCOMPARE(locator.resolve(document.element) == nullptr, gone);
}

void TestCommands::modeCommands_data()
{
    // The description, the order of the modes afterwards, and the mode shown by undo and by redo.
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("clone") << QStringList{"Mode cloned (B)", "A,B_1,B,C", "B", "B"};
    QTest::newRow("delete") << QStringList{"Mode deleted (B)", "A,C", "B", ""};
    QTest::newRow("swap") << QStringList{"Mode order swap (A <--> C)", "C,B,A", "A", "C"};
    QTest::newRow("to back") << QStringList{"Mode reinserted (A to back)", "B,C,A", "A", "A"};
    QTest::newRow("to front") << QStringList{"Mode reinserted (C --> A)", "C,A,B", "C", "C"};
    QTest::newRow("rename") << QStringList{"Property value set (Fast, \"B\" --> \"Fast\")", "A,Fast,C", "B",
                                           "Fast"};
}

void TestCommands::modeCommands()
{
    QFETCH(QStringList, expected);

    Document document;
    const QStringList before = document.ids();
    change(document, QTest::currentDataTag());
    UndoRedoStack* stack = document.element->undoRedoStack();
    QCOMPARE(stack->count(), 1);
    QCOMPARE(stack->actionAt(0)->description(), expected.at(0));
    QCOMPARE(document.order(), expected.at(1));
    const QStringList after = document.ids();

    // Modes come back where they were, under their ids, the deleted one and the clone's elements alike.
    QCOMPARE(shownMode(document, true), expected.at(2));
    QCOMPARE(document.ids(), before);
    QCOMPARE(shownMode(document, false), expected.at(3));
    QCOMPARE(document.ids(), after);
    QCOMPARE(shownMode(document, true), expected.at(2));
    QCOMPARE(document.order(), "A,B,C");
}

void TestCommands::deletedModeOwnership_data()
{
    QTest::addColumn<bool>("undone");
    QTest::newRow("deletion trimmed from the history") << false;
    QTest::newRow("undone deletion discarded") << true;
}

void TestCommands::deletedModeOwnership()
{
    QFETCH(bool, undone);

    Document document;
    UndoRedoStack* stack = document.element->undoRedoStack();
    QPointer<ModeElement> mode = document.mode("B");
    const quint64 id = mode->id();
    change(document, "delete");
    auto* command = qobject_cast<UndoRedoModeDelete*>(stack->actionAt(0).data());
    QCOMPARE(command->keptMode(), mode.data());
    QCOMPARE(mode->parent(), command);
    QCOMPARE(ElementBase::findById(id), nullptr);

    if (undone) {
        stack->unapply();
        QCOMPARE(command->keptMode(), nullptr);
        stack->push(document.edit("A", "x"));
    } else {
        stack->setMaxDepth(0);
    }
    QCOMPARE(stack->count(), int(undone));
    QCOMPARE(mode.isNull(), !undone);
    QCOMPARE(ElementBase::findById(id), mode.data());
}

void TestCommands::failure_data()
{
    QTest::addColumn<QString>("cause");
    QTest::newRow("root destroyed") << "root";
    QTest::newRow("feature gone") << "feature";
    QTest::newRow("clone gone") << "clone";
}

// A command that cannot find its element fails and stops a run of undos there; the commands before it
// stay applied.
void TestCommands::failure()
{
    QFETCH(QString, cause);

    Document document;
    QScopedPointer<Document> other(new Document);
    UndoRedoStack stack;
    stack.push(document.edit("A", "first"));
    if (cause == "clone") {
        document.camera->appendMode(document.mode("C")->clone());
        stack.push(QSharedPointer<UndoRedoModeClone>::create(document.element, document.mode("C"), 3));
        delete document.camera->mode(3);
    } else {
        Document& target = cause == "root" ? *other : document;
        stack.push(target.edit("C", "lost"));
        if (cause == "root")
            other.reset();
        else
            delete document.mode("C");
    }
    stack.push(document.edit("B", "last"));
    QSharedPointer<ActionBase> failing = stack.actionAt(1);

    stack.setIndex(0);
    QCOMPARE(stack.index(), 1);
    QVERIFY(failing->isApplied());
    QCOMPARE(document.text("B")->value().toString(), QString());
    QCOMPARE(document.text("A")->value().toString(), "first");
    QCOMPARE(failing->unapply(), ActionBase::Failed);
}

QTEST_MAIN(TestCommands)
#include "../elements/moc_TestMainWindow.cpp"
#include "tst_commands.moc"
