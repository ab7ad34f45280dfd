#include "board/QNBrdRegsDataItemModel.h"

#include "board/QNBrdRegsAddressItemModel.h"

namespace Orvex {

QNBrdRegsDataItemModel::QNBrdRegsDataItemModel(QNBrdRegsAddressItemModel* a_addressModel, QObject* a_parent)
    : QNRegsDataItemModelBase(QStringLiteral("Reg: "), a_parent), m_addressModel(a_addressModel)
{
    // The table is rebuilt whenever the board changes, and the value shown must come from the new board.
    if (m_addressModel)
        connect(m_addressModel, &QAbstractItemModel::modelReset, this,
                &QNBrdRegsDataItemModel::readCurrentValue);
    readCurrentValue();
}

QNBrdRegsDataItemModel::~QNBrdRegsDataItemModel() = default;

void QNBrdRegsDataItemModel::requestCurrentValue(const QString& a_address)
{
    // The board's own registers live in the driver's memory and answer at once.
    quint32 value = 0;
    if (!m_addressModel || !m_addressModel->readRegister(a_address, &value))
        value = 0;
    showCurrentValue(value);
}

} // namespace Orvex
