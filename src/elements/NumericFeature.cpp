#include "elements/NumericFeature.h"

#include <QDoubleSpinBox>
#include <QFontMetrics>
#include <QLocale>
#include <QRegularExpression>
#include <QSignalBlocker>

#include <array>
#include <cmath>
#include <limits>

namespace Orvex {

namespace {

constexpr double s_doubleMax = std::numeric_limits<double>::max();
constexpr double s_floatMax = double(std::numeric_limits<float>::max());
// 2^63 and 2^64: the first doubles beyond the qlonglong and the qulonglong ranges.
constexpr double s_signedEnd = 9223372036854775808.0;
constexpr double s_unsignedEnd = 18446744073709551616.0;

// Indexed by RepTypeEnum. The 64-bit maxima are the integer bounds converted to double, one beyond
// the integer range; that is how the types have always been bounded.
const std::array<NumericFeature::Limits, 16> s_implicitLimits{{
    {-s_doubleMax, s_doubleMax, 0},
    {1.0, s_doubleMax, 0},
    {-s_doubleMax, -1.0, 0},
    {0.0, s_doubleMax, 0},
    {-s_doubleMax, 0.0, 0},
    {double(std::numeric_limits<qint64>::min()), double(std::numeric_limits<qint64>::max()), 0},
    {0.0, double(std::numeric_limits<quint64>::max()), 0},
    {-2147483648.0, 2147483647.0, 0},
    {0.0, 4294967295.0, 0},
    {-32768.0, 32767.0, 0},
    {0.0, 65535.0, 0},
    {-128.0, 127.0, 0},
    {0.0, 255.0, 0},
    {-s_doubleMax, s_doubleMax, 8},
    {-s_floatMax, s_floatMax, 4},
    {-s_doubleMax, s_doubleMax, 8},
}};

// A spin box keeps at most this many characters of each extreme's text when it works out its size hint.
constexpr int s_spinBoxHintCharacters = 18;

// Rounds as QDoubleSpinBox rounds values and bounds: through the fixed-point text, which rounds halves
// away from zero. A whole number needs no rounding, which spares the long texts of huge values.
double roundToDecimals(double a_value, int a_decimals)
{
    double rounded = a_value;
    if (std::isfinite(a_value) && std::floor(a_value) != a_value)
        rounded = QString::number(a_value, 'f', a_decimals).toDouble();
    // No negative zero: it would be written as "-0".
    return rounded == 0.0 ? 0.0 : rounded;
}

QVariant fromSigned(qint64 a_value, NumericFeature::RepTypeEnum a_type)
{
    return NumericFeature::isIntegerType(a_type) ? QVariant(qlonglong(a_value)) : QVariant(double(a_value));
}

QVariant fromUnsigned(quint64 a_value, NumericFeature::RepTypeEnum a_type)
{
    if (!NumericFeature::isIntegerType(a_type))
        return double(a_value);
    if (a_value <= quint64(std::numeric_limits<qint64>::max()))
        return qlonglong(a_value);
    return qulonglong(a_value);
}

QVariant fromReal(double a_value, NumericFeature::RepTypeEnum a_type)
{
    if (!std::isfinite(a_value))
        return QVariant();
    if (a_value == 0.0)
        a_value = 0.0;
    if (NumericFeature::isIntegerType(a_type) && std::floor(a_value) == a_value) {
        if (a_value >= -s_signedEnd && a_value < s_signedEnd)
            return qlonglong(a_value);
        if (a_value >= 0.0 && a_value < s_unsignedEnd)
            return qulonglong(a_value);
    }
    return a_value;
}

bool isExactInteger(const QVariant& a_value)
{
    return a_value.userType() == QMetaType::LongLong || a_value.userType() == QMetaType::ULongLong;
}

// -1, 0 or 1 as the exact integer a_integer is below, equal to or above a_bound, without the rounding
// that converting either side would bring.
int compareExact(const QVariant& a_integer, double a_bound)
{
    if (std::isnan(a_bound))
        return 0;
    const double whole = std::floor(a_bound);
    const int fraction = whole == a_bound ? 0 : -1;
    if (a_integer.userType() == QMetaType::ULongLong) {
        const quint64 value = a_integer.toULongLong();
        if (a_bound < 0.0)
            return 1;
        if (a_bound >= s_unsignedEnd)
            return -1;
        const auto boundWhole = quint64(whole);
        return value == boundWhole ? fraction : (value < boundWhole ? -1 : 1);
    }
    const qint64 value = a_integer.toLongLong();
    if (a_bound < -s_signedEnd)
        return 1;
    if (a_bound >= s_signedEnd)
        return -1;
    const auto boundWhole = qint64(whole);
    return value == boundWhole ? fraction : (value < boundWhole ? -1 : 1);
}

// a_value in its stored form. A decimal type gets a_decimals digits after the point, or with
// FloatingPointShortest the fewest that read back to the same double.
QString numberText(const QVariant& a_value, bool a_integer, int a_decimals, const QLocale& a_locale)
{
    if (a_value.userType() == QMetaType::LongLong)
        return a_locale.toString(a_value.toLongLong());
    if (a_value.userType() == QMetaType::ULongLong)
        return a_locale.toString(a_value.toULongLong());
    if (a_integer)
        return a_locale.toString(roundToDecimals(a_value.toDouble(), 0), 'f', 0);
    return a_locale.toString(a_value.toDouble(), 'f', a_decimals);
}

QLocale displayLocale()
{
    QLocale locale;
    locale.setNumberOptions(locale.numberOptions() | QLocale::OmitGroupSeparator);
    return locale;
}

} // namespace

NumericFeature::NumericFeature(ElementBase* a_parentElement) : ValueFeatureElementBase(a_parentElement)
{
    setValueProperty(QStringLiteral("value"));
    insertInstance(NoIndex);
}

NumericFeature::NumericFeature(const NumericFeature* a_source, ElementBase* a_parentElement)
    : ValueFeatureElementBase(a_source, a_parentElement)
{
    setValueProperty(QStringLiteral("value"));
    if (a_source) {
        m_representationType = a_source->m_representationType;
        m_hasExplicitMinimum = a_source->m_hasExplicitMinimum;
        m_hasExplicitMaximum = a_source->m_hasExplicitMaximum;
        m_hasFractionDigits = a_source->m_hasFractionDigits;
        m_explicitMinimum = a_source->m_explicitMinimum;
        m_explicitMaximum = a_source->m_explicitMaximum;
        m_fractionDigits = a_source->m_fractionDigits;
    }
    insertInstance(NoIndex);
    if (a_source)
        setDataSet(a_source->dataSet());
}

NumericFeature::~NumericFeature() = default;

double NumericFeature::doubleValue() const
{
    return normalizedValue(value(), m_representationType).toDouble();
}

void NumericFeature::setDoubleValue(double a_value)
{
    setValue(0, fromReal(a_value, m_representationType));
}

void NumericFeature::setMinimumValue(double a_minimum)
{
    m_explicitMinimum = a_minimum;
    if (m_explicitMaximum < a_minimum)
        m_explicitMaximum = a_minimum;
    m_hasExplicitMinimum = true;
    reconfigure();
}

void NumericFeature::setMaximumValue(double a_maximum)
{
    m_explicitMaximum = a_maximum;
    if (m_explicitMinimum > a_maximum)
        m_explicitMinimum = a_maximum;
    m_hasExplicitMaximum = true;
    reconfigure();
}

void NumericFeature::setFractionDigits(double a_fractionDigits)
{
    // A double only because the property is one; anything beyond int would be undefined to convert.
    const double digits = std::isnan(a_fractionDigits) ? 0.0 : std::trunc(a_fractionDigits);
    m_fractionDigits =
        int(qBound(double(std::numeric_limits<int>::min()), digits, double(std::numeric_limits<int>::max())));
    reconfigure();
}

void NumericFeature::setHasExplicitMinimum(bool a_hasExplicitMinimum)
{
    m_hasExplicitMinimum = a_hasExplicitMinimum;
    reconfigure();
}

void NumericFeature::setHasExplicitMaximum(bool a_hasExplicitMaximum)
{
    m_hasExplicitMaximum = a_hasExplicitMaximum;
    reconfigure();
}

void NumericFeature::setHasFractionDigits(bool a_hasFractionDigits)
{
    m_hasFractionDigits = a_hasFractionDigits;
    reconfigure();
}

void NumericFeature::setRepresentationType(RepTypeEnum a_representationType)
{
    m_representationType = a_representationType;
    if (!implicitLimits(a_representationType)) {
        emit warning(QStringLiteral("Bad Representation Type"),
                     QStringLiteral("Unknown numeric representation type with id = %1.")
                         .arg(int(a_representationType)));
    }
    reconfigure();
}

std::optional<NumericFeature::Limits> NumericFeature::implicitLimits(RepTypeEnum a_type)
{
    if (a_type < 0 || size_t(a_type) >= s_implicitLimits.size())
        return std::nullopt;
    return s_implicitLimits[size_t(a_type)];
}

std::optional<NumericFeature::Limits> NumericFeature::limits() const
{
    const std::optional<Limits> implicit = implicitLimits(m_representationType);
    if (!implicit)
        return std::nullopt;
    Limits result = *implicit;
    // Each explicit bound is held within the type's own range, not against the other explicit bound.
    if (m_hasExplicitMinimum)
        result.minimum = qBound(implicit->minimum, m_explicitMinimum, implicit->maximum);
    if (m_hasExplicitMaximum)
        result.maximum = qBound(implicit->minimum, m_explicitMaximum, implicit->maximum);
    if (m_hasFractionDigits)
        result.decimals = qMax(0, qMin(m_fractionDigits, implicit->decimals));
    result.minimum = roundToDecimals(result.minimum, result.decimals);
    result.maximum = qMax(result.minimum, roundToDecimals(result.maximum, result.decimals));
    return result;
}

QVariant NumericFeature::boundedValue(const QVariant& a_value) const
{
    const QVariant number = normalizedValue(a_value, m_representationType);
    const std::optional<Limits> limits = this->limits();
    if (!number.isValid() || !limits)
        return number;
    if (!isExactInteger(number)) {
        const double rounded = roundToDecimals(number.toDouble(), limits->decimals);
        return fromReal(qBound(limits->minimum, rounded, limits->maximum), m_representationType);
    }
    if (compareExact(number, limits->minimum) < 0)
        return fromReal(limits->minimum, m_representationType);
    if (compareExact(number, limits->maximum) > 0)
        return fromReal(limits->maximum, m_representationType);
    return number;
}

QVariant NumericFeature::normalizedValue(const QVariant& a_value, RepTypeEnum a_type)
{
    switch (a_value.userType()) {
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return parseValue(a_value.toString(), a_type);
    case QMetaType::LongLong:
    case QMetaType::Long:
    case QMetaType::Int:
    case QMetaType::Short:
    case QMetaType::SChar:
        return fromSigned(a_value.toLongLong(), a_type);
    case QMetaType::ULongLong:
    case QMetaType::ULong:
    case QMetaType::UInt:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return fromUnsigned(a_value.toULongLong(), a_type);
    default: {
        bool ok = false;
        const double number = a_value.toDouble(&ok);
        return ok ? fromReal(number, a_type) : QVariant();
    }
    }
}

QVariant NumericFeature::parseValue(const QString& a_text, RepTypeEnum a_type, bool* a_ok)
{
    const QString text = a_text.trimmed();
    QLocale locale = QLocale::c();
    locale.setNumberOptions(QLocale::RejectGroupSeparator);
    QVariant result;
    bool ok = false;
    if (isIntegerType(a_type)) {
        const qlonglong signedValue = locale.toLongLong(text, &ok);
        if (ok) {
            result = signedValue;
        } else if (const qulonglong unsignedValue = locale.toULongLong(text, &ok); ok) {
            result = fromUnsigned(unsignedValue, a_type);
        } else if (const double number = locale.toDouble(text, &ok); ok && std::floor(number) == number) {
            result = fromReal(number, a_type);
        }
    } else if (const double number = locale.toDouble(text, &ok); ok) {
        result = fromReal(number, a_type);
    }
    if (a_ok)
        *a_ok = result.isValid();
    return result;
}

QString NumericFeature::formatValue(const QVariant& a_value, RepTypeEnum a_type)
{
    const QVariant number = normalizedValue(a_value, a_type);
    if (!number.isValid())
        return a_value.toString();
    return numberText(number, isIntegerType(a_type), QLocale::FloatingPointShortest, QLocale::c());
}

QVariant NumericFeature::parseText(const QString& a_text, bool* a_ok) const
{
    return parseValue(a_text, m_representationType, a_ok);
}

QString NumericFeature::fileText(size_t a_index) const
{
    return a_index < instanceCount() ? formatValue(value(a_index), m_representationType) : QString();
}

QVariant NumericFeature::valueFromText(const QString& a_text, bool* a_ok) const
{
    static const QRegularExpression hexadecimal(QStringLiteral("^([+-]?)0[xX]([0-9A-Fa-f]+)$"));
    const QRegularExpressionMatch match = hexadecimal.match(a_text.trimmed());
    if (!match.hasMatch())
        return parseText(a_text, a_ok);
    bool ok = false;
    const qulonglong magnitude = match.captured(2).toULongLong(&ok, 16);
    QVariant result;
    if (ok && match.captured(1) != QLatin1String("-")) {
        result = fromUnsigned(magnitude, m_representationType);
    } else if (ok && magnitude <= quint64(std::numeric_limits<qint64>::max()) + 1) {
        // Negated in unsigned arithmetic, which also reaches the smallest qint64.
        result = fromSigned(qint64(0 - magnitude), m_representationType);
    }
    if (a_ok)
        *a_ok = result.isValid();
    return result;
}

QString NumericFeature::textFromValue(const QVariant& a_value) const
{
    return formatValue(a_value, m_representationType);
}

bool NumericFeature::isWithinRange(const QVariant& a_value) const
{
    const QVariant number = normalizedValue(a_value, m_representationType);
    const std::optional<Limits> limits = this->limits();
    if (!number.isValid() || !limits)
        return true;
    if (isExactInteger(number))
        return compareExact(number, limits->minimum) >= 0 && compareExact(number, limits->maximum) <= 0;
    return number.toDouble() >= limits->minimum && number.toDouble() <= limits->maximum;
}

QString NumericFeature::displayText(size_t a_index) const
{
    if (a_index >= instanceCount())
        return QString();
    const std::optional<Limits> limits = this->limits();
    if (!limits)
        return fileText(a_index);
    const QVariant shown = boundedValue(value(a_index));
    if (!shown.isValid())
        return value(a_index).toString();
    return numberText(shown, isIntegerType(m_representationType), limits->decimals, displayLocale());
}

QSize NumericFeature::maxSize() const
{
    QDoubleSpinBox probe;
    configureSpinBox(&probe);
    QSize size = measuredSize(probe);
    // The spin box's own hint measures only the start of long texts; a view that shows the whole text
    // of an extreme needs the rest as well.
    const QFontMetrics metrics(probe.font());
    int fullWidth = 0;
    int hintWidth = 0;
    for (const double extreme : {probe.minimum(), probe.maximum()}) {
        const QString text = probe.textFromValue(extreme);
        fullWidth = qMax(fullWidth, metrics.horizontalAdvance(text));
        hintWidth = qMax(hintWidth, metrics.horizontalAdvance(text.left(s_spinBoxHintCharacters)));
    }
    size.rwidth() += qMax(0, fullWidth - hintWidth);
    return size;
}

ValueFeatureElementBase* NumericFeature::cloneFeature(ElementBase* a_parentElement) const
{
    return new NumericFeature(this, a_parentElement);
}

void NumericFeature::userValueUpdate()
{
    auto* spinBox = qobject_cast<QDoubleSpinBox*>(sender());
    if (!spinBox)
        return;
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (valueWidget(index) != spinBox)
            continue;
        const QVariant shown = boundedValue(fixedValue().isValid() ? fixedValue() : value(index));
        if (shown.isValid() && shown.toDouble() == spinBox->value())
            return;
        userSetValue(index, normalizedValue(spinBox->value(), m_representationType));
        return;
    }
}

QWidget* NumericFeature::createInstanceValueWidget(size_t)
{
    auto* spinBox = instanceCount() == 1 ? qobject_cast<QDoubleSpinBox*>(takeKeptValueWidget()) : nullptr;
    if (!spinBox) {
        spinBox = new QDoubleSpinBox(widget());
        connect(spinBox, &QDoubleSpinBox::editingFinished, this, &NumericFeature::userValueUpdate);
    }
    configureSpinBox(spinBox);
    return spinBox;
}

void NumericFeature::insertInstanceValue(size_t a_index)
{
    ValueFeatureElementBase::insertInstanceValue(a_index);
    if (fixedValue().isValid())
        return;
    const QVariant start = value(a_index);
    const QVariant bounded = boundedValue(start);
    if (bounded.isValid() && !isIdentical(bounded, start)) {
        // A new instance is announced by instanceInserted alone; its first value is no change.
        const QSignalBlocker blocker(this);
        setValue(a_index, bounded);
    }
}

QVariant NumericFeature::newInstanceValue() const
{
    return 0.0;
}

void NumericFeature::writeWidgetValue(QWidget* a_widget, const QVariant& a_value)
{
    auto* spinBox = qobject_cast<QDoubleSpinBox*>(a_widget);
    if (!spinBox) {
        ValueFeatureElementBase::writeWidgetValue(a_widget, a_value);
        return;
    }
    const QVariant number = normalizedValue(a_value, m_representationType);
    if (number.isValid())
        spinBox->setValue(number.toDouble());
}

void NumericFeature::fixedValueChanged()
{
    const QVariant fixed = fixedValue();
    const QVariant number = normalizedValue(fixed, m_representationType);
    if (number.isValid() && !isIdentical(number, fixed)) {
        // Comes back here once more, with nothing left to convert.
        setFixedValue(number);
        return;
    }
    reconfigure();
}

void NumericFeature::reconfigure()
{
    const bool fixed = fixedValue().isValid();
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (!fixed) {
            const QVariant bounded = boundedValue(value(index));
            if (bounded.isValid() && !isIdentical(bounded, value(index)))
                setValue(index, bounded);
        }
        if (auto* spinBox = qobject_cast<QDoubleSpinBox*>(valueWidget(index))) {
            configureSpinBox(spinBox);
            showValue(index, value(index));
        }
    }
}

void NumericFeature::configureSpinBox(QDoubleSpinBox* a_spinBox) const
{
    const std::optional<Limits> limits = this->limits();
    if (!limits)
        return;
    // Decimals first: the range is rounded to them.
    a_spinBox->setDecimals(limits->decimals);
    a_spinBox->setRange(limits->minimum, limits->maximum);
    a_spinBox->setReadOnly(fixedValue().isValid());
}

} // namespace Orvex
