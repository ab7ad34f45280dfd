#pragma once

#include <QLocale>
#include <QObject>
#include <QString>
#include <QVariant>

#include <optional>

namespace Orvex {

// The values of the sixteen numeric XML Schema types, without any widget: how a camera file's text is
// read and written, how a value is held, bounded and compared. The numeric editor, the table delegate and
// the schema parser share it.
//
// Values are held exactly: an integer type keeps qlonglong, or qulonglong above the qlonglong range, so
// that 64-bit values beyond 2^53 survive loading and saving unchanged; only integers beyond the 64-bit
// ranges (possible for "xs:integer" and at the deliberate 2^63 and 2^64 maxima) and all values of the
// decimal types are doubles.
class NumericValue
{
    Q_GADGET

public:
    // In schema order; the numbers are compared elsewhere. The fixed underlying type lets a schema's
    // unknown number be held (and reported) without undefined behaviour.
    enum RepTypeEnum : int
    {
        RT_integer,
        RT_positiveInteger,
        RT_negativeInteger,
        RT_nonNegativeInteger,
        RT_nonPositiveInteger,
        RT_long,
        RT_unsignedLong,
        RT_int,
        RT_unsignedInt,
        RT_short,
        RT_unsignedShort,
        RT_byte,
        RT_unsignedByte,
        RT_decimal,
        RT_float,
        RT_double,
    };
    Q_ENUM(RepTypeEnum)

    struct Limits
    {
        double minimum;
        double maximum;
        int decimals;
    };

    NumericValue() = delete;

    static bool isIntegerType(RepTypeEnum a_type)
    {
        return a_type >= RT_integer && a_type <= RT_unsignedByte;
    }
    // What the type alone allows; none for an unknown type.
    static std::optional<Limits> implicitLimits(RepTypeEnum a_type);
    // The type of an XSD type name ("xs:short"); none for any other name.
    static std::optional<RepTypeEnum> typeOfSchemaName(const QString& a_name);
    // The implicit limits narrowed by a schema's explicit bounds and fraction digits, each held within
    // the type's own range, and rounded to the decimals as a spin box rounds its range. None for an
    // unknown type.
    static std::optional<Limits> narrowedLimits(RepTypeEnum a_type, std::optional<double> a_minimum,
                                                std::optional<double> a_maximum,
                                                std::optional<int> a_fractionDigits);

    // Rounds as QDoubleSpinBox rounds values and bounds: through the fixed-point text, which rounds
    // halves away from zero. Never gives negative zero, which would be written as "-0".
    static double roundToDecimals(double a_value, int a_decimals);
    // The held form of a double; null for infinities and NaN.
    static QVariant fromReal(double a_value, RepTypeEnum a_type);
    // The held form of a_value, given in any form (a schema's default text, a double, any integer);
    // texts are read as parse reads them. Null for a value that is no finite number.
    static QVariant normalized(const QVariant& a_value, RepTypeEnum a_type);

    // Reads a camera file's text, trimmed, into the held form. Integer types take digits with an
    // optional sign, and also decimal or exponent notation of a whole number ("1e3" reads as 1000);
    // decimal types take decimal and exponent notation. Group separators, INF, NaN, values that
    // overflow a double and fractions for an integer type are rejected with a null value and a_ok false.
    // Ranges are not checked: a value outside them is kept as the file has it.
    static QVariant parse(const QString& a_text, RepTypeEnum a_type, bool* a_ok = nullptr);
    // As parse, and besides that an integer in "0x" hexadecimal notation with an optional sign.
    static QVariant parseWithHexadecimal(const QString& a_text, RepTypeEnum a_type, bool* a_ok = nullptr);
    // The text a camera file gets: integer types as exact whole numbers (a fraction rounded as the spin
    // box would), decimal types with the fewest digits that read back to the same double, both without
    // exponent, in the C locale. A value that is no number is written as it came.
    static QString format(const QVariant& a_value, RepTypeEnum a_type);
    // a_number, in its held form, in a_locale: integer types exactly, decimal types with a_decimals
    // digits after the point (QLocale::FloatingPointShortest for the fewest that read back).
    static QString text(const QVariant& a_number, RepTypeEnum a_type, int a_decimals,
                        const QLocale& a_locale);

    // a_value as a spin box configured with a_limits holds it: rounded to the decimals, then clamped
    // into the range; exact for 64-bit integers. Null for a value that is no number; without limits the
    // value as it is held.
    static QVariant bounded(const QVariant& a_value, RepTypeEnum a_type,
                            const std::optional<Limits>& a_limits);
    // Within a_limits, compared exactly for 64-bit integers; without limits, or for a value that is no
    // number, there is nothing to be outside of.
    static bool isWithin(const QVariant& a_value, RepTypeEnum a_type, const std::optional<Limits>& a_limits);

    // Same type and same value. QVariant's own comparison converts between types and compares doubles
    // fuzzily, which would take 250.5 read from "250.50" for 250.50000000001 and write the old text back.
    static bool isIdentical(const QVariant& a_left, const QVariant& a_right);
};

} // namespace Orvex
