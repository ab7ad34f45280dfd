#include "elements/NumericFeature.h"

#include <QDoubleSpinBox>
#include <QLayout>
#include <QMetaEnum>
#include <QSignalSpy>
#include <QTest>

#include <cfloat>

using namespace Orvex;
using Type = NumericFeature::RepTypeEnum;

namespace {

class HolderElement : public WidgetElementBase
{
public:
    using WidgetElementBase::WidgetElementBase;
    void highlight(size_t) override {}
};

// Records each change handed over for undo as "index: old -> new".
class RecordingFeature : public NumericFeature
{
public:
    using NumericFeature::NumericFeature;
    using NumericFeature::valueWidget;
    QStringList pushes;

    QDoubleSpinBox* spinBox(size_t a_index) const
    {
        return qobject_cast<QDoubleSpinBox*>(valueWidget(a_index));
    }

protected:
    void pushValueChange(size_t a_index, const QVariant& a_old, const QVariant& a_new) override
    {
        pushes << QStringLiteral("%1: %2 -> %3").arg(a_index).arg(a_old.toString(), a_new.toString());
    }
};

struct Scene
{
    HolderElement holder{nullptr, nullptr};
    Scene()
    {
        holder.setWidget(new QWidget);
        holder.widget()->setLayout(new QVBoxLayout);
    }
    void show(FeatureElementBase& a_feature)
    {
        holder.widget()->layout()->addWidget(a_feature.createWidget());
        holder.widget()->show();
        QVERIFY(QTest::qWaitForWindowExposed(holder.widget()));
    }
};

Type typeNamed(const char* a_key)
{
    return Type(QMetaEnum::fromType<Type>().keyToValue(a_key));
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
    const double floatMax = FLT_MAX;
    const struct
    {
        const char* name;
        const char* writes;
        double minimum, maximum;
        int decimals;
        const char* text;
    } rows[] = {
        {"RT_integer", "", -huge, huge, 0, "0"},
        {"RT_positiveInteger", "", 1, huge, 0, "1"},
        {"RT_negativeInteger", "", -huge, -1, 0, "-1"},
        {"RT_nonNegativeInteger", "", 0, huge, 0, "0"},
        {"RT_nonPositiveInteger", "", -huge, 0, 0, "0"},
        {"RT_long", "", -9223372036854775808.0, 9223372036854775808.0, 0, "0"},
        {"RT_unsignedLong", "", 0, 18446744073709551616.0, 0, "0"},
        {"RT_int", "", -2147483648.0, 2147483647.0, 0, "0"},
        {"RT_unsignedInt", "", 0, 4294967295.0, 0, "0"},
        {"RT_short", "", -32768, 32767, 0, "0"},
        {"RT_unsignedShort", "", 0, 65535, 0, "0"},
        {"RT_byte", "", -128, 127, 0, "0"},
        {"RT_unsignedByte", "", 0, 255, 0, "0"},
        {"RT_decimal", "", -huge, huge, 8, "0.00000000"},
        {"RT_float", "", -floatMax, floatMax, 4, "0.0000"},
        {"RT_double", "", -huge, huge, 8, "0.00000000"},
        {"new feature", "", -huge, huge, 8, "0.00000000"},
        {"max above the type's", "representationType=RT_unsignedByte maximumValue=1000", 0, 255, 0, "0"},
        {"min below the type's", "representationType=RT_byte minimumValue=-1000", -128, 127, 0, "0"},
        {"max below the type's min", "representationType=RT_positiveInteger maximumValue=-5", 1, 1, 0, "1"},
        {"min above max moves max", "representationType=RT_int maximumValue=10 minimumValue=20", 20, 20, 0,
         "20"},
        {"max below min moves min", "representationType=RT_short minimumValue=5 maximumValue=-7", -7, -7, 0,
         "-7"},
        {"flag alone, default max", "representationType=RT_int hasExplicitMaximum=true", -2147483648.0, 100,
         0, "0"},
        {"int, 3 fraction digits", "representationType=RT_int fractionDigits=3 hasFractionDigits=true",
         -2147483648.0, 2147483647.0, 0, "0"},
        {"float, 6 fraction digits", "representationType=RT_float fractionDigits=6 hasFractionDigits=true",
         -floatMax, floatMax, 4, "0.0000"},
        {"double, 2 fraction digits, bounds rounded",
         "fractionDigits=2 hasFractionDigits=true minimumValue=0.125 maximumValue=9.999", 0.13, 10, 2,
         "0.13"},
        {"negative fraction digits", "fractionDigits=-3 hasFractionDigits=true", -huge, huge, 0, "0"},
        {"fraction digits without the flag", "fractionDigits=2", -huge, huge, 8, "0.00000000"},
        {"default rounded and clamped",
         "representationType=RT_decimal maximumValue=2 defaultValue=2.000000004", -huge, 2, 8, "2.00000000"},
        {"fixed value", "representationType=RT_unsignedShort fixedValue=700", 0, 65535, 0, "700"},
    };
    const QMetaEnum types = QMetaEnum::fromType<Type>();
    QCOMPARE(types.keyCount(), 16);
    for (int type = 0; type < types.keyCount(); ++type)
        QCOMPARE(rows[type].name, types.valueToKey(type));
    for (int i = 0; i < int(std::size(rows)); ++i) {
        const auto& row = rows[i];
        QTest::newRow(row.name) << (i < 16 ? QStringLiteral("representationType=") + row.name : row.writes)
                                << row.minimum << row.maximum << row.decimals << row.text;
    }
}

void TestNumericFeature::spinBoxConfiguration()
{
    QFETCH(QString, writes);
    QFETCH(double, minimum);
    QFETCH(double, maximum);
    QFETCH(int, decimals);
    QFETCH(QString, text);
    HolderElement holder(nullptr, nullptr);
    RecordingFeature feature(&holder);
    QCOMPARE(feature.instanceCount(), size_t(1));
    QCOMPARE(feature.valueProperty(), QStringLiteral("value"));
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
        QDoubleSpinBox* spinBox = feature.spinBox(i);
        QCOMPARE(spinBox->minimum(), minimum);
        QCOMPARE(spinBox->maximum(), maximum);
        QCOMPARE(spinBox->decimals(), decimals);
        QCOMPARE(spinBox->isReadOnly(), feature.fixedValue().isValid());
        QCOMPARE(spinBox->text(), text);
        QCOMPARE(feature.displayText(i), text);
        // New instances hold exactly what their spin box holds, whether it existed or not.
        if (i > 0)
            QVERIFY(feature.value(i).toDouble() == spinBox->value());
    }
    feature.setValue(1, 3);
    QCOMPARE(feature.displayText(1), feature.spinBox(1)->text());
    QCOMPARE(feature.pushes, QStringList());
}

void TestNumericFeature::badRepresentationType()
{
    HolderElement holder(nullptr, nullptr);
    NumericFeature feature(&holder);
    feature.createWidget();
    auto* spinBox = feature.widget()->findChild<QDoubleSpinBox*>();
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
        QCOMPARE(spinBox->maximum(), DBL_MAX);
        QCOMPARE(spinBox->decimals(), 8);
    }
    QVERIFY(warnings.isEmpty());
}

void TestNumericFeature::copyConstruction()
{
    HolderElement holder(nullptr, nullptr);
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
    QVERIFY(copy);
    for (const char* property :
         {"representationType", "minimumValue", "maximumValue", "fractionDigits", "hasExplicitMinimum",
          "hasExplicitMaximum", "hasFractionDigits", "maxOccurs", "name", "valueProperty"}) {
        QCOMPARE(copy->property(property), source.property(property));
    }
    QCOMPARE(copy->instanceCount(), size_t(2));
    QCOMPARE(copy->fileText(0), QStringLiteral("18446744073709551615"));
    QCOMPARE(copy->fileText(1), QStringLiteral("12"));
    QVERIFY(!copy->widget());

    source.setMinOccurs(0);
    source.setMaxOccurs(0);
    clone.reset(source.cloneFeature(&holder));
    QCOMPARE(clone->instanceCount(), size_t(0));
}

void TestNumericFeature::keptSpinBoxReconfigured()
{
    Scene scene;
    NumericFeature feature(&scene.holder);
    feature.setMinOccurs(0);
    feature.setRepresentationType(NumericFeature::RT_byte);
    feature.setValue(0, -100);
    scene.show(feature);
    QPointer<QDoubleSpinBox> spinBox = feature.widget()->findChild<QDoubleSpinBox*>();
    QVERIFY(feature.removeInstance(0));

    // Settings that change while the feature is switched off reach the spin box it gets back.
    feature.setRepresentationType(NumericFeature::RT_unsignedByte);
    feature.setMinimumValue(10);
    QVERIFY(feature.insertInstance(0));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(spinBox);
    QCOMPARE(feature.widget()->findChildren<QDoubleSpinBox*>(), QList<QDoubleSpinBox*>{spinBox.data()});
    QTRY_VERIFY(spinBox->isVisible());
    QCOMPARE(spinBox->minimum(), 10.0);
    QCOMPARE(spinBox->maximum(), 255.0);
    QCOMPARE(spinBox->text(), QStringLiteral("10"));
    QCOMPARE(feature.fileText(0), QStringLiteral("10"));
}

void TestNumericFeature::userTyping_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QStringList>("pushes");
    QTest::addColumn<QString>("fileText");

    const struct
    {
        const char* name;
        const char* type;
        const char* stored;
        const char* typed;
        const char* push;
        const char* fileText;
    } rows[] = {
        {"int", "RT_int", "5", "42", "0: 5 -> 42", "42"},
        {"double", "RT_double", "0.5", "0.125", "0: 0.5 -> 0.125", "0.125"},
        {"same value typed again", "RT_int", "5", "5", nullptr, "5"},
        // A double spin box cannot hold 2^53 + 1 and shows 2^53.
        {"64-bit value left as shown", "RT_integer", "9007199254740993", "", nullptr, "9007199254740993"},
        {"64-bit value edited", "RT_long", "9223372036854775807", "-4096", "0: 9223372036854775807 -> -4096",
         "-4096"},
    };
    for (const auto& row : rows) {
        QTest::newRow(row.name) << row.type << row.stored << row.typed
                                << (row.push ? QStringList{row.push} : QStringList()) << row.fileText;
    }
}

void TestNumericFeature::userTyping()
{
    QFETCH(QString, type);
    QFETCH(QString, stored);
    QFETCH(QString, typed);
    QFETCH(QStringList, pushes);
    QFETCH(QString, fileText);
    Scene scene;
    RecordingFeature feature(&scene.holder);
    feature.setRepresentationType(typeNamed(qPrintable(type)));
    feature.setValue(0, feature.parseText(stored));
    scene.show(feature);
    QDoubleSpinBox* spinBox = feature.spinBox(0);
    QSignalSpy changes(&feature, &ValueFeatureElementBase::valueChanged);

    if (!typed.isEmpty()) {
        spinBox->selectAll();
        QTest::keyClicks(spinBox, typed);
    }
    // The second finish, as when the spin box loses the focus afterwards, finds nothing new.
    QTest::keyClick(spinBox, Qt::Key_Enter);
    QTest::keyClick(spinBox, Qt::Key_Enter);

    QCOMPARE(feature.pushes, pushes);
    QCOMPARE(changes.count(), pushes.size());
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

    const struct
    {
        const char* name;
        const char* type;
        const char* text;
        const char* fileText;
        const char* displayText;
    } rows[] = {
        {"uint64 max", "RT_unsignedLong", "18446744073709551615", "18446744073709551615",
         "18446744073709551615"},
        {"2^64, one beyond", "RT_unsignedLong", "18446744073709551616", "18446744073709551616",
         "18446744073709551616"},
        {"int64 min", "RT_long", " -9223372036854775808 ", "-9223372036854775808", "-9223372036854775808"},
        {"2^53 + 1", "RT_integer", "9007199254740993", "9007199254740993", "9007199254740993"},
        {"beyond 64 bits", "RT_nonNegativeInteger", "1e20", "100000000000000000000", "100000000000000000000"},
        {"exponent on an integer", "RT_int", "1e3", "1000", "1000"},
        {"sign and zeros", "RT_short", "+007", "7", "7"},
        {"negative zero", "RT_byte", "-0", "0", "0"},
        {"out of range kept", "RT_byte", "300", "300", "127"},
        {"exponent on a double", "RT_double", "1e3", "1000", "1000.00000000"},
        {"decimal", "RT_decimal", "0.125", "0.125", "0.12500000"},
        {"more digits than shown", "RT_double", "0.123456789", "0.123456789", "0.12345679"},
        {"small float", "RT_float", "1.5E-7", "0.00000015", "0.0000"},
        {"large double", "RT_double", "-1e21", "-1000000000000000000000", "-1000000000000000000000.00000000"},
    };
    for (const auto& row : rows)
        QTest::newRow(row.name) << row.type << row.text << row.fileText << row.displayText;
    for (const char* bad : {"", "2.5", "1,000", "0x10", "twelve"})
        QTest::addRow("int rejects \"%s\"", bad) << "RT_int" << bad << QString() << QString();
    for (const char* bad : {"NaN", "INF", "1e400", "1.5.2"})
        QTest::addRow("double rejects \"%s\"", bad) << "RT_double" << bad << QString() << QString();
}

void TestNumericFeature::fileTexts()
{
    QFETCH(QString, type);
    QFETCH(QString, text);
    QFETCH(QString, fileText);
    QFETCH(QString, displayText);
    HolderElement holder(nullptr, nullptr);
    NumericFeature feature(&holder);
    feature.setRepresentationType(typeNamed(qPrintable(type)));

    bool ok = true;
    const QVariant parsed = feature.parseText(text, &ok);
    QCOMPARE(ok, !fileText.isEmpty());
    QCOMPARE(parsed.isValid(), ok);
    if (!ok)
        return;
    feature.setValue(0, parsed);
    QCOMPARE(feature.fileText(0), fileText);
    QCOMPARE(feature.displayText(), displayText);
    // What is written reads back to the very same value.
    const QVariant reread = feature.parseText(fileText);
    QCOMPARE(reread.userType(), parsed.userType());
    QCOMPARE(NumericFeature::formatValue(reread, feature.representationType()), fileText);
}

void TestNumericFeature::maxSize()
{
    Scene scene;
    NumericFeature byteFeature(&scene.holder);
    byteFeature.setRepresentationType(NumericFeature::RT_byte);
    NumericFeature doubleFeature(&scene.holder);
    scene.show(byteFeature);
    scene.show(doubleFeature);

    const QSize size = doubleFeature.maxSize();
    QVERIFY(byteFeature.maxSize().width() < size.width());
    auto* spinBox = doubleFeature.widget()->findChild<QDoubleSpinBox*>();
    // The whole text of the largest value, all 309 digits and the decimals.
    QVERIFY(size.width() > spinBox->fontMetrics().horizontalAdvance(spinBox->textFromValue(DBL_MAX)));

    QFont font = doubleFeature.widget()->font();
    font.setPointSize(font.pointSize() * 2);
    doubleFeature.widget()->setFont(font);
    QVERIFY(doubleFeature.maxSize().width() > size.width());
}

QTEST_MAIN(TestNumericFeature)
#include "tst_numericfeature.moc"
