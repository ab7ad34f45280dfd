#pragma once

#include "board/QNRegsValueObserverBase.h"

#include <QPointer>

namespace Orvex {

class QNBrdRegsAddressItemModel;

// Watches the address of a board register write: when it names a register of the open board, the
// sibling data takes that register's current value.
class QNBrdRegsValueObserver : public QNRegsValueObserverBase
{
    Q_OBJECT

public:
    explicit QNBrdRegsValueObserver(QNBrdRegsAddressItemModel* a_addressModel, QObject* a_parent = nullptr);
    ~QNBrdRegsValueObserver() override;

protected:
    bool readRegister(const QString& a_address, quint32* a_value) const override;

private:
    QPointer<QNBrdRegsAddressItemModel> m_addressModel;
};

} // namespace Orvex
