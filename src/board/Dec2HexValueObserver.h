#pragma once

#include "elements/ValueFeatureObserverBase.h"

#include <QString>

namespace Orvex {

// Register values are written in hexadecimal; a decimal number typed into a register field is rewritten
// as "0x" and its upper-case hexadecimal digits, as a correction of its own that can be undone.
class Dec2HexValueObserver : public ValueFeatureObserverBase
{
    Q_OBJECT

public:
    explicit Dec2HexValueObserver(QObject* a_parent = nullptr);
    ~Dec2HexValueObserver() override;

    // Text starting with "0x" in any case stands, whatever follows, and so does anything that is not an
    // unsigned decimal number of 32 bits (a larger number is no register value, and rewriting it would
    // hide that). The digits are not padded: 31 becomes 0x1F.
    static QString converted(const QString& a_text);

    void observeValueChange(ValueFeatureElementBase* a_element, size_t a_index, const QVariant& a_newValue,
                            QVariant& a_replacement) override;
};

} // namespace Orvex
