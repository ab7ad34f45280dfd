#include "ElementFixtures.h"
#include "FileFixtures.h"
#include "elements/BooleanFeature.h"
#include "elements/EnumerationFeature.h"
#include "elements/FeatureListFeature.h"
#include "elements/FeatureTableFeature.h"
#include "elements/FeatureTableFeatureItemDelegate.h"
#include "elements/FeatureTableFeatureModel.h"
#include "elements/NumericFeature.h"
#include "elements/ReadableName.h"
#include "elements/StringFeature.h"

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QFrame>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>
#include <memory>

using namespace Orvex;
using OrvexTest::HolderElement;
using Model = FeatureTableFeatureModel;

namespace {

template <typename Feature>
Feature* makeTemplate(FeatureListFeatureBase* a_list, const QString& a_name, size_t a_min = 1,
                      size_t a_max = 1)
{
    auto* feature = new Feature(a_list);
    feature->setName(a_name);
    feature->setMaxOccurs(a_max);
    feature->setMinOccurs(a_min);
    return feature;
}

// Members Flag (boolean), Mode (enumeration A, B) and Sub (a list of one boolean, Inner), in that order.
void addMixedMembers(FeatureListFeatureBase* a_list)
{
    a_list->addMember(makeTemplate<BooleanFeature>(a_list, "Flag"));
    auto* mode = makeTemplate<EnumerationFeature>(a_list, "Mode");
    mode->addEntry("A");
    mode->addEntry("B");
    a_list->addMember(mode);
    auto* sub = makeTemplate<FeatureListFeature>(a_list, "Sub");
    sub->addMember(makeTemplate<BooleanFeature>(sub, "Inner"));
    a_list->addMember(sub);
}

// Instance i is the i-th row of the list widget, with the instance's form first in the row.
QFormLayout* form(FeatureListFeatureBase* a_list, size_t a_instance)
{
    QLayout* rows = a_list->widget() ? a_list->widget()->layout() : nullptr;
    QLayoutItem* rowItem = rows ? rows->itemAt(int(a_instance)) : nullptr;
    QWidget* row = rowItem ? rowItem->widget() : nullptr;
    // An instance without buttons has no row around its frame.
    if (row && qobject_cast<QFormLayout*>(row->layout()))
        return static_cast<QFormLayout*>(row->layout());
    QLayoutItem* formItem = row && row->layout() ? row->layout()->itemAt(0) : nullptr;
    QWidget* frame = formItem ? formItem->widget() : nullptr;
    return frame ? qobject_cast<QFormLayout*>(frame->layout()) : nullptr;
}

// A data set written as JSON, null standing for an entry that keeps its value.
QVariant dataSet(const QJsonValue& a_value)
{
    if (!a_value.isArray())
        return a_value.isNull() ? QVariant() : a_value.toVariant();
    QVariantList items;
    for (const QJsonValue& item : a_value.toArray())
        items << dataSet(item);
    return items;
}

QString describe(const QVector<FeatureElementBase::InstanceChange>& a_changes)
{
    static const char* const kinds[] = {"insert", "remove", "move"};
    QStringList parts;
    for (const FeatureElementBase::InstanceChange& change : a_changes) {
        parts << QStringLiteral("%1 %2").arg(kinds[change.kind]).arg(change.index);
        if (change.kind == FeatureElementBase::InstanceChange::Reinsert)
            parts.last() += QStringLiteral(">%1").arg(change.newIndex);
    }
    return parts.join(QStringLiteral("; "));
}

// A member that logs, under its name, each value change handed over for undo and each instance change
// asked for, and with apply set makes the change, as the undo command will; its copies, which make the
// list's instances and the table's rows, log into the same list.
template <class Feature>
class Probe : public Feature
{
public:
    Probe(ElementBase* a_parent, QStringList* a_log) : Feature(a_parent), m_log(a_log) {}
    Probe(const Probe* a_source, ElementBase* a_parent)
        : Feature(a_source, a_parent), apply(a_source->apply), m_log(a_source->m_log)
    {
    }
    using WidgetElementBase::setHighlightActive;
    bool apply = false;
    ValueFeatureElementBase* cloneFeature(ElementBase* a_parent) const override
    {
        return new Probe(this, a_parent);
    }

protected:
    void pushValueChange(size_t a_index, const QVariant& a_old, const QVariant& a_new) override
    {
        *m_log << QStringLiteral("%1: %2 %3 -> %4")
                      .arg(this->name())
                      .arg(a_index)
                      .arg(a_old.toString(), a_new.toString());
    }
    void requestInstanceChanges(const QVector<FeatureElementBase::InstanceChange>& a_changes) override
    {
        *m_log << this->name() + QStringLiteral(": ") + describe(a_changes);
        for (const FeatureElementBase::InstanceChange& change : a_changes) {
            if (apply && change.kind == FeatureElementBase::InstanceChange::Insert)
                this->insertInstance(change.index);
            else if (apply)
                this->removeInstance(change.index);
        }
    }

private:
    QStringList* m_log;
};

// Logs one line per request and makes the changes, as the undo commands will.
class ProbeTable : public FeatureTableFeature
{
public:
    ProbeTable(ElementBase* a_parent, QStringList* a_log) : FeatureTableFeature(a_parent), m_log(a_log) {}

protected:
    void requestInstanceChanges(const QVector<InstanceChange>& a_changes) override
    {
        *m_log << describe(a_changes);
        for (const InstanceChange& change : a_changes) {
            if (change.kind == InstanceChange::Insert)
                insertInstance(change.index);
            else if (change.kind == InstanceChange::Remove)
                removeInstance(change.index);
            else
                moveInstance(change.index, change.newIndex);
        }
    }

private:
    QStringList* m_log;
};

template <class Feature>
Probe<Feature>* makeMember(FeatureTableFeature* a_table, QStringList* a_log, const QString& a_name,
                           size_t a_min = 1)
{
    auto* member = new Probe<Feature>(a_table, a_log);
    member->setName(a_name);
    member->setMinOccurs(a_min);
    return member;
}

// Columns 3 to 7: Gain (int), Label, Mode (Auto, Manual), Extra (optional boolean), Flag (boolean). Row i
// has Gain 7 + i and Label "a" + i; only row 1 has Extra, only row 1 has Flag set and Mode "Manual".
ProbeTable* makeTable(HolderElement& a_holder, QStringList* a_log, int a_rows = 3, size_t a_min = 1,
                      size_t a_max = 6)
{
    auto* table = new ProbeTable(&a_holder, a_log);
    table->setMaxOccurs(a_max);
    table->setMinOccurs(a_min);
    auto* gain = makeMember<NumericFeature>(table, a_log, "Gain");
    gain->setRepresentationType(NumericFeature::RT_int);
    gain->setAnnotation("Sensor gain");
    table->addMember(gain);
    table->addMember(makeMember<StringFeature>(table, a_log, "Label"));
    auto* mode = makeMember<EnumerationFeature>(table, a_log, "Mode");
    mode->addEntry("Auto");
    mode->addEntry("Manual");
    table->addMember(mode);
    table->addMember(makeMember<BooleanFeature>(table, a_log, "Extra", 0));
    table->addMember(makeMember<BooleanFeature>(table, a_log, "Flag"));

    QVariantList rows;
    for (int row = 0; row < a_rows; ++row) {
        const bool odd = row == 1;
        rows << QVariant(QVariantList{QVariantList{7 + row}, QVariantList{QString(QChar('a' + row))},
                                      QVariantList{odd ? "Manual" : "Auto"},
                                      odd ? QVariantList{true} : QVariantList{}, QVariantList{odd}});
    }
    table->setDataSet(rows);
    a_log->clear();
    return table;
}

QString labels(Model* a_model)
{
    QString text;
    for (int row = 0; row < a_model->instanceRows(); ++row)
        text += a_model->index(row, 4).data().toString().leftJustified(1, '_');
    return text;
}

QTreeView* showTable(FeatureTableFeature* a_table)
{
    auto* tree = qobject_cast<QTreeView*>(a_table->createWidget());
    tree->resize(1800, 400);
    tree->show();
    return QTest::qWaitForWindowExposed(tree) ? tree : nullptr;
}

} // namespace

class TestFeatureLists : public QObject
{
    Q_OBJECT

private slots:
    // Tabs and table columns show these in place of the XML names.
    void readableName_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/elements/data/readable-names.txt"), {"name", "shown"});
    }

    void readableName()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, shown);
        QCOMPARE(ReadableName::of(name), QString(shown));
    }

    void memberRows_data() { OrvexTest::addTextRows("tests/elements/data/featurelist/members.txt"); }

    void memberRows()
    {
        QFETCH(QString, occurs);
        QFETCH(QString, toolTip);
        QFETCH(QString, click);
        const bool present = OrvexTest::rowFlag("present"), framed = OrvexTest::rowFlag("framed");
        const bool addedToShownForm = OrvexTest::rowFlag("addedToShownForm");
        const size_t minOccurs = occurs.section("..", 0, 0).toULongLong(),
                     maxOccurs = occurs.section("..", 1).toULongLong();
        toolTip.replace("hint", "Check or uncheck to enable or disable this feature.");

        QStringList log;
        HolderElement holder;
        auto* list = new FeatureListFeature(&holder);
        auto* memberTemplate = new Probe<BooleanFeature>(list, &log);
        memberTemplate->apply = click == "apply";
        memberTemplate->setName("Gain");
        memberTemplate->setMaxOccurs(maxOccurs);
        memberTemplate->setMinOccurs(minOccurs);
        memberTemplate->setAnnotation(OrvexTest::rowText("annotation"));
        memberTemplate->setEnabled(present);
        list->setFramed(addedToShownForm ? !framed : framed);
        if (addedToShownForm)
            list->createWidget();
        QVERIFY(list->addMember(memberTemplate));
        FeatureElementBase* member = list->member(0, 0);
        QVERIFY(member && member != memberTemplate && member->isEnabled() == present);
        QCOMPARE(member->widget() != nullptr, addedToShownForm);

        list->createWidget()->show();
        list->setFramed(framed);
        QFormLayout* layout = form(list, 0);
        QVERIFY(layout && layout->rowCount() == 1);
        QCOMPARE(layout->itemAt(0, QFormLayout::FieldRole)->widget(), member->widget());
        QWidget* label = layout->itemAt(0, QFormLayout::LabelRole)->widget();
        QCOMPARE(label->toolTip(), toolTip);
        auto* box = qobject_cast<QCheckBox*>(label);
        QCOMPARE(label->property("text").toString(), QStringLiteral("Gain"));
        QCOMPARE(box != nullptr, minOccurs == 0 && maxOccurs == 1);
        QVERIFY(!box || box->isChecked() == present);
        auto* frame = qobject_cast<QFrame*>(layout->parentWidget());
        QCOMPARE(frame->frameShape(), framed ? QFrame::StyledPanel : QFrame::NoFrame);
        QCOMPARE(layout->contentsMargins().left() > 0, framed);
        if (click.isEmpty())
            return;

        QVERIFY(QTest::qWaitForWindowExposed(list->widget()));
        QTest::mouseClick(box, Qt::LeftButton);
        const bool presentAfter = click == "apply" ? !present : present;
        QCOMPARE(log, QStringList{present ? "Gain: remove 0" : "Gain: insert 0"});
        QVERIFY(member->isEnabled() == presentAfter && box->isChecked() == presentAfter);
        QCOMPARE(memberTemplate->isEnabled(), present);
        // Undo and redo change the member directly; the box follows.
        member->setEnabled(!presentAfter);
        QCOMPARE(box->isChecked(), !presentAfter);
    }

    void instancesFromTemplates()
    {
        for (bool withWidget : {false, true}) {

            HolderElement holder;
            auto* list = new FeatureListFeature(&holder);
            list->setMaxOccurs(3);
            addMixedMembers(list);
            const QVector<FeatureElementBase*> templates = list->memberTemplates();
            templates[0]->setProperty("value", true);
            QVERIFY(!list->addMember(templates[0]) && !list->addMember(nullptr) && !list->addMember(list));
            if (withWidget)
                list->createWidget();
            QVERIFY(list->insertInstance(0) && list->insertInstance(FeatureElementBase::NoIndex));
            QCOMPARE(list->members().size(), 9);

            QSet<quint64> ids;
            for (size_t instance = 0; instance < 3; ++instance) {
                const QVector<FeatureElementBase*> group = list->instanceMembers(instance);
                QCOMPARE(group.size(), 3);
                // The instance the list started with was made before the template value was set.
                QCOMPARE(group[0]->dataSet(), QVariantList{instance != 1});
                for (int position = 0; position < group.size(); ++position) {
                    QCOMPARE(group[position]->name(), templates[position]->name());
                    QVERIFY(group[position]->id() != templates[position]->id() &&
                            !ids.contains(group[position]->id()));
                    ids.insert(group[position]->id());
                    size_t foundInstance = 99, foundPosition = 99;
                    QVERIFY(list->memberPosition(group[position], &foundInstance, &foundPosition));
                    QCOMPARE(int(foundInstance * 10 + foundPosition), int(instance * 10) + position);
                }
                QCOMPARE(form(list, instance) ? form(list, instance)->rowCount() : -1, withWidget ? 3 : -1);
                QCOMPARE(group[0]->widget() != nullptr, withWidget);
            }
            QVERIFY(!list->memberPosition(templates[0], nullptr, nullptr));

            // Depth first: Flag, Mode, Sub, then the members of Sub's instance.
            const auto sub = [list] { return qobject_cast<FeatureListFeatureBase*>(list->member(0, 2)); };
            const QVector<quint64> memberIds = list->memberIds(0);
            QCOMPARE(memberIds.size(), 4);
            QCOMPARE(memberIds[3], sub()->member(0, 0)->id());
            FeatureElementBase* moved = list->member(2, 1);
            QVERIFY(list->moveInstance(2, 1));
            QCOMPARE(list->member(1, 1), moved);

            // The undo of a removal: the instance comes back with fresh members, then gets the old ids.
            QVERIFY(list->removeInstance(0) && list->insertInstance(0));
            QVERIFY(!ElementBase::findById(memberIds[0]) && !memberIds.contains(list->member(0, 0)->id()));
            QCOMPARE(list->member(1, 1), moved);
            QVERIFY(!list->setMemberIds(0, memberIds.mid(0, 3)) &&
                    !list->setMemberIds(0, memberIds + memberIds));
            QVERIFY(list->setMemberIds(0, memberIds) && !list->setMemberIds(3, memberIds));
            QCOMPARE(list->memberIds(0), memberIds);
            QCOMPARE(ElementBase::findById(memberIds[3]), sub()->member(0, 0));
        }
    }

    void dataSetRoundTrip_data() { OrvexTest::addTextRows("tests/elements/data/featurelist/datasets.txt"); }

    void dataSetRoundTrip()
    {
        const QVariant input = dataSet(QJsonDocument::fromJson(OrvexTest::rowText("input").toUtf8()).array());
        const QVariant expected =
            dataSet(QJsonDocument::fromJson(OrvexTest::rowText("expected").toUtf8()).array());
        const bool withWidget = OrvexTest::rowFlag("withWidget");

        HolderElement holder;
        auto* list = new FeatureListFeature(&holder);
        list->setMaxOccurs(3);
        list->setMinOccurs(0);
        addMixedMembers(list);
        if (withWidget)
            list->createWidget();

        list->setProperty("dataSet", input);
        QCOMPARE(list->property("dataSet"), expected);
        if (withWidget && list->instanceCount() > 0) {
            const bool flag = expected.toList()[0].toList()[0].toList()[0].toBool();
            QCOMPARE(list->member(0, 0)->widget()->findChild<QCheckBox*>()->isChecked(), flag);
        }

        std::unique_ptr<FeatureListFeatureBase> copy(list->cloneList(&holder));
        QCOMPARE(copy->dataSet(), expected);
        QVERIFY(copy->memberCount() == 3 && copy->memberTemplates()[2] != list->memberTemplates()[2]);
        for (FeatureElementBase* member : copy->members())
            QVERIFY(!list->members().contains(member));
    }

    void highlightAggregation_data()
    {
        OrvexTest::addTextRows("tests/elements/data/featurelist/highlight.txt");
    }

    void highlightAggregation()
    {

        QStringList log;
        HolderElement holder;
        auto* list = new FeatureListFeature(&holder);
        list->setMaxOccurs(2);
        list->addMember(new Probe<BooleanFeature>(list, &log));
        list->insertInstance(FeatureElementBase::NoIndex);
        const QPointer<Probe<BooleanFeature>> a = static_cast<Probe<BooleanFeature>*>(list->member(0, 0));
        const QPointer<Probe<BooleanFeature>> b = static_cast<Probe<BooleanFeature>*>(list->member(1, 0));

        for (const QString& step : OrvexTest::rowText("steps").split(' ')) {
            if (step[0] == 'r')
                QVERIFY(list->removeInstance(0));
            else
                (step[0] == 'a' ? a : b)->setHighlightActive(step[1] == '+');
            QVERIFY2(list->isHighlightActive() == (step.back() == '1'), qPrintable(step));
        }
    }

    void raiseLower()
    {
        HolderElement holder;
        auto* list = new FeatureListFeature(&holder);
        addMixedMembers(list);
        const auto membersRaised = [list](bool a_raised) {
            for (FeatureElementBase* member : list->members()) {
                if (member->isRaised() != a_raised)
                    return false;
            }
            return !list->memberTemplates()[0]->isRaised();
        };

        // A member raises the list, which raises its page and all its members.
        list->member(0, 1)->raise();
        QVERIFY(list->isRaised() && holder.isRaised() && membersRaised(true));
        list->lower();
        QVERIFY(!list->isRaised() && holder.isRaised() && membersRaised(false));
        list->raise();
        QVERIFY(membersRaised(true));
    }

    // Every cell as a view asks for it, against tests/elements/data/featuretable/model.txt: the copy a new
    // mode or a cloned row gets must show the very same.
    void modelDump()
    {
        for (bool copy : {false, true}) {
            QStringList log;
            HolderElement holder;
            FeatureTableFeature* table = makeTable(holder, &log);
            if (copy) {
                auto* source = table;
                table = qobject_cast<FeatureTableFeature*>(source->cloneList(&holder));
                QVERIFY(table);
                delete source;
            }
            Model* model = table->model();
            QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
            QStringList lines;
            for (int column = 0; column < model->columnCount(); ++column)
                lines << QStringLiteral("header %1: %2")
                             .arg(column)
                             .arg(model->headerData(column, Qt::Horizontal).toString());
            const auto text = [](const QVariant& a_value) {
                return a_value.isValid() ? QLatin1Char('"') + a_value.toString() + QLatin1Char('"')
                                         : QStringLiteral("-");
            };
            for (int row = 0; row < model->rowCount(); ++row) {
                for (int column = 0; column < model->columnCount(); ++column) {
                    const QModelIndex index = model->index(row, column);
                    const Qt::ItemFlags flags = index.flags();
                    lines << QStringLiteral("%1,%2 %3%4%5 display=%6 edit=%7 tip=%8 align=0x%9 check=%10")
                                 .arg(row)
                                 .arg(column)
                                 .arg(flags & Qt::ItemIsEnabled ? 'E' : '.')
                                 .arg(flags & Qt::ItemIsEditable ? 'W' : '.')
                                 .arg(flags & Qt::ItemIsUserCheckable ? 'C' : '.')
                                 .arg(text(index.data()), text(index.data(Qt::EditRole)),
                                      text(index.data(Qt::ToolTipRole)))
                                 .arg(index.data(Qt::TextAlignmentRole).toInt(), 0, 16)
                                 .arg(text(index.data(Qt::CheckStateRole)));
                }
            }
            QCOMPARE(lines,
                     OrvexTest::goldenLines(QStringLiteral("tests/elements/data/featuretable/model.txt")));
        }
    }

    void userActions_data() { OrvexTest::addTextRows("tests/elements/data/featuretable/actions.txt"); }

    void userActions()
    {
        QFETCH(QString, bounds);

        QStringList requests;
        HolderElement holder;
        ProbeTable* table = makeTable(holder, &requests, 5, bounds.section("..", 0, 0).toULongLong(),
                                      bounds.section("..", 1).toULongLong());
        QTreeView* tree = showTable(table);
        QVERIFY(tree);
        tree->setDragEnabled(false);
        Model* model = table->model();
        QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy changes(model, &QAbstractItemModel::dataChanged);

        const QStringList words = OrvexTest::rowText("action").split(' ');
        bool accepted = true;
        if (words[0] == "click") {
            const QModelIndex index = model->index(words[1].toInt(), words[2].toInt());
            if (!(index.flags() & Qt::ItemIsEnabled))
                requests << "disabled";
            const QRect cell = tree->visualRect(index);
            QVERIFY(tree->viewport()->rect().contains(cell.center()));
            QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, cell.center());
        } else if (words[0] == "check") {
            const QModelIndex index = model->index(words[1].toInt(), words[2].toInt());
            const bool checked = words[3] == "1";
            accepted = model->setData(index, int(checked ? Qt::Checked : Qt::Unchecked), Qt::CheckStateRole);
            if (!changes.isEmpty())
                requests << "changed";
            QVERIFY(words[2] != "7" || (index.data(Qt::CheckStateRole).toInt() == Qt::Checked) == checked);
        } else if (words[0] == "edit") {
            const QModelIndex index = model->index(words[1].toInt(), words[2].toInt());
            FeatureElementBase* member = model->memberAt(index);
            QVERIFY(!member->widget());
            tree->edit(index);
            QPointer<QWidget> editor = member->widget();
            QVERIFY(editor && editor->parentWidget() == tree->viewport() && editor->isVisible());
            QWidget* field = editor->focusProxy();
            if (auto* spinBox = qobject_cast<QDoubleSpinBox*>(field))
                spinBox->setValue(words[3].toDouble());
            else if (auto* lineEdit = qobject_cast<QLineEdit*>(field))
                lineEdit->setText(words[3]);
            else if (auto* comboBox = qobject_cast<QComboBox*>(field))
                comboBox->setCurrentIndex(comboBox->findData(words[3]));
            const bool escaped = words.value(4) == "Escape";
            if (!escaped) {
                tree->itemDelegate()->setModelData(editor, model, index);
                // Closing commits once more, which must change nothing now.
                requests << "committed";
            }
            QTest::keyClick(field, escaped ? Qt::Key_Escape : Qt::Key_Tab);
            requests << index.data().toString();
            QVERIFY(member->widget() != editor);
            QTRY_VERIFY(!editor);
        } else if (words[0] == "key") {
            // Rows selected, then a key pressed in the view.
            for (const QString& row : words[1].split(',', Qt::SkipEmptyParts))
                tree->selectionModel()->select(model->index(row.toInt(), 0),
                                               QItemSelectionModel::Select | QItemSelectionModel::Rows);
            QTest::keySequence(tree, QKeySequence(words[2]));
            for (const QModelIndex& selected : tree->selectionModel()->selectedRows())
                requests << "selected " + QString::number(selected.row());
        } else if (words[0] == "drag") {
            QModelIndexList indexes;
            for (const QString& row : words[1].split(',')) {
                for (int column = 0; column < model->columnCount(); ++column)
                    indexes << model->index(row.toInt(), column);
            }
            std::unique_ptr<QMimeData> data(model->mimeData(indexes));
            requests << (data ? QString::fromLatin1(data->data(model->mimeTypes().value(0))) : "no payload");
        } else {
            QMimeData data;
            data.setData(words.value(4, Model::MimeType), words[1].toLatin1());
            const QModelIndex parent = words[3] == "-1" ? QModelIndex() : model->index(words[3].toInt(), 3);
            accepted = model->dropMimeData(&data, Qt::MoveAction, words[2].toInt(), 0, parent);
        }
        if (!accepted)
            requests << "refused";
        if (tree->dragEnabled())
            requests << "drag";
        QCOMPARE((requests << labels(model)).join(" / "), OrvexTest::rowText("log"));
        QCOMPARE(model->index(0, 2).data(Qt::EditRole).toInt(), 1);
    }

    void directInstanceChanges_data()
    {
        OrvexTest::addTextRows("tests/elements/data/featuretable/direct.txt");
    }

    // Undo and redo change the table directly, with an editor open on the first row.
    void directInstanceChanges()
    {
        QFETCH(QString, change);

        QStringList log;
        HolderElement holder;
        ProbeTable* table = makeTable(holder, &log);
        QTreeView* tree = showTable(table);
        QVERIFY(tree);
        Model* model = table->model();
        QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy changes(model, &QAbstractItemModel::dataChanged);
        const QPersistentModelIndex first = model->index(0, 4);
        tree->edit(first);
        QVERIFY(table->member(0, 1)->widget());

        const QStringList words = change.split(' ');
        const size_t instance = words[1].toULongLong();
        if (words[0] == "insert")
            QVERIFY(table->insertInstance(instance));
        else if (words[0] == "remove")
            QVERIFY(table->removeInstance(instance));
        else if (words[0] == "move")
            QVERIFY(table->moveInstance(instance, words[2].toULongLong()));
        else if (words[0] == "value")
            qobject_cast<ValueFeatureElementBase*>(table->member(instance, 0))->setValue(size_t(0), 40);
        else if (table->member(instance, 1)->createWidget())
            table->member(instance, 1)->highlight(0);

        const auto shownRows = [model] {
            QStringList shown;
            for (int row = 0; row < model->instanceRows(); ++row) {
                shown << QString();
                for (int column : {3, 4}) {
                    const QModelIndex index = model->index(row, column);
                    shown.last() += index.data().toString().leftJustified(1, '_');
                    if (index.data(Qt::BackgroundRole).isValid() || index.data(Qt::ForegroundRole).isValid())
                        shown.last() += '*';
                }
                if (model->index(row, 2).data(Qt::EditRole).toInt() != row + 1)
                    shown.last() +=
                        QStringLiteral("(handle %1)").arg(model->index(row, 2).data(Qt::EditRole).toInt());
            }
            return shown.join(' ');
        };
        QCOMPARE(shownRows(), OrvexTest::rowText("rows"));
        // Lets the editor's delayed select-all (20 ms after it opened) fire on whatever the change left.
        QTest::qWait(30);
        QCOMPARE(model->rowCount(), int(table->instanceCount()) + 1);
        QCOMPARE(first.isValid() ? first.row() : -1, OrvexTest::rowText("firstRow").toInt());
        QVERIFY(!first.isValid() || first.data() == "a");
        if (words[0] == "value" || words[0] == "highlight")
            QVERIFY(!changes.isEmpty() && changes.last().at(0).toModelIndex().row() == int(instance));
        if (words[0] == "highlight")
            QTRY_COMPARE(shownRows(), QStringLiteral("7a 8b 9c"));
    }
};

QTEST_MAIN(TestFeatureLists)
#include "tst_featurelist.moc"
