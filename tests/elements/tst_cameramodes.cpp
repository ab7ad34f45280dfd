#include "TestMainWindow.h"
#include "elements/BooleanFeature.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/EnumerationFeature.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"
#include "undo/ActionBase.h"

#include <QCheckBox>
#include <QPointer>
#include <QSharedPointer>
#include <QSignalSpy>
#include <QTest>

#include <set>

using namespace Orvex;

namespace {

// Logs the category's switching as a command would receive it, and makes the change as it would.
class ProbeCategory : public GenericModeCategory
{
public:
    ProbeCategory(ModeElement* a_mode, QStringList* a_log) : GenericModeCategory(a_mode), m_log(a_log) {}

protected:
    void requestCategoryChanges(const QVector<FeatureElementBase::InstanceChange>& a_changes) override
    {
        for (const FeatureElementBase::InstanceChange& change : a_changes) {
            const bool insert = change.kind == FeatureElementBase::InstanceChange::Insert;
            *m_log << QStringLiteral("%1 %2").arg(insert ? "insert" : "remove").arg(change.index);
            insert ? void(categoryFeature()->insertInstance(change.index))
                   : void(categoryFeature()->removeInstance(change.index));
        }
    }

private:
    QStringList* m_log;
};

class DoneAction : public ActionBase
{
protected:
    Result onUnapply() override { return Done; }
    Result onReapply() override { return Done; }
};

// A document of modes M0, M1, ... each with categories C0, C1, ... that hold a boolean "Flag" and an
// enumeration "Choice" (A, B).
struct Document
{
    explicit Document(int a_modes = 0, int a_categories = 0)
    {
        element = new WindowElement(&window);
        camera = element->camera();
        for (int index = 0; index < a_modes; ++index)
            camera->appendMode(makeMode(QStringLiteral("M%1").arg(index), a_categories));
    }

    ModeElement* makeMode(const QString& a_name, int a_categories, QStringList* a_probeLog = nullptr)
    {
        auto* mode = new ModeElement(camera);
        mode->setName(a_name);
        for (int index = 0; index < a_categories; ++index) {
            GenericModeCategory* category =
                a_probeLog ? new ProbeCategory(mode, a_probeLog) : new GenericModeCategory(mode);
            category->setName(QStringLiteral("C%1").arg(index));
            category->setTypeName(QStringLiteral("T%1").arg(index));
            auto* flag = new BooleanFeature(category);
            flag->setName(QStringLiteral("Flag"));
            category->addFeature(flag);
            auto* choice = new EnumerationFeature(category);
            choice->setName(QStringLiteral("Choice"));
            choice->addEntry(QStringLiteral("A"));
            choice->addEntry(QStringLiteral("B"));
            category->addFeature(choice);
            mode->appendCategory(category);
        }
        return mode;
    }

    int currentModeIndex() const { return camera->indexOfMode(camera->currentMode()); }

    TestMainWindow window;
    WindowElement* element = nullptr;
    CameraElement* camera = nullptr;
};

// Runs one step: "mode N", "category N", "camera", "global", "back", "forward", "undo", "redo" come from
// the window; "next", "prev" step the camera's modes, "nextCat", "prevCat" the current mode's categories;
// "push" pushes a done action, "clone" appends a copy of mode 0, "warn N" makes a feature of mode N warn.
void run(Document& a_document, const QString& a_step)
{
    const QStringList words = a_step.split(QLatin1Char(' '));
    const QString& op = words.first();
    const int number = words.value(1).toInt();
    TestMainWindow& window = a_document.window;
    CameraElement* camera = a_document.camera;
    if (op == "mode")
        emit window.modeSelected(number);
    else if (op == "category")
        emit window.categorySelected(number);
    else if (op == "camera")
        emit window.cameraSelected();
    else if (op == "global")
        emit window.cameraGlobalSelected();
    else if (op == "back" || op == "forward")
        op == "back" ? emit window.back() : emit window.forward();
    else if (op == "undo" || op == "redo")
        op == "undo" ? emit window.undo() : emit window.redo();
    else if (op == "next" || op == "prev")
        op == "next" ? camera->selectNextMode() : camera->selectPrevMode();
    else if (op == "nextCat" || op == "prevCat")
        op == "nextCat" ? camera->currentMode()->selectNextCategory()
                        : camera->currentMode()->selectPrevCategory();
    else if (op == "push")
        a_document.element->undoRedoStack()->push(QSharedPointer<ActionBase>(new DoneAction));
    else if (op == "clone")
        camera->appendMode(camera->mode(0)->clone());
    else if (op == "warn")
        emit qobject_cast<ValueFeatureElementBase*>(camera->mode(number)->category(0)->feature("Flag"))
            ->warning(QStringLiteral("Title %1").arg(number), QStringLiteral("Text %1").arg(number));
    else
        QFAIL(qPrintable("unknown step " + a_step));
    ElementBaseDelayQueue::instance()->flush();
}

const QStringList s_pageCalls{"setMode ", "setModeCategory ", "setCameraMode"};

} // namespace

class TestCameraModes : public QObject
{
    Q_OBJECT

private slots:
    void selection_data();
    void selection();
    void messages_data();
    void messages();
    void uniqueNames_data();
    void uniqueNames();
    void removeCurrentMode_data();
    void removeCurrentMode();
    void categoryEnabled_data();
    void categoryEnabled();
    void cameraStandard_data();
    void cameraStandard();
    void cloneMode();
    void stackControls_data();
    void stackControls();
};

void TestCameraModes::selection_data()
{
    QTest::addColumn<int>("modes");
    QTest::addColumn<int>("categories");
    QTest::addColumn<QStringList>("script");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("category");

    const QString cat0 = "setModeCategory 0";
    QTest::newRow("mode shows its first category")
        << 3 << 3 << QStringList{"mode 1"} << QStringList{cat0, "setMode 1"} << 1 << 0;
    QTest::newRow("current mode again")
        << 3 << 3 << QStringList{"mode 1", "mode 1"} << QStringList{cat0, "setMode 1"} << 1 << 0;
    QTest::newRow("category of the mode") << 3 << 3 << QStringList{"mode 1", "category 2"}
                                          << QStringList{cat0, "setMode 1", "setModeCategory 2"} << 1 << 2;
    QTest::newRow("camera page") << 3 << 3 << QStringList{"mode 1", "camera"}
                                 << QStringList{cat0, "setMode 1", "setCameraMode"} << -1 << -1;
    QTest::newRow("camera page shown once")
        << 3 << 3 << QStringList{"camera", "global", "camera"} << QStringList{"setCameraMode"} << -1 << -1;
    QTest::newRow("mode keeps its category")
        << 3 << 3 << QStringList{"mode 2", "category 1", "mode 0", "mode 2"}
        << QStringList{cat0,        "setMode 2",         "setModeCategory 1", cat0,
                       "setMode 0", "setModeCategory 1", "setMode 2"}
        << 2 << 1;
    QTest::newRow("next from camera page")
        << 3 << 1 << QStringList{"next"} << QStringList{cat0, "setMode 0"} << 0 << 0;
    QTest::newRow("next on last mode stays")
        << 3 << 1 << QStringList{"mode 2", "next"} << QStringList{cat0, "setMode 2"} << 2 << 0;
    QTest::newRow("prev steps back") << 3 << 1 << QStringList{"mode 2", "prev"}
                                     << QStringList{cat0, "setMode 2", cat0, "setMode 1"} << 1 << 0;
    QTest::newRow("prev on first mode") << 3 << 1 << QStringList{"mode 0", "prev"}
                                        << QStringList{cat0, "setMode 0", "setCameraMode"} << -1 << -1;
    QTest::newRow("prev on camera page") << 3 << 1 << QStringList{"prev"} << QStringList{} << -1 << -1;
    QTest::newRow("no modes") << 0 << 0 << QStringList{"next", "prev"} << QStringList{} << -1 << -1;
    QTest::newRow("next category wraps")
        << 1 << 3 << QStringList{"mode 0", "category 2", "nextCat"}
        << QStringList{cat0, "setMode 0", "setModeCategory 2", cat0} << 0 << 0;
    QTest::newRow("prev category from first")
        << 1 << 3 << QStringList{"mode 0", "prevCat"} << QStringList{cat0, "setMode 0", "setModeCategory 2"}
        << 0 << 2;
    QTest::newRow("one category") << 1 << 1 << QStringList{"mode 0", "nextCat", "prevCat"}
                                  << QStringList{cat0, "setMode 0"} << 0 << 0;
    QTest::newRow("back to a category")
        << 1 << 3 << QStringList{"mode 0", "category 2", "back"}
        << QStringList{cat0, "setMode 0", "setModeCategory 2", cat0} << 0 << 0;
    QTest::newRow("back to camera page")
        << 2 << 1 << QStringList{"camera", "mode 1", "back"}
        << QStringList{"setCameraMode", cat0, "setMode 1", "setCameraMode"} << -1 << -1;
    QTest::newRow("back and forward across modes")
        << 2 << 2 << QStringList{"mode 0", "mode 1", "back", "forward"}
        << QStringList{cat0, "setMode 0", cat0, "setMode 1", "setMode 0", cat0, "setMode 1", cat0} << 1 << 0;
}

void TestCameraModes::selection()
{
    QFETCH(int, modes);
    QFETCH(int, categories);
    QFETCH(QStringList, script);
    QFETCH(QStringList, expected);
    QFETCH(int, mode);
    QFETCH(int, category);

    Document document(modes, categories);
    document.window.log.clear();
    for (const QString& step : script)
        run(document, step);

    QCOMPARE(document.window.calls(s_pageCalls), expected);
    QCOMPARE(document.currentModeIndex(), mode);
    ModeElement* current = document.camera->currentMode();
    QCOMPARE(current ? current->indexOfCategory(current->currentCategory()) : -1, category);
    // Exactly the page shown is active, and none was built to get there.
    const bool globalShown = !expected.isEmpty() && expected.last() == "setCameraMode";
    QCOMPARE(document.camera->globalCategory()->isActive(), globalShown);
    for (ModeElement* each : document.camera->modes()) {
        for (ModeCategoryElementBase* page : each->categories()) {
            QCOMPARE(page->isActive(), each == current && page == current->currentCategory());
            QVERIFY(!page->widget());
        }
    }
}

void TestCameraModes::messages_data()
{
    QTest::addColumn<QStringList>("script");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("negative mode") << QStringList{"mode -1"}
                                   << QStringList{"Unknown Mode Index|Unknown mode index selected, -1."};
    QTest::newRow("in arrival order")
        << QStringList{"mode 99", "mode 0", "category 99", "category 2"}
        << QStringList{"Unknown Mode Index|Unknown mode index selected, 99.",
                       "Unknown Category Index|Unknown category index selected, 99.",
                       "Unknown Category Index|Unknown category index selected, 2."};
    QTest::newRow("category without a mode") << QStringList{"category 99"} << QStringList{};
    QTest::newRow("feature warnings") << QStringList{"warn 1", "clone", "warn 2", "mode 5"}
                                      << QStringList{"Title 1|Text 1", "Title 2|Text 2",
                                                     "Unknown Mode Index|Unknown mode index selected, 5."};
}

void TestCameraModes::messages()
{
    QFETCH(QStringList, script);
    QFETCH(QStringList, expected);

    Document document(2, 2);
    QSignalSpy queued(document.element, &WindowElement::messageQueued);
    for (const QString& step : script)
        run(document, step);

    QCOMPARE(queued.count(), expected.size());
    QString title;
    QString text;
    for (const QString& message : expected) {
        QVERIFY(document.element->popMessage(title, text));
        QCOMPARE(title + '|' + text, message);
    }
    QVERIFY(!document.element->popMessage(title, text));
    QVERIFY(title.isEmpty() && text.isEmpty());
}

void TestCameraModes::uniqueNames_data()
{
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QString>("removed");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("added");
    QTest::addColumn<QString>("expected");

    QTest::newRow("second Default") << QStringList{"Default"} << "" << -1 << "Default"
                                    << "Default_1";
    QTest::newRow("third Default") << QStringList{"Default", "Default_1"} << "" << -1 << "Default"
                                   << "Default_2";
    QTest::newRow("reused after delete")
        << QStringList{"Default", "Default_1", "Default_2"} << "Default_1" << -1 << "Default"
        << "Default_1";
    QTest::newRow("markup and spaces") << QStringList{} << "" << -1 << "  Fast <Scan> "
                                       << "FastScan";
    QTest::newRow("every markup character") << QStringList{} << "" << -1 << "a@b<c>d&e'f\"g"
                                            << "abcdefg";
    QTest::newRow("tabs and line breaks") << QStringList{} << "" << -1 << "x\ty\nz"
                                          << "xyz";
    QTest::newRow("blank") << QStringList{} << "" << -1 << "  "
                           << "Default";
    QTest::newRow("blank beside Default") << QStringList{"Default"} << "" << -1 << "  "
                                          << "Default_1";
    QTest::newRow("taken number") << QStringList{"Free", "Free_3"} << "" << -1 << "Free_3"
                                  << "Free_1";
    QTest::newRow("free number stands") << QStringList{"Free"} << "" << -1 << "Free_3"
                                        << "Free_3";
    QTest::newRow("bare base free") << QStringList{"Default_1"} << "" << -1 << "Default"
                                    << "Default";
    QTest::newRow("base taken literally") << QStringList{"a.b", "axb_1"} << "" << -1 << "a.b"
                                          << "a.b_1";
    QTest::newRow("inserted in front") << QStringList{"Scan", "Other"} << "" << 0 << "Scan"
                                       << "Scan_1";
    QTest::newRow("inserted in the middle") << QStringList{"Scan", "Other"} << "" << 1 << "Sc an"
                                            << "Scan_1";
}

void TestCameraModes::uniqueNames()
{
    QFETCH(QStringList, existing);
    QFETCH(QString, removed);
    QFETCH(int, position);
    QFETCH(QString, added);
    QFETCH(QString, expected);

    Document document;
    for (const QString& name : existing)
        document.camera->appendMode(document.makeMode(name, 0));
    if (!removed.isEmpty())
        delete document.camera->modeByName(removed);

    ModeElement* mode = document.makeMode(added, 0);
    const int at = document.camera->insertMode(position, mode);
    QCOMPARE(mode->name(), expected);
    QCOMPARE(at, position < 0 ? document.camera->modeCount() - 1 : position);
    QCOMPARE(document.camera->mode(at), mode);
}

void TestCameraModes::removeCurrentMode_data()
{
    QTest::addColumn<bool>("destroy");
    QTest::newRow("deleted") << true;
    QTest::newRow("taken out") << false;
}

void TestCameraModes::removeCurrentMode()
{
    QFETCH(bool, destroy);

    Document document(3, 2);
    run(document, "mode 1");
    QPointer<ModeElement> mode = document.camera->currentMode();
    const QString name = mode->name();
    QSignalSpy removed(document.camera, &CameraElement::modeRemoved);
    document.window.log.clear();

    if (destroy)
        delete mode.data();
    else
        QCOMPARE(document.camera->takeMode(1), mode.data());

    QCOMPARE(document.camera->currentMode(), nullptr);
    QCOMPARE(document.camera->modeCount(), 2);
    QCOMPARE(removed.count(), 1);
    QCOMPARE(removed.first().first().toInt(), 1);
    QCOMPARE(mode.isNull(), destroy);
    if (destroy)
        return;
    // A mode taken out shows the camera page, stays whole and goes back in under its own name.
    QCOMPARE(document.window.calls(s_pageCalls), QStringList{"setCameraMode"});
    QVERIFY(!mode->isRaised());
    QCOMPARE(mode->categoryCount(), 2);
    QObject keeper;
    mode->setParent(&keeper);
    QCOMPARE(document.camera->insertMode(1, mode), 1);
    QCOMPARE(mode->parent(), document.camera);
    QCOMPARE(mode->name(), name);
}

void TestCameraModes::categoryEnabled_data()
{
    QTest::addColumn<bool>("startEnabled");
    QTest::newRow("switched off") << true;
    QTest::newRow("switched on") << false;
}

void TestCameraModes::categoryEnabled()
{
    QFETCH(bool, startEnabled);

    Document document;
    QStringList requests;
    ModeElement* mode = document.makeMode("Probe", 1, &requests);
    document.camera->appendMode(mode);
    auto* category = qobject_cast<GenericModeCategory*>(mode->category(0));
    category->categoryFeature()->setEnabled(startEnabled);
    QCOMPARE(category->categoryEnabled(), startEnabled);

    QWidget* page = category->createWidget();
    page->show();
    auto* checkBox = qobject_cast<QCheckBox*>(category->categoryFeature()->widget());
    QVERIFY(checkBox);
    QCOMPARE(checkBox->text(), QStringLiteral("Feature Enabled"));
    QCOMPARE(checkBox->isChecked(), startEnabled);
    QWidget* flagEditor = category->feature("Flag")->widget();
    QVERIFY(flagEditor);
    QCOMPARE(flagEditor->isEnabledTo(page), startEnabled);

    QSignalSpy changed(category, &GenericModeCategory::categoryEnabledChanged);
    QTest::mouseClick(checkBox, Qt::LeftButton);
    QCOMPARE(requests, QStringList{startEnabled ? "remove 0" : "insert 0"});
    QCOMPARE(category->categoryEnabled(), !startEnabled);
    QCOMPARE(category->categoryFeature()->instanceCount(), size_t(startEnabled ? 0 : 1));
    QCOMPARE(flagEditor->isEnabledTo(page), !startEnabled);
    QCOMPARE(changed.count(), 1);

    // An undo changes the count behind the check box's back; the page follows it.
    category->categoryFeature()->setEnabled(startEnabled);
    QCOMPARE(category->categoryEnabled(), startEnabled);
    QCOMPARE(checkBox->isChecked(), startEnabled);
    QCOMPARE(flagEditor->isEnabledTo(page), startEnabled);
    QCOMPARE(changed.count(), 2);
    QCOMPARE(requests.size(), 1);
}

void TestCameraModes::cameraStandard_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<int>("expected");

    QTest::newRow("CoaXPress") << "CoaXPress" << int(CameraElement::StandardCoaXPress);
    QTest::newRow("lower case") << "coaxpress" << int(CameraElement::StandardCoaXPress);
    QTest::newRow("CameraLink") << "CameraLink" << int(CameraElement::StandardCameraLink);
    QTest::newRow("upper case") << "CAMERALINK" << int(CameraElement::StandardCameraLink);
    QTest::newRow("other") << "GigE" << int(CameraElement::StandardUnknown);
    QTest::newRow("no feature") << QString() << int(CameraElement::StandardUnknown);
}

void TestCameraModes::cameraStandard()
{
    QFETCH(QString, value);
    QFETCH(int, expected);

    Document document;
    CameraGlobalCategory* global = document.camera->globalCategory();
    if (!value.isNull()) {
        auto* standard = new EnumerationFeature(global);
        standard->setName("standard");
        standard->addEntry("CameraLink");
        standard->addEntry("CoaXPress");
        standard->setValue(value);
        QVERIFY(global->addFeature(standard));
    }
    QCOMPARE(document.camera->standard(), expected);
    QCOMPARE(document.camera->property("standard").toInt(), expected);
}

void TestCameraModes::cloneMode()
{
    Document document(1, 3);
    ModeElement* source = document.camera->mode(0);
    source->category(0)->feature("Flag")->setProperty("value", true);
    source->category(1)->feature("Choice")->setProperty("value", "B");
    qobject_cast<GenericModeCategory*>(source->category(2))->categoryFeature()->setEnabled(false);
    run(document, "mode 0");
    run(document, "category 1");

    ModeElement* copy = source->clone();
    QCOMPARE(document.camera->appendMode(copy), 1);
    QCOMPARE(copy->name(), source->name() + "_1");
    QCOMPARE(copy->currentCategory(), copy->category(1));
    QVERIFY(!copy->isRaised());

    std::set<quint64> sourceIds;
    for (const ElementBase* element : source->findChildren<ElementBase*>())
        sourceIds.insert(element->id());
    std::set<quint64> copyIds{copy->id()};
    for (const ElementBase* element : copy->findChildren<ElementBase*>()) {
        QVERIFY(element->id() != 0);
        QVERIFY(copyIds.insert(element->id()).second);
    }
    QVERIFY(sourceIds.count(copy->id()) == 0);
    for (quint64 id : copyIds)
        QVERIFY(sourceIds.count(id) == 0);

    QCOMPARE(copy->categoryCount(), source->categoryCount());
    for (int index = 0; index < source->categoryCount(); ++index) {
        auto* original = qobject_cast<GenericModeCategory*>(source->category(index));
        auto* duplicate = qobject_cast<GenericModeCategory*>(copy->category(index));
        QVERIFY(duplicate && duplicate->mode() == copy);
        QCOMPARE(duplicate->name(), original->name());
        QCOMPARE(duplicate->typeName(), original->typeName());
        QCOMPARE(duplicate->categoryEnabled(), original->categoryEnabled());
        QCOMPARE(duplicate->featureCount(), original->featureCount());
        for (int feature = 0; feature < original->featureCount(); ++feature) {
            FeatureElementBase* copied = duplicate->features().at(feature);
            QCOMPARE(copied->parentElement(), duplicate);
            QCOMPARE(copied->name(), original->features().at(feature)->name());
            QCOMPARE(copied->dataSet(), original->features().at(feature)->dataSet());
        }
    }
    // The copy is a mode of its own: changing it leaves the source alone.
    copy->category(0)->feature("Flag")->setProperty("value", false);
    QCOMPARE(source->category(0)->feature("Flag")->property("value").toBool(), true);
}

void TestCameraModes::stackControls_data()
{
    QTest::addColumn<QStringList>("script");
    QTest::addColumn<QString>("undoRedo");
    QTest::addColumn<QString>("backForward");

    QTest::newRow("fresh document") << QStringList{} << "0 0"
                                    << "0 0";
    QTest::newRow("pushed") << QStringList{"push"} << "1 0"
                            << "0 0";
    QTest::newRow("undone from the window") << QStringList{"push", "undo"} << "0 1"
                                            << "0 0";
    QTest::newRow("redone from the window") << QStringList{"push", "undo", "redo"} << "1 0"
                                            << "0 0";
    QTest::newRow("pages visited") << QStringList{"mode 0", "mode 1"} << "0 0"
                                   << "1 0";
    QTest::newRow("back from the window") << QStringList{"mode 0", "mode 1", "back"} << "0 0"
                                          << "0 1";
    QTest::newRow("push after back") << QStringList{"mode 0", "mode 1", "back", "push"} << "1 0"
                                     << "0 1";
}

void TestCameraModes::stackControls()
{
    QFETCH(QStringList, script);
    QFETCH(QString, undoRedo);
    QFETCH(QString, backForward);

    Document document(2, 1);
    QCOMPARE(document.window.log.mid(0, 2),
             (QStringList{"setUndoRedoEnabled 0 0", "setBackForwardEnabled 0 0"}));
    document.window.log.clear();
    for (const QString& step : script)
        run(document, step);

    const QStringList undoCalls = document.window.calls({"setUndoRedoEnabled "});
    const QStringList backCalls = document.window.calls({"setBackForwardEnabled "});
    QCOMPARE(undoCalls.isEmpty() ? "0 0" : undoCalls.last().section(' ', 1), undoRedo);
    QCOMPARE(backCalls.isEmpty() ? "0 0" : backCalls.last().section(' ', 1), backForward);
    QCOMPARE(document.window.log.contains("updateDocumentState"), !script.isEmpty());
}

QTEST_MAIN(TestCameraModes)
#include "moc_TestMainWindow.cpp"
#include "tst_cameramodes.moc"
