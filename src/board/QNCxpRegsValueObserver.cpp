#include "board/QNCxpRegsValueObserver.h"

#include "board/QNBrdDataSource.h"
#include "board/QNRegisterAccess.h"

namespace Orvex {

QNCxpRegsValueObserver::QNCxpRegsValueObserver(QNBrdDataSource* a_dataSource, QObject* a_parent)
    : QNRegsValueObserverBase(a_parent), m_dataSource(a_dataSource)
{
}

QNCxpRegsValueObserver::~QNCxpRegsValueObserver() = default;

bool QNCxpRegsValueObserver::readRegister(const QString& a_address, quint32* a_value) const
{
    return QNRegisterAccess::readCameraRegister(m_dataSource, a_address, a_value);
}

} // namespace Orvex
