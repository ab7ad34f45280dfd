#include "board/QNCxpRegsValueObserver.h"

#include "board/QNBrdDataSource.h"
#include "board/QNRegisterAccess.h"

namespace Orvex {

QNCxpRegsValueObserver::QNCxpRegsValueObserver(QNBrdDataSource* a_dataSource, QObject* a_parent)
    : ValueFeatureObserverBase(a_parent), m_dataSource(a_dataSource)
{
}

QNCxpRegsValueObserver::~QNCxpRegsValueObserver() = default;

void QNCxpRegsValueObserver::observeValueChange(ValueFeatureElementBase* a_element, size_t a_index,
                                                const QVariant& a_newValue, QVariant&)
{
    quint32 value = 0;
    if (QNRegisterAccess::readCameraRegister(m_dataSource, a_newValue.toString(), &value))
        QNRegisterAccess::fillSiblingData(a_element, a_index, value);
}

} // namespace Orvex
