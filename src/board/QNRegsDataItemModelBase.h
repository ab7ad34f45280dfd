#pragma once

#include "elements/StringFeatureCompleterItemModel.h"

#include <QMetaObject>

class QTimer;

namespace Orvex {

// The completions of a register's data, for the board's own registers and the camera's alike: the typed
// value as it will be stored ("Hex: ") and the current value of the register that the sibling address
// names, read when the popup opens, whenever the address or the register's owner changes, and a few
// times a second while the popup stays open, since the board changes its registers on its own.
class QNRegsDataItemModelBase : public StringFeatureCompleterItemModel
{
    Q_OBJECT

public:
    // Often enough to follow a register that counts, seldom enough not to load the board.
    static constexpr int RefreshIntervalMs = 250;

    ~QNRegsDataItemModelBase() override;

    int rowCount(const QModelIndex& a_parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& a_index, int a_role = Qt::DisplayRole) const override;

protected:
    // a_currentLabel names the current value's row ("Reg: ", "Cam: ").
    QNRegsDataItemModelBase(const QString& a_currentLabel, QObject* a_parent);

    // Asks for the value of the register at a_address (the sibling address's text); the answer goes to
    // showCurrentValue(), at once or later, 0 when nothing answers there.
    virtual void requestCurrentValue(const QString& a_address) = 0;
    void showCurrentValue(quint32 a_value);
    // The text of the sibling address of the write being edited; null while none is.
    QString shownAddress() const;
    // Called by the derived constructor, since the base cannot read through requestCurrentValue yet,
    // and by whatever tells that the register's owner changed.
    void readCurrentValue();

    void sourceChanged(ValueFeatureElementBase* a_element, int a_index) override;
    void latestValueChanged(const QString& a_value) override;

private:
    const QString m_currentLabel;
    QString m_currentValue;
    QTimer* m_refreshTimer = nullptr;
    QMetaObject::Connection m_addressWatch;
};

} // namespace Orvex
