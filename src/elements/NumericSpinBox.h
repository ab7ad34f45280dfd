#pragma once

#include "widgets/CheckedSpinBox.h"

namespace Orvex {

// The editor of a number. A type that allows many decimals (a float or a double without a schema
// limit) shows only the ones its value needs: "5000", not "5000.00000000"; a schema that names its
// decimals gets them all. Entry keeps the type's full precision either way, and a number outside the
// range is marked rather than changed (see CheckedSpinBox).
class NumericSpinBox : public CheckedSpinBox
{
    Q_OBJECT

public:
    using CheckedSpinBox::CheckedSpinBox;

    QString textFromValue(double a_value) const override;

    // The unit a feature's documentation names for its number ("Delay in microseconds ..." gives
    // "µs"); empty when it names none.
    static QString unitOf(const QString& a_documentation);
};

} // namespace Orvex
