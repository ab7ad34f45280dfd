#include "ElementFixtures.h"
#include "elements/NumericFeature.h"
#include "widgets/FieldGuard.h"

#include <QApplication>

#include <QDoubleSpinBox>
#include <QMetaEnum>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>
#include <cfloat>

using namespace Orvex;
using OrvexTest::HolderElement;
using Type = NumericFeature::RepTypeEnum;
using Feature = OrvexTest::Recording<NumericFeature>;

namespace {

Type typeNamed(const QString& a_key)
{
    return Type(QMetaEnum::fromType<Type>().keyToValue(qPrintable(a_key)));
}

QDoubleSpinBox* spinBox(const Feature& a_feature, size_t a_index)
{
    return a_feature.valueWidgetAs<QDoubleSpinBox>(a_index);
}

} // namespace

class TestNumericFeature : public QObject
{
    Q_OBJECT

private slots:
    void spinBoxConfiguration_data()
    {
        OrvexTest::addTextRows("tests/elements/data/numericfeature/spinbox.txt");
    }

    void spinBoxConfiguration()
    {
        QFETCH(QString, minimum);
        QFETCH(QString, maximum);
        QFETCH(QString, decimals);
        QFETCH(QString, text);
        HolderElement holder;
        Feature feature(&holder);
        feature.setMaxOccurs(3);
        feature.setAnnotation(OrvexTest::rowText("annotation"));
        for (const QString& write : OrvexTest::rowText("writes").split(' ', Qt::SkipEmptyParts))
            QVERIFY2(feature.setProperty(write.section('=', 0, 0).toLatin1(), write.section('=', 1)),
                     qPrintable(write));
        // One instance made before the settings, one after them, one after the widget: all alike.
        QVERIFY(feature.insertInstance(FeatureElementBase::NoIndex));
        for (size_t i = 0; i < 2; ++i)
            QCOMPARE(feature.displayText(i), text);
        feature.createWidget();
        QVERIFY(feature.insertInstance(FeatureElementBase::NoIndex));

        for (size_t i = 0; i < 3; ++i) {
            QDoubleSpinBox* box = spinBox(feature, i);
            QCOMPARE((QVariantList{box->minimum(), box->maximum(), box->decimals(), box->text()}),
                     (QVariantList{minimum.toDouble(), maximum.toDouble(), decimals.toInt(),
                                   OrvexTest::rowText("shown")}));
            if (!OrvexTest::rowText("toolTip").isEmpty())
                QCOMPARE(box->toolTip(), OrvexTest::rowText("toolTip"));
            QCOMPARE(box->isReadOnly(), feature.fixedValue().isValid());
            QCOMPARE(feature.displayText(i), text);
            // New instances hold exactly what their spin box holds, whether it existed or not.
            QVERIFY(i == 0 || feature.value(i).toDouble() == box->value());
        }
        feature.setValue(1, 3);
        QCOMPARE(spinBox(feature, 1)->value(), feature.displayText(1).toDouble());
        QCOMPARE(feature.pushes, QStringList());
    }

    void badRepresentationType()
    {
        HolderElement holder;
        NumericFeature feature(&holder);
        feature.createWidget();
        auto* box = feature.widget()->findChild<QDoubleSpinBox*>();
        QSignalSpy warnings(&feature, &ValueFeatureElementBase::warning);
        for (int type : {16, -1}) {
            QVERIFY(feature.setProperty("representationType", type));
            QCOMPARE(int(feature.representationType()), type);
            QCOMPARE(warnings.takeFirst(),
                     (QVariantList{
                         "Bad Representation Type",
                         QStringLiteral("Unknown numeric representation type with id = %1.").arg(type)}));
            QVERIFY(!feature.limits());
            // Left as the last valid type configured it.
            QVERIFY(box->maximum() == DBL_MAX && box->decimals() == 8);
        }
        QVERIFY(warnings.isEmpty());
    }

    void copyConstruction()
    {
        HolderElement holder;
        NumericFeature source(&holder);
        source.setName("Exposure");
        source.setRepresentationType(NumericFeature::RT_unsignedLong);
        source.setMaximumValue(1e30);
        source.setMinimumValue(5);
        source.setFractionDigits(3);
        source.setHasFractionDigits(true);
        source.setMaxOccurs(4);
        source.setDataSet(QVariantList{source.parseText("18446744073709551615"), source.parseText("12")});

        std::unique_ptr<ValueFeatureElementBase> clone(source.cloneFeature(&holder));
        auto* copy = qobject_cast<NumericFeature*>(clone.get());
        QVERIFY(copy && !copy->widget());
        for (const char* property :
             {"representationType", "minimumValue", "maximumValue", "fractionDigits", "hasExplicitMinimum",
              "hasExplicitMaximum", "hasFractionDigits", "maxOccurs", "name", "valueProperty"}) {
            QCOMPARE(copy->property(property), source.property(property));
        }
        QCOMPARE((QStringList{copy->fileText(0), copy->fileText(1), copy->fileText(2)}),
                 (QStringList{"18446744073709551615", "12", ""}));

        source.setMinOccurs(0);
        source.setMaxOccurs(0);
        clone.reset(source.cloneFeature(&holder));
        QCOMPARE(clone->instanceCount(), size_t(0));
    }

    void keptSpinBoxReconfigured()
    {
        HolderElement holder;
        NumericFeature feature(&holder);
        feature.setMinOccurs(0);
        feature.setRepresentationType(NumericFeature::RT_byte);
        feature.setValue(0, -100);
        QVERIFY(holder.show(feature));
        QPointer<QDoubleSpinBox> box = feature.widget()->findChild<QDoubleSpinBox*>();
        QVERIFY(feature.removeInstance(0));

        // Settings that change while the feature is switched off reach the spin box it gets back.
        feature.setRepresentationType(NumericFeature::RT_unsignedByte);
        feature.setMinimumValue(10);
        QVERIFY(feature.insertInstance(0));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(box);
        QCOMPARE(feature.widget()->findChildren<QDoubleSpinBox*>(), QList<QDoubleSpinBox*>{box.data()});
        QTRY_VERIFY(box->isVisible());
        QCOMPARE((QVariantList{box->minimum(), box->maximum(), box->text(), feature.fileText(0)}),
                 (QVariantList{10.0, 255.0, "10", "10"}));
    }

    void userTyping_data() { OrvexTest::addTextRows("tests/elements/data/numericfeature/typing.txt"); }

    void userTyping()
    {
        QFETCH(QString, typed);
        QFETCH(QString, fileText);
        const QString type = OrvexTest::rowText("type");
        HolderElement holder;
        Feature feature(&holder);
        feature.setRepresentationType(typeNamed(type.section(' ', 0, 0)));
        if (type.contains(' ')) {
            feature.setMinimumValue(type.section(' ', 1).section("..", 0, 0).toDouble());
            feature.setMaximumValue(type.section("..", 1).toDouble());
        }
        feature.setValue(0, feature.parseText(OrvexTest::rowText("stored")));
        QVERIFY(holder.show(feature));
        QDoubleSpinBox* box = spinBox(feature, 0);
        QSignalSpy changes(&feature, &ValueFeatureElementBase::valueChanged);
        // The wheel over a box without the focus is the page's.
        box->clearFocus();
        QWheelEvent wheel(QPointF(5, 5), box->mapToGlobal(QPoint(5, 5)), {}, {0, 120}, Qt::NoButton, {},
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(box, &wheel);

        const QString before = box->text();
        if (!typed.isEmpty()) {
            box->selectAll();
            QTest::keyClicks(box, typed);
        }
        // The second finish, as when the spin box loses the focus afterwards, finds nothing new.
        QTest::keyClick(box, Qt::Key_Enter);
        QTest::keyClick(box, Qt::Key_Enter);
        // A number that is not taken stays on screen, marked with the reason, until the focus leaves.
        const QString mark = OrvexTest::rowText("mark");
        QCOMPARE(FieldGuard::of(box)->mark(), mark);
        QCOMPARE(FieldGuard::of(box)->refusalHint(), OrvexTest::rowText("hint"));
        if (!mark.isEmpty())
            QCOMPARE(box->text(), typed);
        QFocusEvent leave(QEvent::FocusOut);
        QApplication::sendEvent(box, &leave);
        QVERIFY(!FieldGuard::of(box)->isMarked());
        if (!mark.isEmpty())
            QCOMPARE(box->text(), before);

        QCOMPARE(feature.pushes.join(','), OrvexTest::rowText("pushes"));
        QCOMPARE(changes.count(), feature.pushes.size());
        QCOMPARE(feature.fileText(0), fileText);
        // Kept in the same form as a value read from a file.
        QCOMPARE(feature.value().userType(), feature.parseText(fileText).userType());
    }

    void fileTexts_data() { OrvexTest::addTextRows("tests/elements/data/numericfeature/texts.txt"); }

    void fileTexts()
    {
        QFETCH(QString, type);
        QFETCH(QString, fileText);
        HolderElement holder;
        NumericFeature feature(&holder);
        feature.setRepresentationType(typeNamed(type.section(' ', 0, 0)));
        if (type.contains(' ')) {
            feature.setMinimumValue(type.section(' ', 1).section("..", 0, 0).toDouble());
            feature.setMaximumValue(type.section("..", 1).toDouble());
        }

        bool ok = true;
        const QVariant parsed = feature.parseText(OrvexTest::rowText("text"), &ok);
        QCOMPARE(ok, !fileText.isEmpty());
        QCOMPARE(parsed.isValid(), ok);
        if (!ok)
            return;
        feature.setValue(0, parsed);
        QCOMPARE(feature.fileText(0), fileText);
        QCOMPARE(feature.displayText(), OrvexTest::rowText("displayText"));
        QCOMPARE(feature.isWithinRange(parsed), OrvexTest::rowText("within") == "true");
        // What is written reads back to the very same value.
        const QVariant reread = feature.parseText(fileText);
        QCOMPARE(reread.userType(), parsed.userType());
        QCOMPARE(NumericFeature::formatValue(reread, feature.representationType()), fileText);
    }

    void maxSize()
    {
        HolderElement holder;
        NumericFeature byteFeature(&holder);
        byteFeature.setRepresentationType(NumericFeature::RT_byte);
        NumericFeature doubleFeature(&holder);
        QVERIFY(holder.show(byteFeature) && holder.show(doubleFeature));

        const QSize size = doubleFeature.maxSize();
        QVERIFY(byteFeature.maxSize().width() < size.width());
        auto* box = doubleFeature.widget()->findChild<QDoubleSpinBox*>();
        // The whole text of the largest value, all 309 digits and the decimals.
        QVERIFY(size.width() > box->fontMetrics().horizontalAdvance(box->textFromValue(DBL_MAX)));

        QFont font = doubleFeature.widget()->font();
        font.setPointSize(font.pointSize() * 2);
        doubleFeature.widget()->setFont(font);
        QVERIFY(doubleFeature.maxSize().width() > size.width());

        // Sizes are kept per kind of number: types that share only their minimum are measured apart.
        NumericFeature narrow(&holder);
        narrow.setRepresentationType(NumericFeature::RT_unsignedByte);
        NumericFeature wide(&holder);
        wide.setRepresentationType(NumericFeature::RT_unsignedInt);
        const int narrowWidth = narrow.maxSize().width();
        QVERIFY(wide.maxSize().width() > narrowWidth);
        QCOMPARE(narrow.maxSize().width(), narrowWidth);
    }
};

QTEST_MAIN(TestNumericFeature)
#include "tst_numericfeature.moc"
