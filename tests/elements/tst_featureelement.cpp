#include "ElementFixtures.h"
#include "elements/FeatureElementBase.h"

#include <QCoreApplication>
#include <QLayout>
#include <QLineEdit>
#include <QTest>

using namespace Orvex;
using OrvexTest::HolderElement;

namespace {

// Values are named after their creation order, so where each one ends up shows which instance moved.
class TestFeature : public FeatureElementBase
{
public:
    using FeatureElementBase::FeatureElementBase;
    using FeatureElementBase::instanceRecord;
    using FeatureElementBase::setInstanceValueWidget;

    QStringList values;
    QStringList requests;
    int created = 0;
    bool applyRequests = false;

    QVariant dataSet() const override { return values; }
    void setDataSet(const QVariant& a_dataSet) override { values = a_dataSet.toStringList(); }
    void highlight(size_t) override {}

protected:
    void insertInstanceValue(size_t a_index) override
    {
        values.insert(int(a_index), QStringLiteral("v%1").arg(created++));
    }
    QWidget* createInstanceValueWidget(size_t a_index) override
    {
        return new QLineEdit(values[int(a_index)]);
    }
    void removeInstanceValue(size_t a_index) override { values.removeAt(int(a_index)); }
    void moveInstanceValue(size_t a_from, size_t a_to) override { values.move(int(a_from), int(a_to)); }
    void requestInstanceChanges(const QVector<InstanceChange>& a_changes) override
    {
        const char* kinds[] = {"insert", "remove", "reinsert"};
        for (const InstanceChange& change : a_changes) {
            requests << QStringLiteral("%1 %2").arg(kinds[change.kind]).arg(change.index);
            if (change.kind == InstanceChange::Reinsert)
                requests.last() += QStringLiteral(" %1").arg(change.newIndex);
            // What the undo command will do right away when it is pushed.
            if (applyRequests && change.kind == InstanceChange::Remove)
                removeInstance(change.index);
        }
    }
};

// "min..max", with "*" for unbounded.
std::pair<size_t, size_t> bounds(const QString& a_text)
{
    const QString max = a_text.section("..", 1);
    return {a_text.section("..", 0, 0).toULongLong(),
            max == "*" ? FeatureElementBase::Unbounded : size_t(max.toULongLong())};
}

// Built the way loading does it: a copy of a schema template, which brings the bounds but none of the
// template's instances, then instances appended.
std::unique_ptr<TestFeature> makeFeature(ElementBase* a_parent, const QString& a_bounds, size_t a_count,
                                         const QString& a_widget = QString())
{
    TestFeature schemaTemplate(a_parent);
    schemaTemplate.setName(QStringLiteral("TapGeometry"));
    schemaTemplate.setIsAttribute(true);
    schemaTemplate.setMaxOccurs(bounds(a_bounds).second);
    schemaTemplate.setMinOccurs(bounds(a_bounds).first);
    auto feature = std::make_unique<TestFeature>(&schemaTemplate, a_parent);
    if (a_widget == "before")
        feature->createWidget();
    for (size_t i = 0; i < a_count; ++i)
        feature->insertInstance(FeatureElementBase::NoIndex);
    if (a_widget == "after")
        feature->createWidget();
    return feature;
}

QToolButton* trailingButton(TestFeature& a_feature, const QString& a_text)
{
    QLayout* layout = a_feature.widget()->layout();
    for (auto* button : layout->itemAt(layout->count() - 1)->widget()->findChildren<QToolButton*>()) {
        if (button->text() == a_text)
            return button;
    }
    return nullptr;
}

// One row per instance, in order, the value first, the buttons enabled exactly while the bounds allow.
void checkRows(TestFeature& a_feature, bool a_buttons)
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const int count = int(a_feature.instanceCount());
    const bool canRemove = a_feature.instanceCount() > a_feature.minOccurs();
    const bool canInsert = a_feature.instanceCount() < a_feature.maxOccurs();
    QLayout* layout = a_feature.widget()->layout();
    QCOMPARE(layout->count(), count + (a_buttons ? 1 : 0));
    QCOMPARE(a_feature.widget()->findChildren<QLineEdit*>().size(), count);
    QCOMPARE(a_feature.widget()->findChildren<QToolButton*>().size(), a_buttons ? 2 * (count + 1) : 0);
    for (int i = 0; i < count; ++i) {
        FeatureInstanceRecord* record = a_feature.instanceRecord(size_t(i));
        QCOMPARE(layout->itemAt(i)->widget(), record->row());
        auto* edit = qobject_cast<QLineEdit*>(record->row()->layout()->itemAt(0)->widget());
        QVERIFY(edit && edit == record->valueWidget());
        QCOMPARE(edit->text(), a_feature.values[i]);
        if (a_buttons) {
            QCOMPARE(record->removeButton()->isEnabled(), canRemove);
            QCOMPARE(record->insertButton()->isEnabled(), canInsert);
        }
    }
    if (a_buttons) {
        QCOMPARE(trailingButton(a_feature, "-")->isEnabled(), canRemove);
        QCOMPARE(trailingButton(a_feature, "+")->isEnabled(), canInsert);
    }
}

} // namespace

class TestFeatureElement : public QObject
{
    Q_OBJECT

private slots:
    void instanceChanges_data()
    {
        QTest::addColumn<QString>("widget");
        QTest::addColumn<QString>("before");
        QTest::addColumn<size_t>("count");
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("values");
        QTest::addColumn<QString>("signalLog");

        for (const char* widget : {"none", "before", "after"}) {
            const auto row = [widget](const char* a_name, const char* a_before, size_t a_count,
                                      const char* a_operation, const char* a_after, const char* a_values,
                                      const char* a_signalLog) {
                QTest::addRow("%s, widget %s", a_name, widget)
                    << QString(widget) << QString(a_before) << a_count << QString(a_operation)
                    << QString(a_after) << QString(a_values) << QString(a_signalLog);
            };
            row("enabling a toggle", "0..1", 0, "enabled 1", "0..1", "v0", "inserted 0,min 0,max 1");
            row("disabling keeps minOccurs", "2..*", 5, "enabled 0", "2..*", "v0 v1", "min 1");
            row("disabling a toggle", "0..1", 1, "enabled 0", "0..1", "", "max 0,min 1");
            row("minOccurs above the count", "0..5", 1, "minOccurs 3", "3..5", "v0 v1 v2",
                "inserted 1,inserted 2,min 1,max 0");
            row("minOccurs above maxOccurs", "1..2", 2, "minOccurs 4", "4..4", "v0 v1 v2 v3",
                "inserted 2,inserted 3,max 1,min 1,max 1");
            row("minOccurs lowered", "3..5", 4, "minOccurs 1", "1..5", "v0 v1 v2 v3", "min 0,max 0");
            row("maxOccurs below the count", "0..*", 5, "maxOccurs 2", "0..2", "v0 v1", "min 0,max 1");
            row("maxOccurs below minOccurs", "3..5", 4, "maxOccurs 1", "1..1", "v0", "min 1,min 1,max 1");
            row("insert clamps the index", "0..5", 2, "insert 7", "0..5", "v0 v1 v2", "inserted 2");
            row("insert before an instance", "0..5", 3, "insert 1", "0..5", "v0 v3 v1 v2", "inserted 1");
            row("insert from minimum to maximum", "1..2", 1, "insert 0", "1..2", "v1 v0",
                "inserted 0,min 0,max 1");
            row("insert beyond maxOccurs", "0..2", 2, "insert 0", "0..2", "v0 v1", "");
            row("remove below minOccurs", "2..5", 2, "remove 0", "2..5", "v0 v1", "");
            row("remove from maximum to minimum", "1..2", 2, "remove 0", "1..2", "v1", "max 0,min 1");
            row("remove beyond the end takes the last", "0..5", 3, "remove 9", "0..5", "v0 v1", "");
            row("move first to last", "0..*", 3, "move 0 2", "0..*", "v1 v2 v0", "");
            row("move beyond the end", "0..*", 3, "move 0 3", "0..*", "v0 v1 v2", "");
            if (QLatin1String(widget) != "after")
                continue;
            // What the user asks for only goes to the undo stack ("ask ..."); nothing changes yet.
            row("row + of instance 2", "1..5", 3, "click + 2", "1..5", "v0 v1 v2", "ask insert 2");
            row("trailing +", "1..5", 3, "click + trailing", "1..5", "v0 v1 v2", "ask insert 3");
            row("row - of instance 1", "1..5", 3, "click - 1", "1..5", "v0 v1 v2", "ask remove 1");
            row("trailing -", "1..5", 3, "click - trailing", "1..5", "v0 v1 v2", "ask remove 2");
            row("trailing + at maximum", "1..3", 3, "click + trailing", "1..3", "v0 v1 v2", "");
            row("user insert without sender", "1..5", 3, "user insert", "1..5", "v0 v1 v2", "ask insert 3");
            row("user remove without sender", "1..5", 3, "user remove", "1..5", "v0 v1 v2", "ask remove 2");
            row("user insert beyond the end", "1..5", 3, "user insert 9", "1..5", "v0 v1 v2", "ask insert 3");
            row("user remove beyond the end", "1..5", 3, "user remove 3", "1..5", "v0 v1 v2", "");
            row("user remove at minimum", "3..3", 3, "user remove 0", "3..3", "v0 v1 v2", "");
            row("user reinsert", "1..5", 3, "user reinsert 0 2", "1..5", "v0 v1 v2", "ask reinsert 0 2");
            row("user reinsert beyond the end", "1..5", 3, "user reinsert 0 3", "1..5", "v0 v1 v2", "");
            row("user disable", "1..5", 3, "user enable 0", "1..5", "v0 v1 v2", "ask remove 2,ask remove 1");
            row("user enable without instances", "0..1", 0, "user enable 1", "0..1", "", "ask insert 0");
        }
    }

    void instanceChanges()
    {
        QFETCH(QString, widget);
        QFETCH(QString, before);
        QFETCH(size_t, count);
        QFETCH(QString, operation);
        QFETCH(QString, after);
        QFETCH(QString, values);
        QFETCH(QString, signalLog);
        HolderElement holder;
        auto feature = makeFeature(&holder, before, count, widget);
        QStringList log;
        connect(feature.get(), &FeatureElementBase::instanceInserted, this,
                [&](size_t a_index) { log << QStringLiteral("inserted %1").arg(a_index); });
        connect(feature.get(), &FeatureElementBase::instanceCountIsMinOccurs, this,
                [&](bool a_at) { log << QStringLiteral("min %1").arg(int(a_at)); });
        connect(feature.get(), &FeatureElementBase::instanceCountIsMaxOccurs, this,
                [&](bool a_at) { log << QStringLiteral("max %1").arg(int(a_at)); });

        const QStringList words = operation.split(' ');
        const size_t argument = words.value(1).toULongLong();
        const size_t second = words.value(2).toULongLong();
        if (words[0] == "click" && words[2] == "trailing") {
            trailingButton(*feature, words[1])->click();
        } else if (words[0] == "click") {
            FeatureInstanceRecord* record = feature->instanceRecord(second);
            (words[1] == "+" ? record->insertButton() : record->removeButton())->click();
        } else if (operation == "user insert" || operation == "user remove") {
            words[1] == "insert" ? feature->userInsert() : feature->userRemove();
        } else if (words[0] == "user") {
            const size_t index = words[2].toULongLong();
            if (words[1] == "insert" || words[1] == "remove")
                words[1] == "insert" ? feature->userInsert(index) : feature->userRemove(index);
            else if (words[1] == "reinsert")
                feature->userReinsert(index, words[3].toULongLong());
            else
                feature->userSetEnabled(index != 0);
        } else if (words[0] == "insert")
            feature->insertInstance(argument);
        else if (words[0] == "remove")
            feature->removeInstance(argument);
        else if (words[0] == "move")
            QCOMPARE(feature->moveInstance(argument, words[2].toULongLong()), words[2].toULongLong() < count);
        else if (words[0] == "enabled")
            QVERIFY(feature->setProperty("enabled", argument != 0));
        else
            QVERIFY(feature->setProperty(words[0].toLatin1(), QVariant::fromValue(argument)));

        for (const QString& request : feature->requests)
            log << "ask " + request;
        QCOMPARE(log.join(','), signalLog);
        const QStringList expectedValues = values.split(' ', Qt::SkipEmptyParts);
        QCOMPARE(feature->values, expectedValues);
        QCOMPARE(QList<size_t>({feature->instanceCount(), feature->minOccurs(), feature->maxOccurs()}),
                 QList<size_t>({size_t(expectedValues.size()), bounds(after).first, bounds(after).second}));
        QCOMPARE(feature->isEnabled(), !expectedValues.isEmpty());
        if (widget != "none")
            checkRows(*feature, bounds(before).second - bounds(before).first > 1);
        else
            QVERIFY(!feature->widget());
    }

    void widgetStructure_data()
    {
        QTest::addColumn<QString>("occurs");
        QTest::addColumn<bool>("parentHasWidget");
        QTest::addColumn<bool>("toggle");
        QTest::addColumn<bool>("buttons");
        QTest::newRow("toggle 0..1") << "0..1" << true << true << false;
        QTest::newRow("two in a row 2..3") << "2..3" << true << false << false;
        QTest::newRow("repeating 0..2") << "0..2" << true << false << true;
        QTest::newRow("unbounded, parent without widget") << "1..*" << false << false << true;
    }

    void widgetStructure()
    {
        QFETCH(QString, occurs);
        QFETCH(bool, parentHasWidget);
        QFETCH(bool, toggle);
        QFETCH(bool, buttons);
        HolderElement holder;
        if (parentHasWidget)
            holder.setWidget(new QWidget);
        auto feature = makeFeature(&holder, occurs, std::max<size_t>(bounds(occurs).first, 1));

        QCOMPARE(feature->isToggleFeature(), toggle);
        QVERIFY(feature->name() == "TapGeometry" && feature->isAttribute());
        QWidget* widget = feature->createWidget();
        QCOMPARE(feature->createWidget(), widget);
        QCOMPARE(widget->parentWidget(), holder.widget());
        checkRows(*feature, buttons);

        FeatureInstanceRecord* record = feature->instanceRecord(0);
        QPointer<QWidget> old = record->valueWidget();
        auto* replacement = new QLineEdit(feature->values[0]);
        feature->setInstanceValueWidget(*record, replacement);
        QVERIFY(old && old->isHidden());
        QCOMPARE(record->row()->layout()->indexOf(old), -1);
        QCOMPARE(record->row()->layout()->itemAt(0)->widget(), replacement);
    }

    void widgetOwnership_data()
    {
        QTest::addColumn<bool>("parentWidgetFirst");
        QTest::newRow("element destroyed first") << false;
        QTest::newRow("parent element's widget destroyed first") << true;
    }

    void widgetOwnership()
    {
        QFETCH(bool, parentWidgetFirst);
        HolderElement holder;
        holder.setWidget(new QWidget);
        auto feature = makeFeature(&holder, "0..5", 3, "after");
        QPointer<QWidget> widget = feature->widget();
        QPointer<QWidget> removedRow = feature->instanceRecord(1)->row();
        QPointer<QWidget> removedValue = feature->instanceRecord(1)->valueWidget();

        // The row goes away while its own "-" button is still delivering the click.
        feature->applyRequests = true;
        QTest::mouseClick(feature->instanceRecord(1)->removeButton(), Qt::LeftButton);
        QCOMPARE(feature->values, (QStringList{"v0", "v2"}));
        QVERIFY(removedRow && removedRow->isHidden());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!removedRow && !removedValue);
        QPointer<QWidget> row = feature->instanceRecord(0)->row();

        if (!parentWidgetFirst) {
            feature.reset();
            QVERIFY(!widget && !row && holder.widget());
            return;
        }
        delete holder.widget();
        QVERIFY(!widget && !row && !feature->widget());
        // Still complete without its widget, and able to build a fresh one later.
        QVERIFY(feature->insertInstance(0));
        QVERIFY(feature->removeInstance(2));
        QCOMPARE(feature->values, (QStringList{"v3", "v0"}));
        widget = feature->createWidget();
        QVERIFY(!widget->parentWidget());
        checkRows(*feature, true);
        feature.reset();
        QVERIFY(!widget);
    }
};

QTEST_MAIN(TestFeatureElement)
#include "tst_featureelement.moc"
