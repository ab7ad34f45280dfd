#include "elements/NumericSpinBox.h"

#include <QHash>
#include <QRegularExpression>

#include <cstring>

namespace Orvex {

namespace {

// More decimals than this are the type's own precision rather than a step the schema chose.
constexpr int FixedDecimalsUpTo = 3;

// Everything the base class's text of a number depends on.
struct TextKey
{
    quint64 bits;
    int decimals;
    int language;
    int country;
    int options;
    bool groups;

    bool operator==(const TextKey& a_other) const
    {
        return bits == a_other.bits && decimals == a_other.decimals && language == a_other.language &&
               country == a_other.country && options == a_other.options && groups == a_other.groups;
    }
};

uint qHash(const TextKey& a_key, uint a_seed)
{
    return ::qHash(a_key.bits, a_seed) ^ uint(a_key.decimals) ^ (uint(a_key.groups) << 8);
}

// A type's limits are the same for every box of that type, and each box writes them out several times
// as it is set up and laid out (its range, its size, its tool tip); written out in full, the limits of
// the large types take the slow exact conversion, most of the time a page of numbers takes to build.
constexpr int KeptTexts = 512;

} // namespace

QString NumericSpinBox::textFromValue(double a_value) const
{
    static QHash<TextKey, QString> kept;
    TextKey key{0,
                decimals(),
                int(locale().language()),
                int(locale().country()),
                int(locale().numberOptions()),
                isGroupSeparatorShown()};
    std::memcpy(&key.bits, &a_value, sizeof key.bits);
    auto found = kept.constFind(key);
    if (found == kept.constEnd()) {
        if (kept.size() >= KeptTexts)
            kept.clear();
        found = kept.insert(key, CheckedSpinBox::textFromValue(a_value));
    }
    QString text = *found;
    const QChar point = locale().decimalPoint();
    if (decimals() <= FixedDecimalsUpTo || !text.contains(point))
        return text;
    while (text.endsWith(QLatin1Char('0')))
        text.chop(1);
    if (text.endsWith(point))
        text.chop(1);
    return text;
}

QString NumericSpinBox::unitOf(const QString& a_documentation)
{
    // The units the documentation spells out, longest first where one begins another. "in <unit>" names
    // the unit of the number; other mentions ("4 x 4 pixels") do not. Compiled once: every spin box
    // built asks.
    static const QVector<QPair<QRegularExpression, QString>> units = [] {
        const QVector<QPair<QString, QString>> spelled = {
            {QStringLiteral("hundredths of a decibel"), QStringLiteral("\u00d7 0.01 dB")},
            {QStringLiteral("frames per second"), QStringLiteral("fps")},
            {QStringLiteral("lines per second"), QStringLiteral("lines/s")},
            {QStringLiteral("nanoseconds"), QStringLiteral("ns")},
            {QStringLiteral("microseconds"), QStringLiteral("\u00b5s")},
            {QStringLiteral("milliseconds"), QStringLiteral("ms")},
            {QStringLiteral("seconds"), QStringLiteral("s")},
            {QStringLiteral("millimetres"), QStringLiteral("mm")},
            {QStringLiteral("millimeters"), QStringLiteral("mm")},
            {QStringLiteral("MHz"), QStringLiteral("MHz")},
            {QStringLiteral("kHz"), QStringLiteral("kHz")},
            {QStringLiteral("Hz"), QStringLiteral("Hz")},
            {QStringLiteral("bytes"), QStringLiteral("bytes")},
            {QStringLiteral("pixels"), QStringLiteral("px")},
            {QStringLiteral("lines"), QStringLiteral("lines")},
            {QStringLiteral("percent"), QStringLiteral("%")}};
        QVector<QPair<QRegularExpression, QString>> compiled;
        for (const auto& entry : spelled) {
            compiled.append({QRegularExpression(
                                 QStringLiteral("\\bin %1\\b").arg(QRegularExpression::escape(entry.first))),
                             entry.second});
        }
        return compiled;
    }();
    // Every mode's copy of a feature has the same documentation, and each of its spin boxes asks.
    static QHash<QString, QString> found;
    const auto kept = found.constFind(a_documentation);
    if (kept != found.constEnd())
        return *kept;
    int best = -1;
    QString unit;
    for (const auto& entry : units) {
        const int at = entry.first.match(a_documentation).capturedStart();
        if (at >= 0 && (best < 0 || at < best)) {
            best = at;
            unit = entry.second;
        }
    }
    if (found.size() >= KeptTexts)
        found.clear();
    found.insert(a_documentation, unit);
    return unit;
}

} // namespace Orvex
