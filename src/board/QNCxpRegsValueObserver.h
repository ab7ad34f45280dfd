#pragma once

#include "elements/ValueFeatureObserverBase.h"

#include <QPointer>

namespace Orvex {

class QNBrdDataSource;

// Watches the address of a CoaXPress camera register write: when the camera behind the open board
// answers at that address, the sibling data takes the value read, as an undoable change.
class QNCxpRegsValueObserver : public ValueFeatureObserverBase
{
    Q_OBJECT

public:
    explicit QNCxpRegsValueObserver(QNBrdDataSource* a_dataSource, QObject* a_parent = nullptr);
    ~QNCxpRegsValueObserver() override;

    // Never corrects the address itself.
    void observeValueChange(ValueFeatureElementBase* a_element, size_t a_index, const QVariant& a_newValue,
                            QVariant& a_replacement) override;

private:
    QPointer<QNBrdDataSource> m_dataSource;
};

} // namespace Orvex
