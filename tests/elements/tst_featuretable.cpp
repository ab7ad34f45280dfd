#include "ElementFixtures.h"
#include "elements/BooleanFeature.h"
#include "elements/EnumerationFeature.h"
#include "elements/FeatureTableFeature.h"
#include "elements/FeatureTableFeatureItemDelegate.h"
#include "elements/FeatureTableFeatureModel.h"
#include "elements/NumericFeature.h"
#include "elements/StringFeature.h"

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>

#include <memory>

using namespace Orvex;
using OrvexTest::HolderElement;

namespace {

using Model = FeatureTableFeatureModel;

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
// asked for; its copies, which make the table's rows, log into the same list.
template <class Feature>
class Probe : public Feature
{
public:
    Probe(ElementBase* a_parent, QStringList* a_log) : Feature(a_parent), m_log(a_log) {}
    Probe(const Probe* a_source, ElementBase* a_parent) : Feature(a_source, a_parent), m_log(a_source->m_log)
    {
    }
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

class TestFeatureTable : public QObject
{
    Q_OBJECT

private slots:
    void modelDump_data();
    void modelDump();
    void userActions_data();
    void userActions();
    void directInstanceChanges_data();
    void directInstanceChanges();
};

void TestFeatureTable::modelDump_data()
{
    QTest::addColumn<bool>("copy");
    QTest::newRow("built") << false;
    QTest::newRow("copy") << true;
}

// Every cell as a view asks for it, against tests/elements/data/featuretable/model.txt: the copy a new
// mode or a cloned row gets must show the very same.
void TestFeatureTable::modelDump()
{
    QFETCH(bool, copy);
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
    QCOMPARE(lines, OrvexTest::goldenLines(QStringLiteral("tests/elements/data/featuretable/model.txt")));
}

void TestFeatureTable::userActions_data()
{
    OrvexTest::addTextRows("tests/elements/data/featuretable/actions.txt");
}

void TestFeatureTable::userActions()
{
    QFETCH(QString, bounds);
    QFETCH(QString, action);
    QFETCH(QString, log);

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

    const QStringList words = action.split(' ');
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
        tree->itemDelegate()->setModelData(editor, model, index);
        // Closing commits once more, which must change nothing now.
        requests << "committed";
        QTest::keyClick(field, Qt::Key_Tab);
        requests << index.data().toString();
        QVERIFY(member->widget() != editor);
        QTRY_VERIFY(!editor);
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
    QCOMPARE((requests << labels(model)).join(" / "), log);
    QCOMPARE(model->index(0, 2).data().toInt(), 1);
}

void TestFeatureTable::directInstanceChanges_data()
{
    OrvexTest::addTextRows("tests/elements/data/featuretable/direct.txt");
}

// Undo and redo change the table directly, with an editor open on the first row.
void TestFeatureTable::directInstanceChanges()
{
    QFETCH(QString, change);
    QFETCH(QString, rows);
    QFETCH(QString, firstRow);

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
            if (model->index(row, 2).data().toInt() != row + 1)
                shown.last() += QStringLiteral("(handle %1)").arg(model->index(row, 2).data().toInt());
        }
        return shown.join(' ');
    };
    QCOMPARE(shownRows(), rows);
    // Lets the editor's delayed select-all (20 ms after it opened) fire on whatever the change left.
    QTest::qWait(30);
    QCOMPARE(model->rowCount(), int(table->instanceCount()) + 1);
    QCOMPARE(first.isValid() ? first.row() : -1, firstRow.toInt());
    QVERIFY(!first.isValid() || first.data() == "a");
    if (words[0] == "value" || words[0] == "highlight")
        QVERIFY(!changes.isEmpty() && changes.last().at(0).toModelIndex().row() == int(instance));
    if (words[0] == "highlight")
        QTRY_COMPARE(shownRows(), QStringLiteral("7a 8b 9c"));
}

QTEST_MAIN(TestFeatureTable)
#include "tst_featuretable.moc"
