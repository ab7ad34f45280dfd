#include "ElementFixtures.h"
#include "elements/BooleanFeature.h"
#include "elements/EnumerationFeature.h"
#include "elements/ValueFeatureObserverBase.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLayout>
#include <QSignalSpy>
#include <QTest>

using namespace Orvex;
using OrvexTest::HolderElement;
using OrvexTest::Recording;

namespace {

QStringList itemTexts(const QComboBox* a_comboBox)
{
    QStringList texts;
    for (int i = 0; i < a_comboBox->count(); ++i)
        texts << a_comboBox->itemText(i);
    return texts;
}

} // namespace

class TestBooleanEnumeration : public QObject
{
    Q_OBJECT

private slots:
    void booleanClicks_data();
    void booleanClicks();
    void enumerationSelection_data();
    void enumerationSelection();
    void sizesAndClones();
};

void TestBooleanEnumeration::booleanClicks_data()
{
    OrvexTest::addTextRows("tests/elements/data/booleanenumeration/boolean.txt");
}

void TestBooleanEnumeration::booleanClicks()
{
    QFETCH(QString, fixed);
    QFETCH(QString, fileValue);
    QFETCH(QString, switchOffAndOn);
    QFETCH(QString, clicks);
    QFETCH(QString, pushText);
    const QStringList pushes = pushText.split("; ", Qt::SkipEmptyParts);
    HolderElement holder;
    Recording<BooleanFeature> feature(&holder);
    feature.setMinOccurs(0);
    feature.setFixedValue(fixed.isEmpty() ? QVariant() : fixed);
    feature.setValue(0, fileValue.isEmpty() ? QVariant() : fileValue);
    QVERIFY(holder.show(feature));
    QPointer<QCheckBox> checkBox = qobject_cast<QCheckBox*>(feature.valueWidget(0));
    if (switchOffAndOn == "true") {
        // The check box waits, unseen, for the next instance, which starts from false again.
        QVERIFY(feature.setProperty("enabled", false) && feature.setProperty("enabled", true));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(feature.valueWidget(0), checkBox.data());
        QTRY_VERIFY(checkBox->isVisible());
    }

    for (int i = 0; i < clicks.toInt(); ++i)
        QTest::mouseClick(checkBox, Qt::LeftButton);
    const bool checked = pushes.isEmpty() ? QVariant(fixed.isEmpty() ? fileValue : fixed).toBool()
                                          : pushes.last().endsWith("true");
    const QString text = checked ? "true" : "false";
    QVERIFY(checkBox->isChecked() == checked && feature.property("boolValue") == checked);
    QCOMPARE(checkBox->text(), text);
    QCOMPARE(feature.property("displayText").toString(), text);
    QCOMPARE(feature.pushes, pushes);
}

void TestBooleanEnumeration::enumerationSelection_data()
{
    OrvexTest::addTextRows("tests/elements/data/booleanenumeration/enumeration.txt");
}

void TestBooleanEnumeration::enumerationSelection()
{
    QFETCH(QString, fixed);
    QFETCH(QString, fileValue);
    QFETCH(QString, shownFirst);
    QFETCH(QString, key);
    QFETCH(QString, undo);
    QFETCH(QString, stored);
    QFETCH(QString, shown);
    QFETCH(QString, pushed);
    HolderElement holder;
    Recording<EnumerationFeature> feature(&holder);
    feature.setFixedValue(fixed.isEmpty() ? QVariant() : fixed);
    if (shownFirst == "true")
        QVERIFY(holder.show(feature));
    QVERIFY(!feature.value().isValid() || !fixed.isEmpty());
    QSignalSpy warnings(&feature, &ValueFeatureElementBase::warning);
    QVERIFY(feature.addEntry("Auto") && feature.addEntry("Manual", " by hand "));
    QVERIFY(!feature.addEntry("Auto", "again") && feature.addEntry("Off"));
    QCOMPARE(warnings, (QList<QVariantList>{{"Duplicate Enumeration Entry",
                                             "Skipping enumeration entry duplicate, \"Auto\"."}}));
    feature.setValue(0, fileValue.isEmpty() ? QVariant() : fileValue);
    if (shownFirst != "true")
        QVERIFY(holder.show(feature));
    auto* comboBox = qobject_cast<QComboBox*>(feature.valueWidget(0));
    QCOMPARE(comboBox->insertPolicy(), QComboBox::NoInsert);
    QCOMPARE(comboBox->isEnabled(), fixed.isEmpty());

    if (!key.isEmpty())
        QTest::keyClick(comboBox, OrvexTest::keyNamed(key));
    if (undo == "true")
        feature.setValue(0, fileValue);

    QCOMPARE(feature.displayText(), stored);
    QCOMPARE(comboBox->currentText(), shown);
    QCOMPARE(comboBox->currentData().toString(), stored);
    QStringList items{"Auto", "Manual -- by hand", "Off"};
    QCOMPARE(itemTexts(comboBox), stored == "Legacy" ? items << "Legacy" : items);
    QCOMPARE(feature.pushes.join(','), pushed);
}

void TestBooleanEnumeration::sizesAndClones()
{
    class NullObserver : public ValueFeatureObserverBase
    {
        void observeValueChange(ValueFeatureElementBase*, size_t, const QVariant&, QVariant&) override {}
    } observer;
    for (bool boolean : {true, false}) {
        HolderElement holder;
        auto* enumeration = boolean ? nullptr : new EnumerationFeature(&holder);
        ValueFeatureElementBase* feature = enumeration;
        if (boolean) {
            feature = new BooleanFeature(&holder);
        } else {
            enumeration->addEntry("Auto");
            enumeration->addEntry("Manual", "set by hand, at length");
        }
        feature->setName("Template");
        feature->setMaxOccurs(3);
        feature->setDataSet(boolean ? QVariantList{"1", false} : QVariantList{"Auto", "Legacy"});
        feature->addObserver(&observer);
        QVERIFY(holder.show(*feature));

        // Wide enough for every value the widget can show, and in the widget's font.
        const QSize size = feature->maxSize();
        QWidget* valueWidget =
            feature->widget()->layout()->itemAt(0)->widget()->layout()->itemAt(0)->widget();
        for (const QVariant& value : boolean ? QVariantList{true, false} : QVariantList{"Auto", "Manual"}) {
            feature->setValue(0, value);
            QVERIFY(size.width() >= valueWidget->sizeHint().width());
        }
        QFont font = feature->widget()->font();
        font.setPointSize(font.pointSize() * 3);
        feature->widget()->setFont(font);
        QVERIFY(feature->maxSize().height() > size.height());

        feature->setFixedValue(boolean ? QVariant(true) : QVariant("Legacy"));
        std::unique_ptr<ValueFeatureElementBase> clone(feature->cloneFeature(&holder));
        QVERIFY(clone->metaObject() == feature->metaObject() && clone->parent() == &holder &&
                !clone->widget());
        QVERIFY(clone->name() == "Template" && clone->id() != feature->id() && clone->maxOccurs() == 3);
        QVERIFY(clone->dataSet() == feature->dataSet() && clone->fixedValue() == feature->fixedValue());
        QCOMPARE(clone->observers(), QList<ValueFeatureObserverBase*>{&observer});
        // Measured in the application's font, as the original was before, so with the same entries.
        QCOMPARE(clone->maxSize(), size);
    }
}

QTEST_MAIN(TestBooleanEnumeration)
#include "tst_booleanenumeration.moc"
