#pragma once

#include "board/QNRegsValueObserverBase.h"

#include <QPointer>

namespace Orvex {

class QNBrdDataSource;

// Watches the address of a CoaXPress camera register write: when the camera behind the open board
// answers at that address, the sibling data takes the value read.
class QNCxpRegsValueObserver : public QNRegsValueObserverBase
{
    Q_OBJECT

public:
    explicit QNCxpRegsValueObserver(QNBrdDataSource* a_dataSource, QObject* a_parent = nullptr);
    ~QNCxpRegsValueObserver() override;

protected:
    bool readRegister(const QString& a_address, quint32* a_value) const override;

private:
    QPointer<QNBrdDataSource> m_dataSource;
};

} // namespace Orvex
