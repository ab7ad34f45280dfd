#include "model/NumericSpelling.h"

#include <QLocale>
#include <QRegularExpression>

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

namespace Orvex {

namespace {

struct Bounds
{
    const char* minimum;
    const char* maximum;
};

// Indexed by RepTypeEnum; empty texts for no bound and for the types that are not integers.
const std::array<Bounds, 16> s_bounds{{
    {"", ""},
    {"1", ""},
    {"", "-1"},
    {"0", ""},
    {"", "0"},
    {"-9223372036854775808", "9223372036854775807"},
    {"0", "18446744073709551615"},
    {"-2147483648", "2147483647"},
    {"0", "4294967295"},
    {"-32768", "32767"},
    {"0", "65535"},
    {"-128", "127"},
    {"0", "255"},
    {"", ""},
    {"", ""},
    {"", ""},
}};

bool known(NumericValue::RepTypeEnum a_type)
{
    return a_type >= 0 && size_t(a_type) < s_bounds.size();
}

// Sign and digits without leading zeros, "0" for any zero, so that two integers compare by sign, then
// length, then digits.
struct Integer
{
    bool negative = false;
    QString digits;
};

Integer integerOf(const QString& a_text)
{
    Integer value;
    QString text = a_text.trimmed();
    if (text.startsWith(QLatin1Char('-')) || text.startsWith(QLatin1Char('+'))) {
        value.negative = text.at(0) == QLatin1Char('-');
        text.remove(0, 1);
    }
    int first = 0;
    while (first < text.size() - 1 && text.at(first) == QLatin1Char('0'))
        ++first;
    value.digits = text.mid(first);
    if (value.digits == QLatin1String("0"))
        value.negative = false;
    return value;
}

int compare(const Integer& a_left, const Integer& a_right)
{
    if (a_left.negative != a_right.negative)
        return a_left.negative ? -1 : 1;
    int magnitude = a_left.digits.size() != a_right.digits.size()
                        ? (a_left.digits.size() < a_right.digits.size() ? -1 : 1)
                        : a_left.digits.compare(a_right.digits);
    magnitude = magnitude < 0 ? -1 : magnitude > 0 ? 1 : 0;
    return a_left.negative ? -magnitude : magnitude;
}

} // namespace

QString NumericSpelling::allowedForm(NumericValue::RepTypeEnum a_type)
{
    if (a_type == NumericValue::RT_unsignedLong || a_type == NumericValue::RT_unsignedInt ||
        a_type == NumericValue::RT_unsignedShort || a_type == NumericValue::RT_unsignedByte)
        return QStringLiteral("a whole number in decimal digits without sign");
    if (NumericValue::isIntegerType(a_type))
        return QStringLiteral("a whole number in decimal digits with an optional sign");
    if (a_type == NumericValue::RT_decimal)
        return QStringLiteral("a decimal number without exponent");
    return QStringLiteral("a decimal number with an optional exponent, INF, -INF or NaN");
}

bool NumericSpelling::isWellFormed(const QString& a_text, NumericValue::RepTypeEnum a_type)
{
    static const QRegularExpression integer(QStringLiteral("^[+-]?[0-9]+$"));
    static const QRegularExpression decimal(QStringLiteral("^[+-]?([0-9]+(\\.[0-9]*)?|\\.[0-9]+)$"));
    static const QRegularExpression real(
        QStringLiteral("^([+-]?([0-9]+(\\.[0-9]*)?|\\.[0-9]+)([eE][+-]?[0-9]+)?|-?INF|NaN)$"));
    const QString text = a_text.trimmed();
    if (!known(a_type))
        return true;
    // The schema checker takes no sign at all, not even "+" or "-0", for the unsigned types.
    const bool isUnsigned =
        a_type == NumericValue::RT_unsignedLong || a_type == NumericValue::RT_unsignedInt ||
        a_type == NumericValue::RT_unsignedShort || a_type == NumericValue::RT_unsignedByte;
    if (isUnsigned && (text.startsWith(QLatin1Char('+')) || text.startsWith(QLatin1Char('-'))))
        return false;
    // Most numbers of a file are digits with at most a sign, which every form takes: the problem check
    // asks for each of them, so they need no pattern.
    const int start = text.startsWith(QLatin1Char('+')) || text.startsWith(QLatin1Char('-')) ? 1 : 0;
    bool digits = text.size() > start;
    for (int i = start; digits && i < text.size(); ++i)
        digits = text.at(i) >= QLatin1Char('0') && text.at(i) <= QLatin1Char('9');
    if (digits)
        return true;
    if (NumericValue::isIntegerType(a_type))
        return integer.match(text).hasMatch();
    if (a_type == NumericValue::RT_decimal)
        return decimal.match(text).hasMatch();
    return real.match(text).hasMatch();
}

int NumericSpelling::compareWithTypeRange(const QString& a_text, NumericValue::RepTypeEnum a_type)
{
    if (!known(a_type) || !NumericValue::isIntegerType(a_type))
        return 0;
    // The bounds read once: every integer of a file is compared with them.
    static const std::array<std::pair<Integer, Integer>, s_bounds.size()> bounds = [] {
        std::array<std::pair<Integer, Integer>, s_bounds.size()> read;
        for (size_t type = 0; type < s_bounds.size(); ++type)
            read[type] = {integerOf(QLatin1String(s_bounds[type].minimum)),
                          integerOf(QLatin1String(s_bounds[type].maximum))};
        return read;
    }();
    const Integer value = integerOf(a_text);
    if (*s_bounds[size_t(a_type)].minimum && compare(value, bounds[size_t(a_type)].first) < 0)
        return -1;
    if (*s_bounds[size_t(a_type)].maximum && compare(value, bounds[size_t(a_type)].second) > 0)
        return 1;
    return 0;
}

QString NumericSpelling::typeMinimum(NumericValue::RepTypeEnum a_type)
{
    return known(a_type) ? QLatin1String(s_bounds[size_t(a_type)].minimum) : QString();
}

QString NumericSpelling::typeMaximum(NumericValue::RepTypeEnum a_type)
{
    return known(a_type) ? QLatin1String(s_bounds[size_t(a_type)].maximum) : QString();
}

bool NumericSpelling::underflows(const QString& a_text, NumericValue::RepTypeEnum a_type)
{
    if (a_type != NumericValue::RT_float && a_type != NumericValue::RT_double)
        return false;
    const QString text = a_text.trimmed();
    // Only a mantissa with a digit other than 0 can be too small; every number of a file passes here,
    // so a plain scan rather than a pattern.
    bool nonZero = false;
    for (const QChar c : text) {
        if (c == QLatin1Char('e') || c == QLatin1Char('E'))
            break;
        nonZero = nonZero || (c >= QLatin1Char('1') && c <= QLatin1Char('9'));
    }
    if (!nonZero)
        return false;
    bool ok = false;
    const double number = QLocale::c().toDouble(text, &ok);
    const double smallest = a_type == NumericValue::RT_float
                                ? double(std::numeric_limits<float>::denorm_min())
                                : std::numeric_limits<double>::denorm_min();
    // The C locale refuses a text whose number underflows; one that reads gives its value.
    return !ok ? std::isfinite(std::strtod(text.toLatin1().constData(), nullptr))
               : std::fabs(number) < smallest;
}

int NumericSpelling::fractionDigits(const QString& a_text)
{
    const QString text = a_text.trimmed();
    const int point = text.indexOf(QLatin1Char('.'));
    if (point < 0 || text.contains(QLatin1Char('e'), Qt::CaseInsensitive))
        return 0;
    int end = text.size();
    while (end > point + 1 && text.at(end - 1) == QLatin1Char('0'))
        --end;
    return end - point - 1;
}

} // namespace Orvex
