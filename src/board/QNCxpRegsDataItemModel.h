#pragma once

#include "elements/StringFeatureCompleterItemModel.h"

#include <QPointer>

namespace Orvex {

class QNBrdDataSource;

// The completions of a CoaXPress camera register's data: the typed value as it will be stored ("Hex: ")
// and the current value at the camera address that the sibling address holds ("Cam: "), read over the
// link of the data source's board when the popup opens.
class QNCxpRegsDataItemModel : public StringFeatureCompleterItemModel
{
    Q_OBJECT

public:
    explicit QNCxpRegsDataItemModel(QNBrdDataSource* a_dataSource, QObject* a_parent = nullptr);
    ~QNCxpRegsDataItemModel() override;

    int rowCount(const QModelIndex& a_parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& a_index, int a_role = Qt::DisplayRole) const override;

protected:
    void sourceChanged(ValueFeatureElementBase* a_element, int a_index) override;
    void latestValueChanged(const QString& a_value) override;

private:
    void readCurrentValue();

    QPointer<QNBrdDataSource> m_dataSource;
    QString m_currentValue;
};

} // namespace Orvex
