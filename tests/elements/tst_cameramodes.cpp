#include "ElementFixtures.h"
#include "RecordingDocumentHost.h"
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

    OrvexTest::RecordingDocumentHost window;
    WindowElement* element = nullptr;
    CameraElement* camera = nullptr;
};

// Runs one step: "mode N", "category N", "camera", "global", "back", "forward", "undo", "redo" come from
// the window; "next", "prev" step the camera's modes, "nextCat", "prevCat" the current mode's categories;
// "push" pushes a done action, "clone" appends a copy of mode 0, "warn N" makes a feature of mode N warn
// of a duplicate entry.
void run(Document& a_document, const QString& a_step)
{
    const QStringList words = a_step.split(QLatin1Char(' '));
    const QString& op = words.first();
    const int number = words.value(1).toInt();
    OrvexTest::RecordingDocumentHost& window = a_document.window;
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
        qobject_cast<EnumerationFeature*>(camera->mode(number)->category(0)->feature("Choice"))
            ->addEntry(QStringLiteral("B"));
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
    void selection_data() { OrvexTest::addTextRows("tests/elements/data/cameramodes/selection.txt"); }

    void selection()
    {
        QFETCH(QString, modes);
        QFETCH(QString, categories);
        QFETCH(QString, controls);
        const QStringList pages = OrvexTest::rowText("expected")
                                      .replace("cat0", "setModeCategory 0")
                                      .split(',', Qt::SkipEmptyParts);

        Document document(modes.toInt(), categories.toInt());
        QSignalSpy queued(document.element, &WindowElement::messageQueued);
        QCOMPARE(document.window.log.mid(0, 2),
                 (QStringList{"setUndoRedoEnabled 0 0", "setBackForwardEnabled 0 0"}));
        document.window.log.clear();
        for (const QString& step : OrvexTest::rowText("script").split(',', Qt::SkipEmptyParts))
            run(document, step);
        if (!controls.isEmpty()) {
            QString last = "0 0/0 0";
            for (const QString& line :
                 document.window.calls({"setUndoRedoEnabled ", "setBackForwardEnabled "}))
                last.replace(line.startsWith("setUndo") ? 0 : 4, 3, line.section(' ', 1));
            QCOMPARE(last, controls);
            QVERIFY(document.window.log.contains("updateDocumentState"));
        }

        QStringList popped;
        for (QString title, text; document.element->popMessage(title, text);)
            popped << title + ": " + text;
        QCOMPARE(popped.join("; "), OrvexTest::rowText("messages"));
        QCOMPARE(queued.count(), popped.size());
        QCOMPARE(document.window.calls(s_pageCalls), pages);
        QCOMPARE(document.currentModeIndex(), OrvexTest::rowText("mode").toInt());
        ModeElement* current = document.camera->currentMode();
        QCOMPARE(current ? current->indexOfCategory(current->currentCategory()) : -1,
                 OrvexTest::rowText("category").toInt());
        // Exactly the page shown is active, and none was built to get there.
        const bool globalShown = !pages.isEmpty() && pages.last() == "setCameraMode";
        QCOMPARE(document.camera->globalCategory()->isActive(), globalShown);
        for (ModeElement* each : document.camera->modes()) {
            for (ModeCategoryElementBase* page : each->categories()) {
                QCOMPARE(page->isActive(), each == current && page == current->currentCategory());
                QVERIFY(!page->widget());
            }
        }
    }

    void uniqueNames_data() { OrvexTest::addTextRows("tests/elements/data/cameramodes/names.txt"); }

    void uniqueNames()
    {
        QFETCH(QString, removed);
        const int position = OrvexTest::rowText("positionText").toInt();

        Document document;
        for (const QString& name : OrvexTest::rowText("existing").split(' ', Qt::SkipEmptyParts))
            document.camera->appendMode(document.makeMode(name, 0));
        if (!removed.isEmpty())
            delete document.camera->modeByName(removed);

        ModeElement* mode = document.makeMode(OrvexTest::rowText("added"), 0);
        const int at = document.camera->insertMode(position, mode);
        QCOMPARE(mode->name(), OrvexTest::rowText("expected"));
        QCOMPARE(at, position < 0 ? document.camera->modeCount() - 1 : position);
        QCOMPARE(document.camera->mode(at), mode);
        // A mode renamed to the name it has keeps it.
        QCOMPARE(document.camera->uniqueModeName(' ' + mode->name(), mode), mode->name());
    }

    void removeCurrentMode()
    {
        for (bool destroy : {true, false}) {
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
                continue;
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
    }

    void categoryEnabled()
    {
        for (bool startEnabled : {true, false}) {
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
            QWidget* flagEditor = category->feature("Flag")->widget();
            QVERIFY(checkBox && flagEditor);
            QSignalSpy changed(category, &GenericModeCategory::categoryEnabledChanged);
            // Switched on, box checked, the category's editors enabled, changes announced.
            const auto state = [&] {
                return QStringLiteral("%1 %2 %3 %4")
                    .arg(category->categoryEnabled())
                    .arg(checkBox->isChecked())
                    .arg(flagEditor->isEnabledTo(page))
                    .arg(changed.count());
            };
            const QString before = QStringLiteral("%1 %1 %1 ").arg(int(startEnabled));
            const QString after = QStringLiteral("%1 %1 %1 ").arg(int(!startEnabled));
            QCOMPARE(state(), before + "0");

            QTest::mouseClick(checkBox, Qt::LeftButton);
            QCOMPARE(requests, QStringList{startEnabled ? "remove 0" : "insert 0"});
            QCOMPARE(category->categoryFeature()->instanceCount(), size_t(startEnabled ? 0 : 1));
            QCOMPARE(state(), after + "1");

            // An undo changes the count behind the check box's back; the page follows it.
            category->categoryFeature()->setEnabled(startEnabled);
            QCOMPARE(state(), before + "2");
            QCOMPARE(requests.size(), 1);
        }
    }

    // The camera's standard comes from its global "standard" feature, in any case.
    void cameraStandard()
    {
        const QList<QPair<QString, int>> cases{{"coaxpress", CameraElement::StandardCoaXPress},
                                               {"CAMERALINK", CameraElement::StandardCameraLink},
                                               {"GigE", CameraElement::StandardUnknown},
                                               {QString(), CameraElement::StandardUnknown}};
        for (const auto& [value, expected] : cases) {
            Document document;
            if (!value.isNull()) {
                auto* standard = new EnumerationFeature(document.camera->globalCategory());
                standard->setName("standard");
                standard->addEntry("CameraLink");
                standard->addEntry("CoaXPress");
                standard->setValue(value);
                QVERIFY(document.camera->globalCategory()->addFeature(standard));
            }
            QVERIFY2(document.camera->standard() == expected, qPrintable(value));
        }
    }

    void cloneMode()
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

        // Every element of the copy has an id of its own, none of them one of the source's.
        QSet<quint64> ids{source->id(), copy->id()};
        const auto elements = source->findChildren<ElementBase*>() + copy->findChildren<ElementBase*>();
        for (const ElementBase* element : elements)
            ids.insert(element->id());
        QCOMPARE(ids.size(), elements.size() + 2);
        QVERIFY(!ids.contains(0));

        // Category by category: name, type, switched on, and each feature's name and values.
        const auto dump = [](ModeElement* a_mode) {
            QStringList lines;
            for (ModeCategoryElementBase* category : a_mode->categories()) {
                auto* generic = qobject_cast<GenericModeCategory*>(category);
                lines << QStringLiteral("%1 %2 %3")
                             .arg(category->name(), generic->typeName())
                             .arg(generic->categoryEnabled());
                if (generic->mode() != a_mode)
                    lines << QStringLiteral("  in another mode");
                for (FeatureElementBase* feature : generic->features()) {
                    if (feature->parentElement() != category)
                        lines << QStringLiteral("  under another parent");
                    lines << QStringLiteral("  %1 %2").arg(
                        feature->name(), QVariant(feature->dataSet()).toStringList().join(','));
                }
            }
            return lines;
        };
        QCOMPARE(dump(copy), dump(source));
        QVERIFY(dump(source).contains("  Choice B"));
        // The copy is a mode of its own: changing it leaves the source alone.
        copy->category(0)->feature("Flag")->setProperty("value", false);
        QCOMPARE(source->category(0)->feature("Flag")->property("value").toBool(), true);
    }
};

QTEST_MAIN(TestCameraModes)
#include "tst_cameramodes.moc"
