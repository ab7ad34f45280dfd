#pragma once

#include "board/QNRegsDataItemModelBase.h"

#include <QPointer>

namespace Orvex {

class QNBrdRegsAddressItemModel;

// The completions of a board register's data; the current value ("Reg: ") is that of the open board's
// register that the sibling address names.
class QNBrdRegsDataItemModel : public QNRegsDataItemModelBase
{
    Q_OBJECT

public:
    explicit QNBrdRegsDataItemModel(QNBrdRegsAddressItemModel* a_addressModel, QObject* a_parent = nullptr);
    ~QNBrdRegsDataItemModel() override;

protected:
    void requestCurrentValue(const QString& a_address) override;

private:
    QPointer<QNBrdRegsAddressItemModel> m_addressModel;
};

} // namespace Orvex
