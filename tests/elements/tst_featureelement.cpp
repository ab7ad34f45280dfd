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
        OrvexTest::addTextRows("tests/elements/data/featureelement/instances.txt");
    }

    void instanceChanges()
    {
        QFETCH(QString, widget);
        QFETCH(QString, before);
        QFETCH(QString, countText);
        const size_t count = countText.toULongLong();
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
