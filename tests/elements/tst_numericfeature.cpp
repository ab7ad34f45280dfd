#include "ElementFixtures.h"
#include "elements/NumericFeature.h"

#include <QDoubleSpinBox>
#include <QMetaEnum>
#include <QSignalSpy>
#include <QTest>

#include <cfloat>

using namespace Orvex;
using OrvexTest::HolderElement;
using Type = NumericFeature::RepTypeEnum;

namespace {

using Feature = OrvexTest::Recording<NumericFeature>;

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
    void spinBoxConfiguration_data();
    void spinBoxConfiguration();
    void badRepresentationType();
    void copyConstruction();
    void keptSpinBoxReconfigured();
    void userTyping_data();
    void userTyping();
    void fileTexts_data();
    void fileTexts();
    void maxSize();
};

void TestNumericFeature::spinBoxConfiguration_data()
{
    QTest::addColumn<QString>("writes");
    QTest::addColumn<double>("minimum");
    QTest::addColumn<double>("maximum");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QString>("text");

    const double huge = DBL_MAX;
    const auto row = [](const char* a_name, const char* a_writes, double a_minimum, double a_maximum,
                        int a_decimals, const char* a_text) {
        QTest::newRow(a_name) << a_writes << a_minimum << a_maximum << a_decimals << a_text;
    };
    // The 64-bit integer types, whose bounds a double cannot hold exactly, and the two real types.
    row("long", "representationType=RT_long", -9223372036854775808.0, 9223372036854775808.0, 0, "0");
    row("unsignedLong", "representationType=RT_unsignedLong", 0, 18446744073709551616.0, 0, "0");
    row("float", "representationType=RT_float", -FLT_MAX, FLT_MAX, 4, "0.0000");
    row("new feature, double", "", -huge, huge, 8, "0.00000000");
    row("max above the type's", "representationType=RT_unsignedByte maximumValue=1000", 0, 255, 0, "0");
    row("max below the type's min", "representationType=RT_positiveInteger maximumValue=-5", 1, 1, 0, "1");
    row("min above max moves max", "representationType=RT_int maximumValue=10 minimumValue=20", 20, 20, 0,
        "20");
    row("flag alone, default max", "representationType=RT_int hasExplicitMaximum=true", -2147483648.0, 100, 0,
        "0");
    row("int, 3 fraction digits", "representationType=RT_int fractionDigits=3 hasFractionDigits=true",
        -2147483648.0, 2147483647.0, 0, "0");
    row("double, 2 fraction digits, bounds rounded",
        "fractionDigits=2 hasFractionDigits=true minimumValue=0.125 maximumValue=9.999", 0.13, 10, 2, "0.13");
    row("negative fraction digits", "fractionDigits=-3 hasFractionDigits=true", -huge, huge, 0, "0");
    row("fraction digits without the flag", "fractionDigits=2", -huge, huge, 8, "0.00000000");
    row("default rounded and clamped",
        "representationType=RT_decimal maximumValue=2 defaultValue=2.000000004", -huge, 2, 8, "2.00000000");
    row("fixed value", "representationType=RT_unsignedShort fixedValue=700", 0, 65535, 0, "700");
}

void TestNumericFeature::spinBoxConfiguration()
{
    QFETCH(QString, writes);
    QFETCH(double, minimum);
    QFETCH(double, maximum);
    QFETCH(int, decimals);
    QFETCH(QString, text);
    HolderElement holder;
    Feature feature(&holder);
    feature.setMaxOccurs(3);
    for (const QString& write : writes.split(' ', Qt::SkipEmptyParts))
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
                 (QVariantList{minimum, maximum, decimals, text}));
        QCOMPARE(box->isReadOnly(), feature.fixedValue().isValid());
        QCOMPARE(feature.displayText(i), text);
        // New instances hold exactly what their spin box holds, whether it existed or not.
        QVERIFY(i == 0 || feature.value(i).toDouble() == box->value());
    }
    feature.setValue(1, 3);
    QCOMPARE(feature.displayText(1), spinBox(feature, 1)->text());
    QCOMPARE(feature.pushes, QStringList());
}

void TestNumericFeature::badRepresentationType()
{
    HolderElement holder;
    NumericFeature feature(&holder);
    feature.createWidget();
    auto* box = feature.widget()->findChild<QDoubleSpinBox*>();
    QSignalSpy warnings(&feature, &ValueFeatureElementBase::warning);
    for (int type : {16, -1}) {
        QVERIFY(feature.setProperty("representationType", type));
        QCOMPARE(int(feature.representationType()), type);
        QCOMPARE(
            warnings.takeFirst(),
            (QVariantList{"Bad Representation Type",
                          QStringLiteral("Unknown numeric representation type with id = %1.").arg(type)}));
        QVERIFY(!feature.limits());
        // Left as the last valid type configured it.
        QVERIFY(box->maximum() == DBL_MAX && box->decimals() == 8);
    }
    QVERIFY(warnings.isEmpty());
}

void TestNumericFeature::copyConstruction()
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

void TestNumericFeature::keptSpinBoxReconfigured()
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

void TestNumericFeature::userTyping_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("pushes");
    QTest::addColumn<QString>("fileText");

    QTest::newRow("int") << "RT_int"
                         << "5"
                         << "42"
                         << "0: 5 -> 42"
                         << "42";
    QTest::newRow("double") << "RT_double"
                            << "0.5"
                            << "0.125"
                            << "0: 0.5 -> 0.125"
                            << "0.125";
    QTest::newRow("same value typed again") << "RT_int"
                                            << "5"
                                            << "5"
                                            << ""
                                            << "5";
    // A double spin box cannot hold 2^53 + 1 and shows 2^53.
    QTest::newRow("64-bit value left as shown") << "RT_integer"
                                                << "9007199254740993"
                                                << ""
                                                << ""
                                                << "9007199254740993";
    QTest::newRow("64-bit value edited") << "RT_long"
                                         << "9223372036854775807"
                                         << "-4096"
                                         << "0: 9223372036854775807 -> -4096"
                                         << "-4096";
}

void TestNumericFeature::userTyping()
{
    QFETCH(QString, type);
    QFETCH(QString, stored);
    QFETCH(QString, typed);
    QFETCH(QString, pushes);
    QFETCH(QString, fileText);
    HolderElement holder;
    Feature feature(&holder);
    feature.setRepresentationType(typeNamed(type));
    feature.setValue(0, feature.parseText(stored));
    QVERIFY(holder.show(feature));
    QDoubleSpinBox* box = spinBox(feature, 0);
    QSignalSpy changes(&feature, &ValueFeatureElementBase::valueChanged);

    if (!typed.isEmpty()) {
        box->selectAll();
        QTest::keyClicks(box, typed);
    }
    // The second finish, as when the spin box loses the focus afterwards, finds nothing new.
    QTest::keyClick(box, Qt::Key_Enter);
    QTest::keyClick(box, Qt::Key_Enter);

    QCOMPARE(feature.pushes.join(','), pushes);
    QCOMPARE(changes.count(), feature.pushes.size());
    QCOMPARE(feature.fileText(0), fileText);
    // Kept in the same form as a value read from a file.
    QCOMPARE(feature.value().userType(), feature.parseText(fileText).userType());
}

void TestNumericFeature::fileTexts_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("fileText");
    QTest::addColumn<QString>("displayText");
    QTest::addColumn<bool>("within");

    const auto row = [](const char* a_name, const char* a_type, const char* a_text, const char* a_fileText,
                        const char* a_displayText, bool a_within = true) {
        QTest::newRow(a_name) << a_type << a_text << a_fileText << a_displayText << a_within;
    };
    // A value exactly on a bound is in range, and shown as it is.
    row("exactly on the maximum", "RT_int 10..20", "20", "20", "20");
    row("exactly on the minimum", "RT_int 10..20", "10", "10", "10");
    row("above the maximum", "RT_int 10..20", "21", "21", "20", false);
    row("below the minimum", "RT_int 10..20", "9", "9", "10", false);
    row("largest unsigned 64-bit", "RT_unsignedLong", "18446744073709551615", "18446744073709551615",
        "18446744073709551615");
    row("double on the maximum", "RT_double 0.5..9.5", "9.5", "9.5", "9.50000000");
    row("double above the maximum", "RT_double 0.5..9.5", "9.6", "9.6", "9.50000000", false);
    row("2^64, one beyond", "RT_unsignedLong", "18446744073709551616", "18446744073709551616",
        "18446744073709551616");
    row("int64 min, spaced", "RT_long", " -9223372036854775808 ", "-9223372036854775808",
        "-9223372036854775808");
    row("beyond 64 bits", "RT_nonNegativeInteger", "1e20", "100000000000000000000", "100000000000000000000");
    row("exponent on an integer", "RT_int", "1e3", "1000", "1000");
    row("sign and zeros", "RT_short", "+007", "7", "7");
    row("negative zero", "RT_byte", "-0", "0", "0");
    row("out of the type's range, kept", "RT_byte", "300", "300", "127", false);
    row("exponent on a double", "RT_double", "1e3", "1000", "1000.00000000");
    row("more digits than shown", "RT_double", "0.123456789", "0.123456789", "0.12345679");
    row("small float", "RT_float", "1.5E-7", "0.00000015", "0.0000");
    row("large double", "RT_double", "-1e21", "-1000000000000000000000", "-1000000000000000000000.00000000");
    for (const char* bad : {"", "2.5", "1,000", "0x10", "twelve"})
        QTest::addRow("int rejects \"%s\"", bad) << "RT_int" << bad << QString() << QString() << true;
    for (const char* bad : {"NaN", "INF", "1e400", "1.5.2"})
        QTest::addRow("double rejects \"%s\"", bad) << "RT_double" << bad << QString() << QString() << true;
}

void TestNumericFeature::fileTexts()
{
    QFETCH(QString, type);
    QFETCH(QString, text);
    QFETCH(QString, fileText);
    QFETCH(QString, displayText);
    QFETCH(bool, within);
    HolderElement holder;
    NumericFeature feature(&holder);
    feature.setRepresentationType(typeNamed(type.section(' ', 0, 0)));
    if (type.contains(' ')) {
        feature.setMinimumValue(type.section(' ', 1).section("..", 0, 0).toDouble());
        feature.setMaximumValue(type.section("..", 1).toDouble());
    }

    bool ok = true;
    const QVariant parsed = feature.parseText(text, &ok);
    QCOMPARE(ok, !fileText.isEmpty());
    QCOMPARE(parsed.isValid(), ok);
    if (!ok)
        return;
    feature.setValue(0, parsed);
    QCOMPARE(feature.fileText(0), fileText);
    QCOMPARE(feature.displayText(), displayText);
    QCOMPARE(feature.isWithinRange(parsed), within);
    // What is written reads back to the very same value.
    const QVariant reread = feature.parseText(fileText);
    QCOMPARE(reread.userType(), parsed.userType());
    QCOMPARE(NumericFeature::formatValue(reread, feature.representationType()), fileText);
}

void TestNumericFeature::maxSize()
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
}

QTEST_MAIN(TestNumericFeature)
#include "tst_numericfeature.moc"
