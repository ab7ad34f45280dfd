#pragma once

#include "elements/ValueFeatureElementBase.h"
#include "model/NumericValue.h"

#include <optional>

class QDoubleSpinBox;

namespace Orvex {

// A value feature for the sixteen numeric XML Schema types, edited in one double spin box per instance
// whose range and decimals follow from the representation type, narrowed by the schema's explicit
// bounds and fraction digits.
//
// Stored values are exact, in the form NumericValue holds them, which also reads, writes, bounds and
// compares them. The spin box, which only knows doubles, gets a conversion of the stored value and never
// writes it back unless the user changed what it shows. Values handed in another form (a schema's default
// text, a double) are accepted and read through normalizedValue().
class NumericFeature : public ValueFeatureElementBase
{
    Q_OBJECT
    Q_PROPERTY(double doubleValue READ doubleValue WRITE setDoubleValue)
    Q_PROPERTY(double minimumValue READ minimumValue WRITE setMinimumValue)
    Q_PROPERTY(double maximumValue READ maximumValue WRITE setMaximumValue)
    Q_PROPERTY(double fractionDigits READ fractionDigits WRITE setFractionDigits)
    Q_PROPERTY(bool hasExplicitMinimum READ hasExplicitMinimum WRITE setHasExplicitMinimum)
    Q_PROPERTY(bool hasExplicitMaximum READ hasExplicitMaximum WRITE setHasExplicitMaximum)
    Q_PROPERTY(bool hasFractionDigits READ hasFractionDigits WRITE setHasFractionDigits)
    Q_PROPERTY(Orvex::NumericValue::RepTypeEnum representationType READ representationType WRITE
                   setRepresentationType)

public:
    using RepTypeEnum = NumericValue::RepTypeEnum;
    using Limits = NumericValue::Limits;
    // The types under the names the editor has always offered them by.
    static constexpr RepTypeEnum RT_integer = NumericValue::RT_integer;
    static constexpr RepTypeEnum RT_positiveInteger = NumericValue::RT_positiveInteger;
    static constexpr RepTypeEnum RT_negativeInteger = NumericValue::RT_negativeInteger;
    static constexpr RepTypeEnum RT_nonNegativeInteger = NumericValue::RT_nonNegativeInteger;
    static constexpr RepTypeEnum RT_nonPositiveInteger = NumericValue::RT_nonPositiveInteger;
    static constexpr RepTypeEnum RT_long = NumericValue::RT_long;
    static constexpr RepTypeEnum RT_unsignedLong = NumericValue::RT_unsignedLong;
    static constexpr RepTypeEnum RT_int = NumericValue::RT_int;
    static constexpr RepTypeEnum RT_unsignedInt = NumericValue::RT_unsignedInt;
    static constexpr RepTypeEnum RT_short = NumericValue::RT_short;
    static constexpr RepTypeEnum RT_unsignedShort = NumericValue::RT_unsignedShort;
    static constexpr RepTypeEnum RT_byte = NumericValue::RT_byte;
    static constexpr RepTypeEnum RT_unsignedByte = NumericValue::RT_unsignedByte;
    static constexpr RepTypeEnum RT_decimal = NumericValue::RT_decimal;
    static constexpr RepTypeEnum RT_float = NumericValue::RT_float;
    static constexpr RepTypeEnum RT_double = NumericValue::RT_double;

    // RT_double, no explicit restrictions, one instance holding 0 (none when maxOccurs is 0).
    explicit NumericFeature(ElementBase* a_parentElement);
    // Bounds, type, restrictions and the instance values of a_source.
    NumericFeature(const NumericFeature* a_source, ElementBase* a_parentElement);
    ~NumericFeature() override;

    // Of instance 0; 0 when there is none.
    double doubleValue() const;
    void setDoubleValue(double a_value);

    double minimumValue() const { return m_explicitMinimum; }
    // Also makes the minimum explicit and pulls a lower explicit maximum up to it.
    void setMinimumValue(double a_minimum);
    double maximumValue() const { return m_explicitMaximum; }
    // Also makes the maximum explicit and pushes a higher explicit minimum down to it.
    void setMaximumValue(double a_maximum);
    double fractionDigits() const { return m_fractionDigits; }
    // Takes effect only while hasFractionDigits is set.
    void setFractionDigits(double a_fractionDigits);
    bool hasExplicitMinimum() const { return m_hasExplicitMinimum; }
    void setHasExplicitMinimum(bool a_hasExplicitMinimum);
    bool hasExplicitMaximum() const { return m_hasExplicitMaximum; }
    void setHasExplicitMaximum(bool a_hasExplicitMaximum);
    bool hasFractionDigits() const { return m_hasFractionDigits; }
    void setHasFractionDigits(bool a_hasFractionDigits);
    RepTypeEnum representationType() const { return m_representationType; }
    // A number outside the enumeration is kept but reported through warning(); such a feature has no
    // limits and its spin boxes stay as they are.
    void setRepresentationType(RepTypeEnum a_representationType);

    static bool isIntegerType(RepTypeEnum a_type) { return NumericValue::isIntegerType(a_type); }
    static std::optional<Limits> implicitLimits(RepTypeEnum a_type)
    {
        return NumericValue::implicitLimits(a_type);
    }
    // What the spin boxes are configured with: the implicit limits narrowed by the explicit ones, and
    // rounded to the decimals as a spin box rounds its range.
    std::optional<Limits> limits() const;
    // a_value as a spin box configured with limits() holds it: rounded to the decimals, then clamped
    // into the range; exact for 64-bit integers. Null for a value that is no number.
    QVariant boundedValue(const QVariant& a_value) const;

    static QVariant normalizedValue(const QVariant& a_value, RepTypeEnum a_type)
    {
        return NumericValue::normalized(a_value, a_type);
    }
    static QVariant parseValue(const QString& a_text, RepTypeEnum a_type, bool* a_ok = nullptr)
    {
        return NumericValue::parse(a_text, a_type, a_ok);
    }
    static QString formatValue(const QVariant& a_value, RepTypeEnum a_type)
    {
        return NumericValue::format(a_value, a_type);
    }
    // NumericValue::parse with this feature's representation type.
    QVariant parseText(const QString& a_text, bool* a_ok = nullptr) const;
    // Empty for an instance that does not exist.
    QString fileText(size_t a_index) const;

    // As NumericValue::parseWithHexadecimal reads it.
    QVariant valueFromText(const QString& a_text, bool* a_ok = nullptr) const override;
    // As NumericValue::format writes it.
    QString textFromValue(const QVariant& a_value) const override;
    // Within the limits of the type and the schema's explicit bounds, compared exactly for 64-bit
    // integers; a value with more fraction digits than allowed is no range problem.
    bool isWithinRange(const QVariant& a_value) const override;

    using ValueFeatureElementBase::displayText;
    // The text the instance's spin box shows, made from the stored value, so it is there without a
    // widget: integer types exactly, decimal types with the configured decimals, both in the default
    // locale without group separators.
    QString displayText(size_t a_index) const override;
    // What a spin box needs for the texts of its range's extremes.
    QSize maxSize() const override;
    ValueFeatureElementBase* cloneFeature(ElementBase* a_parentElement) const override;

protected slots:
    // Replaces the base's reading of the sending widget: the spin box knows only doubles, so its value
    // is turned into the stored form before userSetValue compares and stores it, and a spin box whose
    // value the user left as it was shown changes nothing, even where a double cannot hold the stored
    // value exactly.
    void userValueUpdate();

protected:
    QWidget* createInstanceValueWidget(size_t a_index) override;
    // A new instance holds its starting value as its spin box would: bounded by limits().
    void insertInstanceValue(size_t a_index) override;
    QVariant newInstanceValue() const override;
    void writeWidgetValue(QWidget* a_widget, const QVariant& a_value) override;
    // Stores a fixed value given as text in the stored form, and makes the spin boxes read-only.
    void fixedValueChanged() override;

private:
    // Brings the stored values within the new limits, as the spin boxes do with theirs, and configures
    // the spin boxes.
    void reconfigure();
    void configureSpinBox(QDoubleSpinBox* a_spinBox) const;
    std::optional<Limits> narrowedLimits() const;

    RepTypeEnum m_representationType = RT_double;
    bool m_hasExplicitMinimum = false;
    bool m_hasExplicitMaximum = false;
    bool m_hasFractionDigits = false;
    double m_explicitMinimum = 0.0;
    double m_explicitMaximum = 100.0;
    int m_fractionDigits = 0;
    // What limits() answers, worked out again whenever a facet changes: every range check, bounded value
    // and spin box asks for it, and a large file asks tens of thousands of times.
    std::optional<Limits> m_limits;
};

} // namespace Orvex
