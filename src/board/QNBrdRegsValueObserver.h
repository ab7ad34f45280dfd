#pragma once

#include "elements/ValueFeatureObserverBase.h"

#include <QPointer>

namespace Orvex {

class QNBrdRegsAddressItemModel;

// Watches the address of a board register write: when it names a register of the open board, the
// sibling data takes that register's current value, as an undoable change.
class QNBrdRegsValueObserver : public ValueFeatureObserverBase
{
    Q_OBJECT

public:
    explicit QNBrdRegsValueObserver(QNBrdRegsAddressItemModel* a_addressModel, QObject* a_parent = nullptr);
    ~QNBrdRegsValueObserver() override;

    // Never corrects the address itself.
    void observeValueChange(ValueFeatureElementBase* a_element, size_t a_index, const QVariant& a_newValue,
                            QVariant& a_replacement) override;

private:
    QPointer<QNBrdRegsAddressItemModel> m_addressModel;
};

} // namespace Orvex
