#pragma once

#include "elements/StringFeatureCompleterItemModel.h"

#include <QPointer>

namespace Orvex {

class QNBrdRegsAddressItemModel;

// The completions of a board register's data: the typed value as it will be stored ("Hex: ") and the
// current value of the register that the sibling address names ("Reg: "), read when the popup opens.
class QNBrdRegsDataItemModel : public StringFeatureCompleterItemModel
{
    Q_OBJECT

public:
    explicit QNBrdRegsDataItemModel(QNBrdRegsAddressItemModel* a_addressModel, QObject* a_parent = nullptr);
    ~QNBrdRegsDataItemModel() override;

    int rowCount(const QModelIndex& a_parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& a_index, int a_role = Qt::DisplayRole) const override;

protected:
    void sourceChanged(ValueFeatureElementBase* a_element, int a_index) override;
    void latestValueChanged(const QString& a_value) override;

private:
    void readCurrentValue();

    QPointer<QNBrdRegsAddressItemModel> m_addressModel;
    QString m_currentValue;
};

} // namespace Orvex
