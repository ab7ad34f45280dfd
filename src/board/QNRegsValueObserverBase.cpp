#include "board/QNRegsValueObserverBase.h"

#include "board/QNRegisterAccess.h"

namespace Orvex {

QNRegsValueObserverBase::QNRegsValueObserverBase(QObject* a_parent) : ValueFeatureObserverBase(a_parent)
{
}

QNRegsValueObserverBase::~QNRegsValueObserverBase() = default;

void QNRegsValueObserverBase::observeValueChange(ValueFeatureElementBase* a_element, size_t a_index,
                                                 const QVariant& a_newValue, QVariant&)
{
    quint32 value = 0;
    if (readRegister(a_newValue.toString(), &value))
        QNRegisterAccess::fillSiblingData(a_element, a_index, value);
}

} // namespace Orvex
