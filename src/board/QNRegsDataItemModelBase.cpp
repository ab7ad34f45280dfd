#include "board/QNRegsDataItemModelBase.h"

#include "board/QNRegisterAccess.h"
#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

QNRegsDataItemModelBase::QNRegsDataItemModelBase(const QString& a_currentLabel, QObject* a_parent)
    : StringFeatureCompleterItemModel(0, a_parent), m_currentLabel(a_currentLabel)
{
}

QNRegsDataItemModelBase::~QNRegsDataItemModelBase() = default;

int QNRegsDataItemModelBase::rowCount(const QModelIndex& a_parent) const
{
    return a_parent.isValid() ? 0 : QNRegisterAccess::DataRowCount;
}

QVariant QNRegsDataItemModelBase::data(const QModelIndex& a_index, int a_role) const
{
    return QNRegisterAccess::dataRow(a_index, a_role, latestValue(), m_currentLabel, m_currentValue);
}

void QNRegsDataItemModelBase::sourceChanged(ValueFeatureElementBase*, int)
{
    readCurrentValue();
}

void QNRegsDataItemModelBase::latestValueChanged(const QString&)
{
    emit dataChanged(index(0, 0), index(0, 0));
}

void QNRegsDataItemModelBase::readCurrentValue()
{
    quint32 value = 0;
    const ValueFeatureElementBase* element = sourceElement();
    if (!element || sourceIndex() < 0 ||
        !readRegister(QNRegisterAccess::siblingAddress(element, size_t(sourceIndex())).toString(), &value))
        value = 0;
    m_currentValue = QNRegisterAccess::hexText(value);
    emit dataChanged(index(1, 0), index(1, 0));
}

} // namespace Orvex
