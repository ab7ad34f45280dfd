#include "board/QNBrdRegsDataItemModel.h"

#include "board/QNBrdRegsAddressItemModel.h"
#include "board/QNRegisterAccess.h"
#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

QNBrdRegsDataItemModel::QNBrdRegsDataItemModel(QNBrdRegsAddressItemModel* a_addressModel, QObject* a_parent)
    : StringFeatureCompleterItemModel(0, a_parent), m_addressModel(a_addressModel)
{
    // The table is rebuilt whenever the board changes, and the value shown must come from the new board.
    if (m_addressModel)
        connect(m_addressModel, &QAbstractItemModel::modelReset, this,
                &QNBrdRegsDataItemModel::readCurrentValue);
    readCurrentValue();
}

QNBrdRegsDataItemModel::~QNBrdRegsDataItemModel() = default;

int QNBrdRegsDataItemModel::rowCount(const QModelIndex& a_parent) const
{
    return a_parent.isValid() ? 0 : QNRegisterAccess::DataRowCount;
}

QVariant QNBrdRegsDataItemModel::data(const QModelIndex& a_index, int a_role) const
{
    return QNRegisterAccess::dataRow(a_index, a_role, latestValue(), QStringLiteral("Reg: "), m_currentValue);
}

void QNBrdRegsDataItemModel::sourceChanged(ValueFeatureElementBase*, int)
{
    readCurrentValue();
}

void QNBrdRegsDataItemModel::latestValueChanged(const QString&)
{
    emit dataChanged(index(0, 0), index(0, 0));
}

void QNBrdRegsDataItemModel::readCurrentValue()
{
    quint32 value = 0;
    const ValueFeatureElementBase* element = sourceElement();
    if (!element || sourceIndex() < 0 || !m_addressModel ||
        !m_addressModel->readRegister(
            QNRegisterAccess::siblingAddress(element, size_t(sourceIndex())).toString(), &value))
        value = 0;
    m_currentValue = QNRegisterAccess::hexText(value);
    emit dataChanged(index(1, 0), index(1, 0));
}

} // namespace Orvex
