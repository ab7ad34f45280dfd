#include "board/QNBrdRegsValueObserver.h"

#include "board/QNBrdRegsAddressItemModel.h"

namespace Orvex {

QNBrdRegsValueObserver::QNBrdRegsValueObserver(QNBrdRegsAddressItemModel* a_addressModel, QObject* a_parent)
    : QNRegsValueObserverBase(a_parent), m_addressModel(a_addressModel)
{
}

QNBrdRegsValueObserver::~QNBrdRegsValueObserver() = default;

bool QNBrdRegsValueObserver::readRegister(const QString& a_address, quint32* a_value) const
{
    return m_addressModel && m_addressModel->readRegister(a_address, a_value);
}

} // namespace Orvex
