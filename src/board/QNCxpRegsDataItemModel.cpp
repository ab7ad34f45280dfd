#include "board/QNCxpRegsDataItemModel.h"

#include "board/QNBrdDataSource.h"
#include "board/QNRegisterAccess.h"
#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

QNCxpRegsDataItemModel::QNCxpRegsDataItemModel(QNBrdDataSource* a_dataSource, QObject* a_parent)
    : StringFeatureCompleterItemModel(0, a_parent), m_dataSource(a_dataSource)
{
    if (m_dataSource)
        connect(m_dataSource, &QNBrdDataSource::sourceChanged, this,
                &QNCxpRegsDataItemModel::readCurrentValue);
    readCurrentValue();
}

QNCxpRegsDataItemModel::~QNCxpRegsDataItemModel() = default;

int QNCxpRegsDataItemModel::rowCount(const QModelIndex& a_parent) const
{
    return a_parent.isValid() ? 0 : QNRegisterAccess::DataRowCount;
}

QVariant QNCxpRegsDataItemModel::data(const QModelIndex& a_index, int a_role) const
{
    return QNRegisterAccess::dataRow(a_index, a_role, latestValue(), QStringLiteral("Cam: "), m_currentValue);
}

void QNCxpRegsDataItemModel::sourceChanged(ValueFeatureElementBase*, int)
{
    readCurrentValue();
}

void QNCxpRegsDataItemModel::latestValueChanged(const QString&)
{
    emit dataChanged(index(0, 0), index(0, 0));
}

void QNCxpRegsDataItemModel::readCurrentValue()
{
    quint32 value = 0;
    const ValueFeatureElementBase* element = sourceElement();
    if (!element || sourceIndex() < 0 ||
        !QNRegisterAccess::readCameraRegister(
            m_dataSource, QNRegisterAccess::siblingAddress(element, size_t(sourceIndex())).toString(),
            &value))
        value = 0;
    m_currentValue = QNRegisterAccess::hexText(value);
    emit dataChanged(index(1, 0), index(1, 0));
}

} // namespace Orvex
