#pragma once

#include "elements/ValueFeatureObserverBase.h"

#include <QHash>
#include <QPointer>

namespace Orvex {

class CameraRegisterReader;
class QNBrdDataSource;

// Watches the address of a CoaXPress camera register write: when the camera behind the open board
// answers at that address, the sibling data takes the value read. The camera is read in the background;
// an answer counts only while the write still shows the address it was asked for, and only the latest
// request of a write counts.
class QNCxpRegsValueObserver : public ValueFeatureObserverBase
{
    Q_OBJECT

public:
    explicit QNCxpRegsValueObserver(QNBrdDataSource* a_dataSource, QObject* a_parent = nullptr);
    ~QNCxpRegsValueObserver() override;

    void observeValueChange(ValueFeatureElementBase* a_element, size_t a_index, const QVariant& a_newValue,
                            QVariant& a_replacement) override;
    // Whether an answer from the camera is still to come.
    bool isReading() const;

private:
    struct Request
    {
        QPointer<ValueFeatureElementBase> m_element;
        size_t m_index = 0;
        quint32 m_address = 0;
    };

    void takeAnswer(quint64 a_ticket, bool a_read, quint32 a_value);

    QPointer<QNBrdDataSource> m_dataSource;
    CameraRegisterReader* m_reader = nullptr;
    QHash<quint64, Request> m_requests;
};

} // namespace Orvex
