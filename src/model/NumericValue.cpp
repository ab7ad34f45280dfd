#include "model/NumericValue.h"

#include <QRegularExpression>

#include <array>
#include <cmath>
#include <iterator>
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
const std::array<NumericValue::Limits, 16> s_implicitLimits{{
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

// Indexed by RepTypeEnum.
const char* const s_schemaNames[] = {
    "xs:integer",
    "xs:positiveInteger",
    "xs:negativeInteger",
    "xs:nonNegativeInteger",
    "xs:nonPositiveInteger",
    "xs:long",
    "xs:unsignedLong",
    "xs:int",
    "xs:unsignedInt",
    "xs:short",
    "xs:unsignedShort",
    "xs:byte",
    "xs:unsignedByte",
    "xs:decimal",
    "xs:float",
    "xs:double",
};

QVariant fromSigned(qint64 a_value, NumericValue::RepTypeEnum a_type)
{
    return NumericValue::isIntegerType(a_type) ? QVariant(qlonglong(a_value)) : QVariant(double(a_value));
}

QVariant fromUnsigned(quint64 a_value, NumericValue::RepTypeEnum a_type)
{
    if (!NumericValue::isIntegerType(a_type))
        return double(a_value);
    if (a_value <= quint64(std::numeric_limits<qint64>::max()))
        return qlonglong(a_value);
    return qulonglong(a_value);
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

} // namespace

std::optional<NumericValue::Limits> NumericValue::implicitLimits(RepTypeEnum a_type)
{
    if (a_type < 0 || size_t(a_type) >= s_implicitLimits.size())
        return std::nullopt;
    return s_implicitLimits[size_t(a_type)];
}

std::optional<NumericValue::RepTypeEnum> NumericValue::typeOfSchemaName(const QString& a_name)
{
    for (int type = 0; type < int(std::size(s_schemaNames)); ++type) {
        if (a_name == QLatin1String(s_schemaNames[type]))
            return RepTypeEnum(type);
    }
    return std::nullopt;
}

std::optional<NumericValue::Limits> NumericValue::narrowedLimits(RepTypeEnum a_type,
                                                                 std::optional<double> a_minimum,
                                                                 std::optional<double> a_maximum,
                                                                 std::optional<int> a_fractionDigits)
{
    const std::optional<Limits> implicit = implicitLimits(a_type);
    if (!implicit)
        return std::nullopt;
    Limits result = *implicit;
    // Each explicit bound is held within the type's own range, not against the other explicit bound.
    if (a_minimum)
        result.minimum = qBound(implicit->minimum, *a_minimum, implicit->maximum);
    if (a_maximum)
        result.maximum = qBound(implicit->minimum, *a_maximum, implicit->maximum);
    if (a_fractionDigits)
        result.decimals = qMax(0, qMin(*a_fractionDigits, implicit->decimals));
    result.minimum = roundToDecimals(result.minimum, result.decimals);
    result.maximum = qMax(result.minimum, roundToDecimals(result.maximum, result.decimals));
    return result;
}

double NumericValue::roundToDecimals(double a_value, int a_decimals)
{
    // A whole number needs no rounding, which spares the long texts of huge values.
    double rounded = a_value;
    if (std::isfinite(a_value) && std::floor(a_value) != a_value)
        rounded = QString::number(a_value, 'f', a_decimals).toDouble();
    return rounded == 0.0 ? 0.0 : rounded;
}

QVariant NumericValue::fromReal(double a_value, RepTypeEnum a_type)
{
    if (!std::isfinite(a_value))
        return QVariant();
    if (a_value == 0.0)
        a_value = 0.0;
    if (isIntegerType(a_type) && std::floor(a_value) == a_value) {
        if (a_value >= -s_signedEnd && a_value < s_signedEnd)
            return qlonglong(a_value);
        if (a_value >= 0.0 && a_value < s_unsignedEnd)
            return qulonglong(a_value);
    }
    return a_value;
}

QVariant NumericValue::normalized(const QVariant& a_value, RepTypeEnum a_type)
{
    switch (a_value.userType()) {
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return parse(a_value.toString(), a_type);
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

QVariant NumericValue::parse(const QString& a_text, RepTypeEnum a_type, bool* a_ok)
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

QVariant NumericValue::parseWithHexadecimal(const QString& a_text, RepTypeEnum a_type, bool* a_ok)
{
    // Nearly every value a file holds is decimal: one without an "x" needs no match.
    if (!a_text.contains(QLatin1Char('x'), Qt::CaseInsensitive))
        return parse(a_text, a_type, a_ok);
    static const QRegularExpression hexadecimal(QStringLiteral("^([+-]?)0[xX]([0-9A-Fa-f]+)$"));
    const QRegularExpressionMatch match = hexadecimal.match(a_text.trimmed());
    if (!match.hasMatch())
        return parse(a_text, a_type, a_ok);
    bool ok = false;
    const qulonglong magnitude = match.captured(2).toULongLong(&ok, 16);
    QVariant result;
    if (ok && match.captured(1) != QLatin1String("-")) {
        result = fromUnsigned(magnitude, a_type);
    } else if (ok && magnitude <= quint64(std::numeric_limits<qint64>::max()) + 1) {
        // Negated in unsigned arithmetic, which also reaches the smallest qint64.
        result = fromSigned(qint64(0 - magnitude), a_type);
    }
    if (a_ok)
        *a_ok = result.isValid();
    return result;
}

QString NumericValue::format(const QVariant& a_value, RepTypeEnum a_type)
{
    const QVariant number = normalized(a_value, a_type);
    if (!number.isValid())
        return a_value.toString();
    return text(number, a_type, QLocale::FloatingPointShortest, QLocale::c());
}

QString NumericValue::text(const QVariant& a_number, RepTypeEnum a_type, int a_decimals,
                           const QLocale& a_locale)
{
    if (a_number.userType() == QMetaType::LongLong)
        return a_locale.toString(a_number.toLongLong());
    if (a_number.userType() == QMetaType::ULongLong)
        return a_locale.toString(a_number.toULongLong());
    if (isIntegerType(a_type))
        return a_locale.toString(roundToDecimals(a_number.toDouble(), 0), 'f', 0);
    return a_locale.toString(a_number.toDouble(), 'f', a_decimals);
}

QVariant NumericValue::bounded(const QVariant& a_value, RepTypeEnum a_type,
                               const std::optional<Limits>& a_limits)
{
    const QVariant number = normalized(a_value, a_type);
    if (!number.isValid() || !a_limits)
        return number;
    if (!isExactInteger(number)) {
        const double rounded = roundToDecimals(number.toDouble(), a_limits->decimals);
        return fromReal(qBound(a_limits->minimum, rounded, a_limits->maximum), a_type);
    }
    if (compareExact(number, a_limits->minimum) < 0)
        return fromReal(a_limits->minimum, a_type);
    if (compareExact(number, a_limits->maximum) > 0)
        return fromReal(a_limits->maximum, a_type);
    return number;
}

bool NumericValue::isWithin(const QVariant& a_value, RepTypeEnum a_type,
                            const std::optional<Limits>& a_limits)
{
    const QVariant number = normalized(a_value, a_type);
    if (!number.isValid() || !a_limits)
        return true;
    if (isExactInteger(number))
        return compareExact(number, a_limits->minimum) >= 0 && compareExact(number, a_limits->maximum) <= 0;
    return number.toDouble() >= a_limits->minimum && number.toDouble() <= a_limits->maximum;
}

bool NumericValue::isIdentical(const QVariant& a_left, const QVariant& a_right)
{
    if (a_left.userType() != a_right.userType())
        return false;
    // The types a value is held in compare by their payload; QVariant's own comparison goes through the
    // meta-type system, and every value written or checked is compared with what was read.
    switch (a_left.userType()) {
    case QMetaType::Double:
        return *static_cast<const double*>(a_left.constData()) ==
               *static_cast<const double*>(a_right.constData());
    case QMetaType::LongLong:
        return *static_cast<const qlonglong*>(a_left.constData()) ==
               *static_cast<const qlonglong*>(a_right.constData());
    case QMetaType::ULongLong:
        return *static_cast<const qulonglong*>(a_left.constData()) ==
               *static_cast<const qulonglong*>(a_right.constData());
    case QMetaType::Bool:
        return *static_cast<const bool*>(a_left.constData()) ==
               *static_cast<const bool*>(a_right.constData());
    case QMetaType::QString: {
        // A value kept as read shares its text with the read one: no need to load either to compare.
        const auto& left = *static_cast<const QString*>(a_left.constData());
        const auto& right = *static_cast<const QString*>(a_right.constData());
        return left.isSharedWith(right) || left == right;
    }
    default:
        return a_left == a_right;
    }
}

} // namespace Orvex
