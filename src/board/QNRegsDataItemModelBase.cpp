#include "board/QNRegsDataItemModelBase.h"

#include "board/QNRegisterAccess.h"
#include "elements/ValueFeatureElementBase.h"

#include <QTimer>

namespace Orvex {

QNRegsDataItemModelBase::QNRegsDataItemModelBase(const QString& a_currentLabel, QObject* a_parent)
    : StringFeatureCompleterItemModel(0, a_parent), m_currentLabel(a_currentLabel)
{
    m_refreshTimer = new QTimer(this);
    m_refreshTimer->setInterval(RefreshIntervalMs);
    connect(m_refreshTimer, &QTimer::timeout, this, &QNRegsDataItemModelBase::readCurrentValue);
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

void QNRegsDataItemModelBase::sourceChanged(ValueFeatureElementBase* a_element, int a_index)
{
    disconnect(m_addressWatch);
    const auto* address = qobject_cast<const ValueFeatureElementBase*>(
        QNRegisterAccess::sibling(a_element, QStringLiteral("address")));
    if (address) {
        m_addressWatch = connect(address, &ValueFeatureElementBase::valueChanged, this,
                                 &QNRegsDataItemModelBase::readCurrentValue);
    }
    if (a_element && a_index >= 0)
        m_refreshTimer->start();
    else
        m_refreshTimer->stop();
    readCurrentValue();
}

void QNRegsDataItemModelBase::latestValueChanged(const QString&)
{
    emit dataChanged(index(0, 0), index(0, 0));
}

void QNRegsDataItemModelBase::readCurrentValue()
{
    const QString address = shownAddress();
    if (address.isNull())
        showCurrentValue(0);
    else
        requestCurrentValue(address);
}

QString QNRegsDataItemModelBase::shownAddress() const
{
    const ValueFeatureElementBase* element = sourceElement();
    if (!element || sourceIndex() < 0)
        return QString();
    const QString address = QNRegisterAccess::siblingAddress(element, size_t(sourceIndex())).toString();
    return address.isNull() ? QStringLiteral("") : address;
}

void QNRegsDataItemModelBase::showCurrentValue(quint32 a_value)
{
    const QString current = QNRegisterAccess::hexText(a_value);
    // The popup is redrawn only for a value that changed, not at every periodic read.
    if (current == m_currentValue)
        return;
    m_currentValue = current;
    emit dataChanged(index(1, 0), index(1, 0));
}

} // namespace Orvex
