#include "board/QNBrdRegsValueObserver.h"

#include "board/QNBrdRegsAddressItemModel.h"
#include "board/QNRegisterAccess.h"
#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

QNBrdRegsValueObserver::QNBrdRegsValueObserver(QNBrdRegsAddressItemModel* a_addressModel, QObject* a_parent)
    : ValueFeatureObserverBase(a_parent), m_addressModel(a_addressModel)
{
}

QNBrdRegsValueObserver::~QNBrdRegsValueObserver() = default;

void QNBrdRegsValueObserver::observeValueChange(ValueFeatureElementBase* a_element, size_t a_index,
                                                const QVariant& a_newValue, QVariant&)
{
    quint32 value = 0;
    if (m_addressModel && m_addressModel->readRegister(a_newValue.toString(), &value))
        QNRegisterAccess::fillSiblingData(a_element, a_index, value);
}

} // namespace Orvex
