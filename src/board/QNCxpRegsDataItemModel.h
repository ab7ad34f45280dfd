#pragma once

#include "board/QNRegsDataItemModelBase.h"

#include <QPointer>

namespace Orvex {

class CameraRegisterReader;
class QNBrdDataSource;

// The completions of a CoaXPress camera register's data; the current value ("Cam: ") is read at the
// camera address that the sibling address holds, over the link of the data source's board, in the
// background: one read at a time, and an answer for an address no longer shown is dropped.
class QNCxpRegsDataItemModel : public QNRegsDataItemModelBase
{
    Q_OBJECT

public:
    explicit QNCxpRegsDataItemModel(QNBrdDataSource* a_dataSource, QObject* a_parent = nullptr);
    ~QNCxpRegsDataItemModel() override;

    // Whether an answer from the camera is still to come.
    bool isReading() const;

protected:
    void requestCurrentValue(const QString& a_address) override;

private:
    void takeAnswer(quint64 a_ticket, bool a_read, quint32 a_value);

    QPointer<QNBrdDataSource> m_dataSource;
    CameraRegisterReader* m_reader = nullptr;
    quint64 m_ticket = 0;
    quint32 m_address = 0;
    bool m_reading = false;
    // Asked for while a read was under way: read again, at the address shown then, once it answers.
    bool m_readAgain = false;
};

} // namespace Orvex
