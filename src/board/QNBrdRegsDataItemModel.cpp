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

bool QNBrdRegsDataItemModel::readRegister(const QString& a_address, quint32* a_value) const
{
    return m_addressModel && m_addressModel->readRegister(a_address, a_value);
}

} // namespace Orvex
