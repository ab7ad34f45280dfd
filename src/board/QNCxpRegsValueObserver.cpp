#include "board/QNCxpRegsValueObserver.h"

#include "board/CameraRegisterReader.h"
#include "board/QNBrdDataSource.h"
#include "board/QNRegisterAccess.h"
#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

QNCxpRegsValueObserver::QNCxpRegsValueObserver(QNBrdDataSource* a_dataSource, QObject* a_parent)
    : ValueFeatureObserverBase(a_parent), m_dataSource(a_dataSource), m_reader(new CameraRegisterReader(this))
{
    connect(m_reader, &CameraRegisterReader::answered, this, &QNCxpRegsValueObserver::takeAnswer);
}

QNCxpRegsValueObserver::~QNCxpRegsValueObserver() = default;

void QNCxpRegsValueObserver::observeValueChange(ValueFeatureElementBase* a_element, size_t a_index,
                                                const QVariant& a_newValue, QVariant&)
{
    quint32 address = 0;
    if (!a_element || !m_dataSource || !m_dataSource->isBoardOpen() ||
        !QNRegisterAccess::parseCameraAddress(a_newValue.toString(), &address))
        return;
    m_requests.insert(m_reader->read(m_dataSource->boardHandle(), address), {a_element, a_index, address});
}

bool QNCxpRegsValueObserver::isReading() const
{
    return m_reader->isReading();
}

void QNCxpRegsValueObserver::takeAnswer(quint64 a_ticket, bool a_read, quint32 a_value)
{
    const Request request = m_requests.take(a_ticket);
    if (!a_read || !request.m_element)
        return;
    // The user may have typed another address meanwhile, or undone the one asked for, or removed the write.
    quint32 shown = 0;
    const bool stillShown =
        request.m_index < request.m_element->instanceCount() &&
        QNRegisterAccess::parseCameraAddress(request.m_element->value(request.m_index).toString(), &shown) &&
        shown == request.m_address;
    if (!stillShown)
        return;
    QNRegisterAccess::fillSiblingData(request.m_element, request.m_index, a_value);
}

} // namespace Orvex
