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

namespace {

using Model = FeatureTableFeatureModel;

// Stands for the cell's enabled, editable and checkable flags in tables of roles.
constexpr int FlagsRole = -1;

class HolderElement : public WidgetElementBase
{
public:
    using WidgetElementBase::WidgetElementBase;
    void highlight(size_t) override {}
};

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
// asked for; its copies log into the same list.
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
    void modelContents_data();
    void modelContents();
    void mimePayload();
    void drop_data();
    void drop();
    void rowButtons_data();
    void rowButtons();
    void delegateEdit_data();
    void delegateEdit();
    void checkStates_data();
    void checkStates();
    void directInstanceChanges_data();
    void directInstanceChanges();
    void memberHighlight();
};

void TestFeatureTable::modelContents_data()
{
    QTest::addColumn<bool>("copy");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("role");
    QTest::addColumn<QVariant>("expected");

    const int display = Qt::DisplayRole, tip = Qt::ToolTipRole, align = Qt::TextAlignmentRole;
    const int check = Qt::CheckStateRole, flags = FlagsRole;
    const QVariant none, checked = int(Qt::Checked);
    const Qt::ItemFlags enabled = Qt::ItemIsEnabled, editable = Qt::ItemIsEditable;
    const Qt::ItemFlags checkable = Qt::ItemIsUserCheckable;
    for (bool copy : {false, true}) {
        const auto row = [copy](const char* a_name) {
            return &(QTest::newRow(qPrintable(QString(a_name) + (copy ? " (copy)" : ""))) << copy);
        };
        *row("insert") << 0 << 0 << display << QVariant("+");
        *row("insert, appending row") << 3 << 0 << display << QVariant("+");
        *row("insert tip") << 1 << 0 << tip << QVariant("Insert");
        *row("remove") << 2 << 1 << display << QVariant("-");
        *row("remove tip") << 2 << 1 << tip << QVariant("Remove");
        *row("no remove on appending row") << 3 << 1 << display << none;
        *row("handle counts from 1") << 2 << 2 << display << QVariant(3);
        *row("handle tip") << 2 << 2 << tip << QVariant("Drag and drop to reorder");
        *row("handle centred") << 0 << 2 << align << QVariant(int(Qt::AlignCenter));
        *row("no handle on appending row") << 3 << 2 << display << none;
        *row("numeric") << 1 << 3 << display << QVariant("8");
        *row("member tip") << 2 << 3 << tip << QVariant("Sensor gain");
        *row("member alignment") << 0 << 4 << align << QVariant(int(Qt::AlignLeft | Qt::AlignVCenter));
        *row("string") << 2 << 4 << display << QVariant("c");
        *row("string edit role") << 0 << 4 << int(Qt::EditRole) << QVariant("a");
        *row("enumeration") << 1 << 5 << display << QVariant("Manual");
        *row("optional present") << 1 << 6 << check << checked;
        *row("optional absent") << 2 << 6 << check << QVariant(int(Qt::Unchecked));
        *row("optional absent shows nothing") << 0 << 6 << display << QVariant(QString());
        *row("boolean value as check") << 1 << 7 << check << checked;
        *row("no check on numeric") << 0 << 3 << check << none;
        *row("nothing on appending row") << 3 << 4 << display << none;
        *row("numeric flags") << 0 << 3 << flags << QVariant(int(enabled | editable));
        *row("optional absent flags") << 0 << 6 << flags << QVariant(int(enabled | checkable));
        *row("optional present flags") << 1 << 6 << flags << QVariant(int(enabled | editable | checkable));
        *row("boolean flags") << 0 << 7 << flags << QVariant(int(enabled | checkable));
        *row("insert enabled below maximum") << 3 << 0 << flags << QVariant(int(enabled));
        *row("appending row's member flags") << 3 << 3 << flags << QVariant(0);
    }
}

void TestFeatureTable::modelContents()
{
    QFETCH(bool, copy);
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(int, role);
    QFETCH(QVariant, expected);

    QStringList log;
    HolderElement holder(nullptr, nullptr);
    FeatureTableFeature* table = makeTable(holder, &log);
    if (copy) {
        auto* source = table;
        table = qobject_cast<FeatureTableFeature*>(source->cloneList(&holder));
        QVERIFY(table);
        delete source;
    }
    Model* model = table->model();
    QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(model->rowCount(), 4);
    QCOMPARE(model->columnCount(), 8);
    QCOMPARE(model->headerData(5, Qt::Horizontal).toString(), QStringLiteral("Mode"));
    const QModelIndex index = model->index(row, column);
    const Qt::ItemFlags flags =
        index.flags() & (Qt::ItemIsEnabled | Qt::ItemIsEditable | Qt::ItemIsUserCheckable);
    QCOMPARE(role == FlagsRole ? QVariant(int(flags)) : index.data(role), expected);
}

void TestFeatureTable::mimePayload()
{
    QStringList log;
    HolderElement holder(nullptr, nullptr);
    Model* model = makeTable(holder, &log)->model();
    const QString type = QStringLiteral("QuarnelOrvex/FeatureTableRow");
    // As the view drags them: every column of the selected rows.
    const auto payload = [model, &type](const QList<int>& a_rows) {
        QModelIndexList indexes;
        for (int row : a_rows) {
            for (int column = 0; column < model->columnCount(); ++column)
                indexes << model->index(row, column);
        }
        std::unique_ptr<QMimeData> data(model->mimeData(indexes));
        return data ? data->data(type) : QByteArray();
    };
    QCOMPARE(model->mimeTypes(), QStringList{type});
    QCOMPARE(payload({2, 0}), QByteArray("0,2,"));
    QCOMPARE(payload({1}), QByteArray("1,"));
    QVERIFY(payload({3}).isNull() && payload({}).isNull());

    QMimeData other;
    other.setData("text/plain", "2,");
    QVERIFY(!model->dropMimeData(&other, Qt::MoveAction, 0, 0, QModelIndex()));
    QVERIFY(log.isEmpty());
}

void TestFeatureTable::drop_data()
{
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("parentRow");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QStringList>("requests");
    QTest::addColumn<QString>("order");

    const QStringList nothing;
    QTest::newRow("0 and 2 before 1")
        << QByteArray("0,2,") << 1 << -1 << true << QStringList{"move 2>1"} << "acbde";
    QTest::newRow("onto its own place") << QByteArray("1,") << 1 << -1 << true << nothing << "abcde";
    QTest::newRow("just below itself") << QByteArray("1,") << 2 << -1 << true << nothing << "abcde";
    QTest::newRow("block onto itself") << QByteArray("1,2,") << 3 << -1 << true << nothing << "abcde";
    QTest::newRow("to the end") << QByteArray("0,1,") << -1 << -1 << true << QStringList{"move 1>4; move 0>3"}
                                << "cdeab";
    QTest::newRow("up to the top") << QByteArray("3,4,") << 0 << -1 << true
                                   << QStringList{"move 3>0; move 4>1"} << "deabc";
    QTest::newRow("from both sides") << QByteArray("4,0,") << 2 << -1 << true
                                     << QStringList{"move 0>1; move 4>2"} << "baecd";
    QTest::newRow("onto a row") << QByteArray("4,") << -1 << 1 << true << QStringList{"move 4>1"} << "aebcd";
    QTest::newRow("below the appending row")
        << QByteArray("0,") << 7 << -1 << true << QStringList{"move 0>4"} << "bcdea";
    QTest::newRow("empty parts, no trailing comma")
        << QByteArray(",3,,1") << 0 << -1 << true << QStringList{"move 1>0; move 3>1"} << "bdace";
    QTest::newRow("malformed part") << QByteArray("1,x,") << 0 << -1 << false << nothing << "abcde";
    QTest::newRow("negative row") << QByteArray("-1,") << 0 << -1 << false << nothing << "abcde";
    QTest::newRow("row beyond the instances") << QByteArray("2,5,") << 0 << -1 << false << nothing << "abcde";
    QTest::newRow("commas only") << QByteArray(",,") << 0 << -1 << false << nothing << "abcde";
}

void TestFeatureTable::drop()
{
    QFETCH(QByteArray, payload);
    QFETCH(int, row);
    QFETCH(int, parentRow);
    QFETCH(bool, accepted);
    QFETCH(QStringList, requests);
    QFETCH(QString, order);

    QStringList log;
    HolderElement holder(nullptr, nullptr);
    Model* model = makeTable(holder, &log, 5)->model();
    QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QMimeData data;
    data.setData("QuarnelOrvex/FeatureTableRow", payload);
    const QModelIndex parent = parentRow < 0 ? QModelIndex() : model->index(parentRow, 3);
    QCOMPARE(model->dropMimeData(&data, Qt::MoveAction, row, 0, parent), accepted);
    QCOMPARE(log, requests);
    QCOMPARE(labels(model), order);
    QCOMPARE(model->index(0, 2).data().toInt(), 1);
}

void TestFeatureTable::rowButtons_data()
{
    QTest::addColumn<int>("minOccurs");
    QTest::addColumn<int>("maxOccurs");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<QStringList>("requests");
    QTest::addColumn<bool>("dragEnabled");

    QTest::newRow("insert before row 1") << 1 << 6 << 1 << 0 << QStringList{"insert 1"} << false;
    QTest::newRow("insert on appending row") << 1 << 6 << 3 << 0 << QStringList{"insert 3"} << false;
    QTest::newRow("insert at the maximum") << 1 << 3 << 3 << 0 << QStringList() << false;
    QTest::newRow("remove row 2") << 1 << 6 << 2 << 1 << QStringList{"remove 2"} << false;
    QTest::newRow("remove at the minimum") << 3 << 6 << 0 << 1 << QStringList() << false;
    QTest::newRow("handle starts a drag") << 1 << 6 << 1 << 2 << QStringList() << true;
    QTest::newRow("member cell does not") << 1 << 6 << 1 << 4 << QStringList() << false;
}

void TestFeatureTable::rowButtons()
{
    QFETCH(int, minOccurs);
    QFETCH(int, maxOccurs);
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(QStringList, requests);
    QFETCH(bool, dragEnabled);

    QStringList log;
    HolderElement holder(nullptr, nullptr);
    ProbeTable* table = makeTable(holder, &log, 3, size_t(minOccurs), size_t(maxOccurs));
    QTreeView* tree = showTable(table);
    QVERIFY(tree);
    QCOMPARE(tree->styleSheet(), QStringLiteral("QLineEdit, QAbstractSpinBox {background-color:white;}"));
    QCOMPARE(tree->sizePolicy().verticalStretch(), 1);
    tree->setDragEnabled(!dragEnabled);

    const QRect cell = tree->visualRect(table->model()->index(row, column));
    QVERIFY(tree->viewport()->rect().contains(cell.center()));
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, cell.center());
    QCOMPARE(log, requests);
    QCOMPARE(tree->dragEnabled(), dragEnabled);
}

void TestFeatureTable::delegateEdit_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<QVariant>("input");
    QTest::addColumn<QStringList>("pushes");
    QTest::addColumn<QString>("shown");

    QTest::newRow("numeric") << 1 << 3 << QVariant(12) << QStringList{"Gain: 0 8 -> 12"} << "12";
    QTest::newRow("numeric left as shown") << 1 << 3 << QVariant(8) << QStringList() << "8";
    QTest::newRow("string") << 2 << 4 << QVariant("zz") << QStringList{"Label: 0 c -> zz"} << "zz";
    QTest::newRow("enumeration") << 0 << 5 << QVariant("Manual") << QStringList{"Mode: 0 Auto -> Manual"}
                                 << "Manual";
}

void TestFeatureTable::delegateEdit()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(QVariant, input);
    QFETCH(QStringList, pushes);
    QFETCH(QString, shown);

    QStringList log;
    HolderElement holder(nullptr, nullptr);
    ProbeTable* table = makeTable(holder, &log);
    QTreeView* tree = showTable(table);
    QVERIFY(tree);
    const QModelIndex index = table->model()->index(row, column);
    FeatureElementBase* member = table->model()->memberAt(index);
    QVERIFY(!member->widget());

    tree->edit(index);
    QPointer<QWidget> editor = member->widget();
    QVERIFY(editor && editor->parentWidget() == tree->viewport() && editor->isVisible());
    QWidget* field = editor->focusProxy();
    QVERIFY(field);
    if (auto* spinBox = qobject_cast<QDoubleSpinBox*>(field))
        spinBox->setValue(input.toDouble());
    else if (auto* lineEdit = qobject_cast<QLineEdit*>(field))
        lineEdit->setText(input.toString());
    else if (auto* comboBox = qobject_cast<QComboBox*>(field))
        comboBox->setCurrentIndex(comboBox->findData(input));

    tree->itemDelegate()->setModelData(editor, table->model(), index);
    QCOMPARE(log, pushes);
    // Closing commits once more, which changes nothing now.
    QTest::keyClick(field, Qt::Key_Tab);
    QCOMPARE(log, pushes);
    QCOMPARE(index.data().toString(), shown);
    QVERIFY(member->widget() != editor);
    QTRY_VERIFY(!editor);
}

void TestFeatureTable::checkStates_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QStringList>("requests");

    QTest::newRow("optional switched on") << 0 << 6 << true << true << QStringList{"Extra: insert 0"};
    QTest::newRow("optional switched off") << 1 << 6 << false << true << QStringList{"Extra: remove 0"};
    QTest::newRow("boolean set") << 2 << 7 << true << true << QStringList{"Flag: 0 false -> true"};
    QTest::newRow("boolean unchanged") << 2 << 7 << false << true << QStringList();
    QTest::newRow("numeric has no check box") << 0 << 3 << true << false << QStringList();
}

void TestFeatureTable::checkStates()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(bool, checked);
    QFETCH(bool, accepted);
    QFETCH(QStringList, requests);

    QStringList log;
    HolderElement holder(nullptr, nullptr);
    Model* model = makeTable(holder, &log)->model();
    QSignalSpy changes(model, &QAbstractItemModel::dataChanged);
    const QModelIndex index = model->index(row, column);
    QCOMPARE(model->setData(index, int(checked ? Qt::Checked : Qt::Unchecked), Qt::CheckStateRole), accepted);
    QCOMPARE(log, requests);
    QCOMPARE(changes.isEmpty(), !accepted);
    if (column == 7)
        QCOMPARE(index.data(Qt::CheckStateRole).toInt() == Qt::Checked, checked);
}

void TestFeatureTable::directInstanceChanges_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("order");
    QTest::addColumn<QString>("gains");
    // Where the row that was first is now, -1 when it is gone.
    QTest::addColumn<int>("firstRow");

    QTest::newRow("insert in the middle") << "insert 1"
                                          << "a_bc"
                                          << "7 0 8 9" << 0;
    QTest::newRow("insert at the top") << "insert 0"
                                       << "_abc"
                                       << "0 7 8 9" << 1;
    QTest::newRow("append") << "insert 9"
                            << "abc_"
                            << "7 8 9 0" << 0;
    QTest::newRow("remove the first") << "remove 0"
                                      << "bc"
                                      << "8 9" << -1;
    QTest::newRow("move down") << "move 0 2"
                               << "bca"
                               << "8 9 7" << 2;
    QTest::newRow("move up") << "move 2 0"
                             << "cab"
                             << "9 7 8" << 1;
    QTest::newRow("value") << "value 2"
                           << "abc"
                           << "7 8 40" << 0;
}

void TestFeatureTable::directInstanceChanges()
{
    QFETCH(QString, change);
    QFETCH(QString, order);
    QFETCH(QString, gains);
    QFETCH(int, firstRow);

    QStringList log;
    HolderElement holder(nullptr, nullptr);
    ProbeTable* table = makeTable(holder, &log);
    QTreeView* tree = showTable(table);
    QVERIFY(tree);
    Model* model = table->model();
    QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QSignalSpy changes(model, &QAbstractItemModel::dataChanged);
    const QPersistentModelIndex first = model->index(0, 4);
    // An editor open on the first row must survive the change or go with the row.
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
    else
        qobject_cast<ValueFeatureElementBase*>(table->member(instance, 0))->setValue(size_t(0), 40);

    QStringList shownGains;
    for (int row = 0; row < model->instanceRows(); ++row) {
        shownGains << model->index(row, 3).data().toString();
        QCOMPARE(model->index(row, 2).data().toInt(), row + 1);
    }
    QCOMPARE(labels(model), order);
    QCOMPARE(shownGains.join(' '), gains);
    QTest::qWait(30);
    QCOMPARE(model->rowCount(), int(table->instanceCount()) + 1);
    QCOMPARE(first.isValid() ? first.row() : -1, firstRow);
    QVERIFY(!first.isValid() || first.data() == "a");
    if (words[0] == "value")
        QVERIFY(!changes.isEmpty() && changes.last().at(0).toModelIndex().row() == 2);
}

void TestFeatureTable::memberHighlight()
{
    QStringList log;
    HolderElement holder(nullptr, nullptr);
    Model* model = makeTable(holder, &log)->model();
    QSignalSpy changes(model, &QAbstractItemModel::dataChanged);
    FeatureElementBase* member = model->memberAt(model->index(1, 4));
    member->createWidget();
    member->highlight(0);

    QVERIFY(!changes.isEmpty() && changes.last().at(0).toModelIndex().row() == 1);
    QCOMPARE(model->index(1, 4).data(Qt::BackgroundRole).value<QColor>(), QColor(255, 120, 120));
    QCOMPARE(model->index(1, 4).data(Qt::ForegroundRole).value<QColor>(), QColor(Qt::white));
    QVERIFY(!model->index(0, 4).data(Qt::BackgroundRole).isValid());
    QVERIFY(!model->index(1, 3).data(Qt::BackgroundRole).isValid());
    QTRY_VERIFY(!model->index(1, 4).data(Qt::BackgroundRole).isValid());
    QVERIFY(!model->index(1, 4).data(Qt::ForegroundRole).isValid());
}

QTEST_MAIN(TestFeatureTable)
#include "tst_featuretable.moc"
