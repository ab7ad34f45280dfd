#include "board/QNCxpRegsDataItemModel.h"

#include "board/QNBrdDataSource.h"
#include "board/QNRegisterAccess.h"

namespace Orvex {

QNCxpRegsDataItemModel::QNCxpRegsDataItemModel(QNBrdDataSource* a_dataSource, QObject* a_parent)
    : QNRegsDataItemModelBase(QStringLiteral("Cam: "), a_parent), m_dataSource(a_dataSource)
{
    if (m_dataSource)
        connect(m_dataSource, &QNBrdDataSource::sourceChanged, this,
                &QNCxpRegsDataItemModel::readCurrentValue);
    readCurrentValue();
}

QNCxpRegsDataItemModel::~QNCxpRegsDataItemModel() = default;

bool QNCxpRegsDataItemModel::readRegister(const QString& a_address, quint32* a_value) const
{
    return QNRegisterAccess::readCameraRegister(m_dataSource, a_address, a_value);
}

} // namespace Orvex
