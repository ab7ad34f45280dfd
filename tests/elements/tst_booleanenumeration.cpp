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
    QTest::addColumn<QString>("fixed");
    QTest::addColumn<QString>("fileValue");
    QTest::addColumn<bool>("switchOffAndOn");
    QTest::addColumn<int>("clicks");
    QTest::addColumn<QStringList>("pushes");

    const auto row = [](const char* a_name, const char* a_fixed, const char* a_fileValue,
                        bool a_switchOffAndOn, int a_clicks, const QStringList& a_pushes) {
        QTest::newRow(a_name) << a_fixed << a_fileValue << a_switchOffAndOn << a_clicks << a_pushes;
    };
    row("two clicks", "", "", false, 2, {"0: false -> true", "0: true -> false"});
    row("file value 1", "", "1", false, 0, {});
    row("file value 0, clicked", "", "0", false, 1, {"0: 0 -> true"});
    row("fixed false, clicked twice", "false", "1", false, 2, {});
    row("switched off and on, clicked", "", "1", true, 1, {"0: false -> true"});
}

void TestBooleanEnumeration::booleanClicks()
{
    QFETCH(QString, fixed);
    QFETCH(QString, fileValue);
    QFETCH(bool, switchOffAndOn);
    QFETCH(int, clicks);
    QFETCH(QStringList, pushes);
    HolderElement holder;
    Recording<BooleanFeature> feature(&holder);
    feature.setMinOccurs(0);
    feature.setFixedValue(fixed.isEmpty() ? QVariant() : fixed);
    feature.setValue(0, fileValue.isEmpty() ? QVariant() : fileValue);
    QVERIFY(holder.show(feature));
    QPointer<QCheckBox> checkBox = qobject_cast<QCheckBox*>(feature.valueWidget(0));
    if (switchOffAndOn) {
        // The check box waits, unseen, for the next instance, which starts from false again.
        QVERIFY(feature.setProperty("enabled", false) && feature.setProperty("enabled", true));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(feature.valueWidget(0), checkBox.data());
        QTRY_VERIFY(checkBox->isVisible());
    }

    for (int i = 0; i < clicks; ++i)
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
    QTest::addColumn<QString>("fixed");
    QTest::addColumn<QString>("fileValue");
    QTest::addColumn<bool>("shownFirst");
    QTest::addColumn<int>("key");
    QTest::addColumn<bool>("undo");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QString>("pushed");

    const auto row = [](const char* a_name, const char* a_fixed, const char* a_fileValue, bool a_shownFirst,
                        int a_key, bool a_undo, const char* a_stored, const char* a_shown,
                        const char* a_pushed) {
        QTest::newRow(a_name) << a_fixed << a_fileValue << a_shownFirst << a_key << a_undo << a_stored
                              << a_shown << a_pushed;
    };
    row("no value yet, entries added while shown", "", "", true, 0, false, "Auto", "Auto", "");
    row("down selects the next entry", "", "Auto", false, Qt::Key_Down, false, "Manual", "Manual -- by hand",
        "0: Auto -> Manual");
    row("unknown file value kept and shown", "", "Legacy", false, 0, false, "Legacy", "Legacy", "");
    row("leaving an unknown value", "", "Legacy", true, Qt::Key_Up, false, "Off", "Off", "0: Legacy -> Off");
    row("unknown value back by undo", "", "Legacy", false, Qt::Key_Up, true, "Legacy", "Legacy",
        "0: Legacy -> Off");
    row("fixed value", "Off", "Auto", true, Qt::Key_Up, false, "Off", "Off", "");
}

void TestBooleanEnumeration::enumerationSelection()
{
    QFETCH(QString, fixed);
    QFETCH(QString, fileValue);
    QFETCH(bool, shownFirst);
    QFETCH(int, key);
    QFETCH(bool, undo);
    QFETCH(QString, stored);
    QFETCH(QString, shown);
    QFETCH(QString, pushed);
    HolderElement holder;
    Recording<EnumerationFeature> feature(&holder);
    feature.setFixedValue(fixed.isEmpty() ? QVariant() : fixed);
    if (shownFirst)
        QVERIFY(holder.show(feature));
    QVERIFY(!feature.value().isValid() || !fixed.isEmpty());
    QSignalSpy warnings(&feature, &ValueFeatureElementBase::warning);
    QVERIFY(feature.addEntry("Auto") && feature.addEntry("Manual", " by hand "));
    QVERIFY(!feature.addEntry("Auto", "again") && feature.addEntry("Off"));
    QCOMPARE(warnings, (QList<QVariantList>{{"Duplicate Enumeration Entry",
                                             "Skipping enumeration entry duplicate, \"Auto\"."}}));
    feature.setValue(0, fileValue.isEmpty() ? QVariant() : fileValue);
    if (!shownFirst)
        QVERIFY(holder.show(feature));
    auto* comboBox = qobject_cast<QComboBox*>(feature.valueWidget(0));
    QCOMPARE(comboBox->insertPolicy(), QComboBox::NoInsert);
    QCOMPARE(comboBox->isEnabled(), fixed.isEmpty());

    if (key)
        QTest::keyClick(comboBox, Qt::Key(key));
    if (undo)
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
