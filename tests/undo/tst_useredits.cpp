#include "../elements/TestMainWindow.h"
#include "elements/BooleanFeature.h"
#include "elements/CameraElement.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/EnumerationFeature.h"
#include "elements/FeatureListFeature.h"
#include "elements/FeatureTableFeature.h"
#include "elements/FeatureTableFeatureModel.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/NumericFeature.h"
#include "elements/StringFeature.h"
#include "elements/UndoRedoStack.h"
#include "elements/ValueFeatureObserverBase.h"
#include "elements/WindowElement.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLayout>
#include <QLineEdit>
#include <QMimeData>
#include <QScopedPointer>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

using namespace Orvex;

namespace {

// Asks for gains above 10 to be 10.
class ClampObserver : public ValueFeatureObserverBase
{
public:
    void observeValueChange(ValueFeatureElementBase*, size_t, const QVariant& a_newValue,
                            QVariant& a_replacement) override
    {
        if (a_newValue.toDouble() > 10)
            a_replacement = 10.0;
    }
};

// A feature or list member named a_name; a toggle one (0..1) starts switched off.
template <class T>
T* make(ElementBase* a_parent, const QString& a_name, size_t a_min = 1, size_t a_max = 1)
{
    auto* feature = new T(a_parent);
    feature->setName(a_name);
    feature->setMaxOccurs(a_max);
    feature->setMinOccurs(a_min);
    if (feature->isToggleFeature())
        feature->setEnabled(false);
    return feature;
}

// Mode "Scan" with the category "Main" holding one feature of each kind and the category "Extra",
// both pages shown as the user sees them.
struct Document
{
    Document()
    {
        element = new WindowElement(&window);
        auto* mode = new ModeElement(element->camera());
        mode->setName("Scan");
        main = new GenericModeCategory(mode);
        main->setName("Main");
        extra = new GenericModeCategory(mode);
        extra->setName("Extra");
        mode->appendCategory(main);
        mode->appendCategory(extra);
        element->camera()->appendMode(mode);

        main->addFeature(flag = make<BooleanFeature>(main, "Flag"));
        main->addFeature(choice = make<EnumerationFeature>(main, "Choice"));
        choice->addEntry("A");
        choice->addEntry("B");
        main->addFeature(gain = make<NumericFeature>(main, "Gain"));
        gain->addObserver(&clamp);
        main->addFeature(label = make<StringFeature>(main, "Label", 0, 4));
        label->setDataSet(QVariantList{"a", "b"});
        main->addFeature(group = make<FeatureListFeature>(main, "Group"));
        group->addMember(make<BooleanFeature>(group, "On"));
        group->addMember(make<NumericFeature>(group, "Level", 0));
        main->addFeature(table = make<FeatureTableFeature>(main, "Table", 1, 5));
        table->addMember(make<StringFeature>(table, "Key"));
        table->addMember(make<BooleanFeature>(table, "Note", 0));
        table->setDataSet(QVariantList{QVariantList{QVariantList{"k0"}}, QVariantList{QVariantList{"k1"}},
                                       QVariantList{QVariantList{"k2"}}});
        extra->addFeature(make<BooleanFeature>(extra, "Late"));
        main->addFeature(make<BooleanFeature>(main, "Strobe", 0));
        showPages();
        stack = element->undoRedoStack();
    }

    void showPages()
    {
        for (CategoryElementBase* category : {main, extra}) {
            QWidget* page = category->createWidget();
            page->resize(900, 1200);
            page->show();
        }
    }
    QCheckBox* headerBox(GenericModeCategory* a_category) const
    {
        return qobject_cast<QCheckBox*>(a_category->categoryFeature()->widget());
    }
    // An instance row in layout order; -1 is the trailing row.
    QWidget* row(FeatureElementBase* a_feature, int a_position) const
    {
        QLayout* layout = a_feature->widget()->layout();
        return layout->itemAt(a_position < 0 ? layout->count() + a_position : a_position)->widget();
    }
    // Every row makes its "-" before its "+".
    QToolButton* button(FeatureElementBase* a_feature, int a_row, const QString& a_text) const
    {
        return row(a_feature, a_row)->findChildren<QToolButton*>().value(a_text == "+");
    }
    QPoint cell(int a_row, int a_column) const
    {
        return table->view()->visualRect(table->model()->index(a_row, a_column)).center();
    }

    ClampObserver clamp;
    TestMainWindow window;
    WindowElement* element = nullptr;
    UndoRedoStack* stack = nullptr;
    GenericModeCategory* main = nullptr;
    GenericModeCategory* extra = nullptr;
    BooleanFeature* flag = nullptr;
    EnumerationFeature* choice = nullptr;
    NumericFeature* gain = nullptr;
    StringFeature* label = nullptr;
    FeatureListFeature* group = nullptr;
    FeatureTableFeature* table = nullptr;
};

QString text(const QVariant& a_value)
{
    if (a_value.userType() != QMetaType::QVariantList)
        return a_value.toString();
    QStringList parts;
    for (const QVariant& part : a_value.toList())
        parts << text(part);
    return '[' + parts.join(',') + ']';
}

// Everything the user can see and the file would hold: the elements' data and ids and what the widgets
// show of them.
QStringList state(const Document& a_document)
{
    QStringList lines;
    for (GenericModeCategory* category : {a_document.main, a_document.extra}) {
        lines << QStringLiteral("%1 present %2 box %3")
                     .arg(category->name())
                     .arg(category->categoryFeature()->instanceCount())
                     .arg(a_document.headerBox(category)->isChecked());
        for (FeatureElementBase* feature : category->features()) {
            QString line = feature->name() + ' ' + text(feature->dataSet());
            if (auto* list = qobject_cast<FeatureListFeatureBase*>(feature)) {
                for (size_t instance = 0; instance < list->instanceCount(); ++instance) {
                    for (quint64 id : list->memberIds(instance))
                        line += ' ' + QString::number(id);
                }
            }
            lines << line;
        }
    }
    lines
        << QStringLiteral("flag box %1").arg(a_document.flag->widget()->findChild<QCheckBox*>()->isChecked());
    QStringList edits;
    for (size_t instance = 0; instance < a_document.label->instanceCount(); ++instance)
        edits << a_document.row(a_document.label, int(instance))->findChild<QLineEdit*>()->text();
    lines << "label edits " + edits.join(',');
    lines << QStringLiteral("level box %1")
                 .arg(
                     a_document.group->widget()->findChild<QCheckBox*>("EnableDisableCheckBox")->isChecked());
    FeatureTableFeatureModel* model = a_document.table->model();
    for (int row = 0; row < model->instanceRows(); ++row) {
        lines << QStringLiteral("table row %1 %2 %3")
                     .arg(model->index(row, 3).data().toString())
                     .arg(model->index(row, 4).data(Qt::CheckStateRole).toInt())
                     .arg(model->index(row, 2).data().toString());
    }
    return lines;
}

// On the box and its text: a value check box stretches across its row, and a click beside the text
// misses it.
void clickBox(QCheckBox* a_box)
{
    QTest::mouseClick(a_box, Qt::LeftButton, {}, QPoint(5, a_box->height() / 2));
}

void act(Document& a_document, const QString& a_action)
{
    Document& d = a_document;
    if (a_action == "flag") {
        clickBox(d.flag->widget()->findChild<QCheckBox*>());
    } else if (a_action == "choice") {
        QTest::keyClick(d.choice->widget()->findChild<QComboBox*>(), Qt::Key_Down);
    } else if (a_action.startsWith("gain ")) {
        auto* spinBox = d.gain->widget()->findChild<QDoubleSpinBox*>();
        QTest::keyClick(spinBox, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(spinBox, a_action.mid(5));
        QTest::keyClick(spinBox, Qt::Key_Enter);
    } else if (a_action == "label type") {
        auto* edit = d.row(d.label, 1)->findChild<QLineEdit*>();
        QTest::keyClicks(edit, "x");
        QTest::keyClick(edit, Qt::Key_Enter);
    } else if (a_action.startsWith("label insert")) {
        QTest::mouseClick(d.button(d.label, 0, "+"), Qt::LeftButton);
        // The undo and redo that follow must find the feature without the widgets they were asked from.
        if (a_action.endsWith("rebuild")) {
            delete d.main->widget();
            d.showPages();
        }
    } else if (a_action == "label append") {
        QTest::mouseClick(d.button(d.label, -1, "+"), Qt::LeftButton);
    } else if (a_action == "label remove") {
        QTest::mouseClick(d.button(d.label, 0, "-"), Qt::LeftButton);
    } else if (a_action == "label off") {
        d.label->userSetEnabled(false);
    } else if (a_action == "level on") {
        QTest::mouseClick(d.group->widget()->findChild<QCheckBox*>("EnableDisableCheckBox"), Qt::LeftButton);
    } else if (a_action == "on") {
        clickBox(d.group->member(0, 0)->widget()->findChild<QCheckBox*>());
    } else if (a_action == "row insert" || a_action == "row remove") {
        const QPoint at = a_action == "row insert" ? d.cell(1, 0) : d.cell(0, 1);
        QTest::mouseClick(d.table->view()->viewport(), Qt::LeftButton, {}, at);
    } else if (a_action == "key edit, row remove") {
        qobject_cast<ValueFeatureElementBase*>(d.table->member(1, 0))->userSetValue(QString("new"));
        QTest::mouseClick(d.table->view()->viewport(), Qt::LeftButton, {}, d.cell(1, 1));
    } else if (a_action.startsWith("drop ")) {
        FeatureTableFeatureModel* model = d.table->model();
        QModelIndexList rows;
        for (const QString& row : a_action.mid(5).split(','))
            rows << model->index(row.toInt(), 3);
        QScopedPointer<QMimeData> payload(model->mimeData(rows));
        QVERIFY(model->dropMimeData(payload.data(), Qt::MoveAction, model->instanceRows(), 0, {}));
    } else if (a_action == "note on") {
        d.table->model()->setData(d.table->model()->index(1, 4), Qt::Checked, Qt::CheckStateRole);
    } else if (a_action == "strobe on") {
        for (QCheckBox* box : d.main->widget()->findChildren<QCheckBox*>("EnableDisableCheckBox")) {
            if (box->text() == "Strobe")
                clickBox(box);
        }
    } else if (a_action == "extra off") {
        QTest::mouseClick(d.headerBox(d.extra), Qt::LeftButton);
    } else {
        QFAIL(qPrintable("unknown action " + a_action));
    }
    ElementBaseDelayQueue::instance()->flush();
}

void step(Document& a_document, bool a_undo, int a_times)
{
    for (int time = 0; time < a_times; ++time)
        a_undo ? emit a_document.window.undo() : emit a_document.window.redo();
    ElementBaseDelayQueue::instance()->flush();
}

} // namespace

class TestUserEdits : public QObject
{
    Q_OBJECT

private slots:
    void undoRedo_data();
    void undoRedo();
};

void TestUserEdits::undoRedo_data()
{
    QTest::addColumn<QStringList>("descriptions");

    const QString main = "Scan > Main > ";
    const QString table = main + "Table";
    const auto set = [&main](const QString& a_rest) {
        return QStringList{"Feature value set (" + main + a_rest};
    };
    QTest::newRow("flag") << set("Flag, \"false\" --> \"true\")");
    QTest::newRow("choice") << set("Choice, \"A\" --> \"B\")");
    QTest::newRow("gain 7") << set("Gain, \"0\" --> \"7\")");
    QTest::newRow("gain 50") << set("Gain, \"0\" --> \"50\")") + set("Gain, \"50\" --> \"10\")");
    QTest::newRow("label type") << set("Label, \"b\" --> \"bx\")");
    QTest::newRow("label insert") << QStringList{"Feature inserted (" + main + "Label, at index 0)"};
    QTest::newRow("label insert, rebuild") << QStringList{"Feature inserted (" + main + "Label, at index 0)"};
    QTest::newRow("label append") << QStringList{"Feature inserted (" + main + "Label, at index 2)"};
    QTest::newRow("label remove") << QStringList{"Feature removed (" + main + "Label, index 0)"};
    QTest::newRow("label off") << QStringList{
        "Feature removed (" + main + "Label, index 1); Feature removed (" + main + "Label, index 0)"};
    QTest::newRow("level on") << QStringList{"Feature enabled (" + main + "Group > Level)"};
    QTest::newRow("on") << set("Group > On, \"false\" --> \"true\")");
    QTest::newRow("row insert") << QStringList{"Feature inserted (" + table + ", at index 1)"};
    QTest::newRow("row remove") << QStringList{"Feature removed (" + table + ", index 0)"};
    QTest::newRow("drop 0") << QStringList{"Feature reordered (" + table + ", index 0 --> 2)"};
    QTest::newRow("drop 0,1") << QStringList{
        "Feature reordered (" + table + ", index 1 --> 2); Feature reordered (" + table + ", index 0 --> 1)"};
    // The removed row's members come back under their ids, where the undo of the edit finds them.
    QTest::newRow("key edit, row remove")
        << QStringList{"Feature value set (" + table + " > Key, \"k1\" --> \"new\")",
                       "Feature removed (" + table + ", index 1)"};
    QTest::newRow("note on") << QStringList{"Feature enabled (" + table + " > Note)"};
    QTest::newRow("extra off") << QStringList{"Feature disabled (Scan > Extra)"};
    QTest::newRow("strobe on") << QStringList{"Feature enabled (" + main + "Strobe)"};
}

// Each user action through its widget, undone and redone: everything comes back exactly, and the
// document differs from the saved one exactly while it is not in the saved state.
void TestUserEdits::undoRedo()
{
    QFETCH(QStringList, descriptions);

    Document document;
    const QStringList before = state(document);
    act(document, QTest::currentDataTag());
    const QStringList after = state(document);
    QVERIFY(after != before);
    QCOMPARE(document.stack->count(), descriptions.size());
    for (int position = 0; position < descriptions.size(); ++position)
        QCOMPARE(document.stack->actionAt(position)->description(), descriptions.at(position));
    QVERIFY(document.stack->isStateChanged());

    document.window.log.clear();
    step(document, true, descriptions.size());
    QCOMPARE(state(document), before);
    QVERIFY(!document.stack->isStateChanged());
    QVERIFY(document.window.log.contains("updateDocumentState"));
    step(document, false, descriptions.size());
    QCOMPARE(state(document), after);

    document.stack->setOffsetFromInitial(0);
    step(document, true, 1);
    QVERIFY(document.stack->isStateChanged());
    step(document, false, 1);
    QVERIFY(!document.stack->isStateChanged());
    QCOMPARE(state(document), after);
}

QTEST_MAIN(TestUserEdits)
#include "../elements/moc_TestMainWindow.cpp"
#include "tst_useredits.moc"
