#include "board/QNCxpRegsDataItemModel.h"

#include "board/CameraRegisterReader.h"
#include "board/QNBrdDataSource.h"
#include "board/QNRegisterAccess.h"

namespace Orvex {

QNCxpRegsDataItemModel::QNCxpRegsDataItemModel(QNBrdDataSource* a_dataSource, QObject* a_parent)
    : QNRegsDataItemModelBase(QStringLiteral("Cam: "), a_parent), m_dataSource(a_dataSource),
      m_reader(new CameraRegisterReader(this))
{
    connect(m_reader, &CameraRegisterReader::answered, this, &QNCxpRegsDataItemModel::takeAnswer);
    if (m_dataSource)
        connect(m_dataSource, &QNBrdDataSource::sourceChanged, this,
                &QNCxpRegsDataItemModel::readCurrentValue);
    readCurrentValue();
}

QNCxpRegsDataItemModel::~QNCxpRegsDataItemModel() = default;

bool QNCxpRegsDataItemModel::isReading() const
{
    return m_reader->isReading();
}

void QNCxpRegsDataItemModel::requestCurrentValue(const QString& a_address)
{
    if (m_reading) {
        m_readAgain = true;
        return;
    }
    quint32 address = 0;
    if (!m_dataSource || !m_dataSource->isBoardOpen() ||
        !QNRegisterAccess::parseCameraAddress(a_address, &address)) {
        showCurrentValue(0);
        return;
    }
    m_address = address;
    m_reading = true;
    m_ticket = m_reader->read(m_dataSource->boardHandle(), address);
}

void QNCxpRegsDataItemModel::takeAnswer(quint64 a_ticket, bool a_read, quint32 a_value)
{
    if (a_ticket != m_ticket)
        return;
    m_reading = false;
    // Something changed while the camera answered, the board perhaps: only the read asked for since
    // tells what to show.
    if (m_readAgain) {
        m_readAgain = false;
        readCurrentValue();
        return;
    }
    quint32 shown = 0;
    if (QNRegisterAccess::parseCameraAddress(shownAddress(), &shown) && shown == m_address)
        showCurrentValue(a_read ? a_value : 0);
}

} // namespace Orvex
