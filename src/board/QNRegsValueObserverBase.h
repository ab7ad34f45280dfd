#pragma once

#include "elements/ValueFeatureObserverBase.h"

namespace Orvex {

// Watches the address of a register write whose register is read at once, as the board's own are: when
// something answers at the address, the sibling data takes the value read, as an undoable change.
class QNRegsValueObserverBase : public ValueFeatureObserverBase
{
    Q_OBJECT

public:
    ~QNRegsValueObserverBase() override;

    // Never corrects the address itself.
    void observeValueChange(ValueFeatureElementBase* a_element, size_t a_index, const QVariant& a_newValue,
                            QVariant& a_replacement) override;

protected:
    explicit QNRegsValueObserverBase(QObject* a_parent);

    // The value of the register at a_address; false when nothing answers there.
    virtual bool readRegister(const QString& a_address, quint32* a_value) const = 0;
};

} // namespace Orvex
