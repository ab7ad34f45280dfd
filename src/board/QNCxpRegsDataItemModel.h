#pragma once

#include "board/QNRegsDataItemModelBase.h"

#include <QPointer>

namespace Orvex {

class QNBrdDataSource;

// The completions of a CoaXPress camera register's data; the current value ("Cam: ") is read at the
// camera address that the sibling address holds, over the link of the data source's board.
class QNCxpRegsDataItemModel : public QNRegsDataItemModelBase
{
    Q_OBJECT

public:
    explicit QNCxpRegsDataItemModel(QNBrdDataSource* a_dataSource, QObject* a_parent = nullptr);
    ~QNCxpRegsDataItemModel() override;

protected:
    bool readRegister(const QString& a_address, quint32* a_value) const override;

private:
    QPointer<QNBrdDataSource> m_dataSource;
};

} // namespace Orvex
