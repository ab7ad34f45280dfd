#include "ElementFixtures.h"
#include "elements/BooleanFeature.h"
#include "elements/EnumerationFeature.h"
#include "elements/FeatureListFeature.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QFrame>
#include <QTest>

#include <memory>

using namespace Orvex;
using OrvexTest::HolderElement;

namespace {

// Logs the changes its user slots ask for and makes them when told to, as the undo command will.
class ProbeFeature : public ValueFeatureElementBase
{
public:
    ProbeFeature(ElementBase* a_parent, QStringList* a_log, bool a_apply)
        : ValueFeatureElementBase(a_parent), m_log(a_log), m_apply(a_apply)
    {
    }
    ProbeFeature(const ProbeFeature* a_source, ElementBase* a_parent)
        : ValueFeatureElementBase(a_source, a_parent), m_log(a_source->m_log), m_apply(a_source->m_apply)
    {
        setDataSet(a_source->dataSet());
    }
    using WidgetElementBase::setHighlightActive;
    QString displayText(size_t) const override { return QString(); }
    QSize maxSize() const override { return QSize(); }
    ValueFeatureElementBase* cloneFeature(ElementBase* a_parent) const override
    {
        return new ProbeFeature(this, a_parent);
    }

protected:
    void requestInstanceChanges(const QVector<InstanceChange>& a_changes) override
    {
        for (const InstanceChange& change : a_changes) {
            const bool insert = change.kind == InstanceChange::Insert;
            *m_log << QStringLiteral("%1 %2").arg(insert ? "insert" : "remove").arg(change.index);
            if (m_apply)
                insert ? void(insertInstance(change.index)) : void(removeInstance(change.index));
        }
    }

private:
    QStringList* m_log;
    bool m_apply;
};

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
    QLayoutItem* formItem = row && row->layout() ? row->layout()->itemAt(0) : nullptr;
    QWidget* frame = formItem ? formItem->widget() : nullptr;
    return frame ? qobject_cast<QFormLayout*>(frame->layout()) : nullptr;
}

QVariant listOf(std::initializer_list<QVariant> a_items)
{
    return QVariantList(a_items);
}

} // namespace

class TestFeatureList : public QObject
{
    Q_OBJECT

private slots:
    void memberRows_data();
    void memberRows();
    void instancesFromTemplates_data();
    void instancesFromTemplates();
    void dataSetRoundTrip_data();
    void dataSetRoundTrip();
    void highlightAggregation_data();
    void highlightAggregation();
    void raiseLower();
};

void TestFeatureList::memberRows_data()
{
    QTest::addColumn<int>("minOccurs");
    QTest::addColumn<int>("maxOccurs");
    QTest::addColumn<bool>("present");
    QTest::addColumn<QString>("annotation");
    QTest::addColumn<bool>("addedToShownForm");
    QTest::addColumn<bool>("framed");
    QTest::addColumn<QString>("toolTip");
    // A click on the member's check box: "apply" makes the change asked for, as the command will;
    // "ignore" does not, as when no command was made.
    QTest::addColumn<QString>("click");

    const QString hint = QStringLiteral("Check or uncheck to enable or disable this feature.");
    QTest::newRow("optional, documented, switched off")
        << 0 << 1 << true << "Sensor gain" << false << true << "<p>Sensor gain</p><p>" + hint + "</p>"
        << "apply";
    QTest::newRow("optional, absent, unframed, switched on")
        << 0 << 1 << false << "" << false << false << hint << "apply";
    QTest::newRow("optional, added to a shown form, no command")
        << 0 << 1 << false << "x" << true << true << "<p>x</p><p>" + hint + "</p>"
        << "ignore";
    QTest::newRow("optional, present, no command")
        << 0 << 1 << true << "" << false << false << hint << "ignore";
    QTest::newRow("mandatory, documented")
        << 1 << 1 << true << "Exposure" << false << false << "<html>Exposure</html>"
        << "";
    QTest::newRow("mandatory, undocumented, shown") << 1 << 1 << true << "" << true << true << ""
                                                    << "";
    QTest::newRow("repeating") << 0 << 3 << true << "" << false << true << ""
                               << "";
}

void TestFeatureList::memberRows()
{
    QFETCH(int, minOccurs);
    QFETCH(int, maxOccurs);
    QFETCH(bool, present);
    QFETCH(QString, annotation);
    QFETCH(bool, addedToShownForm);
    QFETCH(bool, framed);
    QFETCH(QString, toolTip);
    QFETCH(QString, click);

    QStringList log;
    HolderElement holder;
    auto* list = new FeatureListFeature(&holder);
    auto* memberTemplate = new ProbeFeature(list, &log, click == "apply");
    memberTemplate->setName("Gain");
    memberTemplate->setMaxOccurs(size_t(maxOccurs));
    memberTemplate->setMinOccurs(size_t(minOccurs));
    memberTemplate->setAnnotation(annotation);
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
    QCOMPARE(log, QStringList{present ? "remove 0" : "insert 0"});
    QVERIFY(member->isEnabled() == presentAfter && box->isChecked() == presentAfter);
    QCOMPARE(memberTemplate->isEnabled(), present);
    // Undo and redo change the member directly; the box follows.
    member->setEnabled(!presentAfter);
    QCOMPARE(box->isChecked(), !presentAfter);
}

void TestFeatureList::instancesFromTemplates_data()
{
    QTest::addColumn<bool>("withWidget");
    QTest::newRow("without widget") << false;
    QTest::newRow("with widget") << true;
}

void TestFeatureList::instancesFromTemplates()
{
    QFETCH(bool, withWidget);

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
        QCOMPARE(group[0]->dataSet(), listOf({instance != 1}));
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
    QVERIFY(!list->setMemberIds(0, memberIds.mid(0, 3)) && !list->setMemberIds(0, memberIds + memberIds));
    QVERIFY(list->setMemberIds(0, memberIds) && !list->setMemberIds(3, memberIds));
    QCOMPARE(list->memberIds(0), memberIds);
    QCOMPARE(ElementBase::findById(memberIds[3]), sub()->member(0, 0));
}

void TestFeatureList::dataSetRoundTrip_data()
{
    QTest::addColumn<QVariant>("input");
    QTest::addColumn<QVariant>("expected");
    QTest::addColumn<bool>("withWidget");

    const QVariant defaultSub = listOf({listOf({listOf({false})})});
    const QVariant first = listOf({listOf({true}), listOf({"B"}), listOf({listOf({listOf({true})})})});
    const QVariant second = listOf({listOf({false}), listOf({"A"}), defaultSub});
    QTest::newRow("two instances, shown") << listOf({first, second}) << listOf({first, second}) << true;
    QTest::newRow("null entries keep values")
        << listOf({listOf({QVariant(), listOf({"B"})})})
        << listOf({listOf({listOf({false}), listOf({"B"}), defaultSub})}) << false;
    QTest::newRow("nested list kept at its minimum")
        << listOf({listOf({listOf({true}), listOf({"A"}), QVariantList()})})
        << listOf({listOf({listOf({true}), listOf({"A"}), defaultSub})}) << false;
    QTest::newRow("empty, shown") << listOf({}) << listOf({}) << true;
    QTest::newRow("beyond the maximum")
        << listOf({first, first, second, second}) << listOf({first, first, second}) << false;
}

void TestFeatureList::dataSetRoundTrip()
{
    QFETCH(QVariant, input);
    QFETCH(QVariant, expected);
    QFETCH(bool, withWidget);

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

void TestFeatureList::highlightAggregation_data()
{
    // a and b are the members of instances 0 and 1: "a+" and "a-" switch a's highlight, "r" removes
    // instance 0 with a; the digit after each step is the list's highlight expected then.
    QTest::addColumn<QString>("steps");

    QTest::newRow("one member") << "a+1 a-0";
    QTest::newRow("overlapping") << "a+1 b+1 a-1 b-0";
    QTest::newRow("highlighted instance removed") << "a+1 r0";
    QTest::newRow("other instance still highlighted") << "a+1 b+1 r1 b-0";
}

void TestFeatureList::highlightAggregation()
{
    QFETCH(QString, steps);

    QStringList log;
    HolderElement holder;
    auto* list = new FeatureListFeature(&holder);
    list->setMaxOccurs(2);
    list->addMember(new ProbeFeature(list, &log, false));
    list->insertInstance(FeatureElementBase::NoIndex);
    const QPointer<ProbeFeature> a = static_cast<ProbeFeature*>(list->member(0, 0));
    const QPointer<ProbeFeature> b = static_cast<ProbeFeature*>(list->member(1, 0));

    for (const QString& step : steps.split(' ')) {
        if (step[0] == 'r')
            QVERIFY(list->removeInstance(0));
        else
            (step[0] == 'a' ? a : b)->setHighlightActive(step[1] == '+');
        QVERIFY2(list->isHighlightActive() == (step.back() == '1'), qPrintable(step));
    }
}

void TestFeatureList::raiseLower()
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

QTEST_MAIN(TestFeatureList)
#include "tst_featurelist.moc"
