#pragma once

#include "elements/StringFeatureCompleterItemModel.h"

#include <QPointer>
#include <QVector>

namespace Orvex {

class QNBrdDataSource;

// The registers a camera's own description names, as completions of a camera register's address: each
// row shows the name, the address and the value last read; choosing it puts the address into the field.
// The values are read on a thread of their own, since every read waits for the camera's answer; rows
// show "?" until their value has come. The table follows the data source and is empty for a board whose
// camera has no description to tell.
class QNCamRegsAddressItemModel : public StringFeatureCompleterItemModel
{
    Q_OBJECT

public:
    struct Register
    {
        QString m_name;
        quint32 m_address = 0;
        QString m_value;
    };

    explicit QNCamRegsAddressItemModel(QNBrdDataSource* a_dataSource, QObject* a_parent = nullptr);
    ~QNCamRegsAddressItemModel() override;

    QVector<Register> registers() const { return m_registers; }

    int rowCount(const QModelIndex& a_parent = QModelIndex()) const override;
    // Display: "name  0xADDRESS = value"; edit: the address as a register write holds it.
    QVariant data(const QModelIndex& a_index, int a_role = Qt::DisplayRole) const override;
    // The name the camera's description gives the register at the address a_value; empty for an address
    // it does not name.
    QString valueNote(const QString& a_value) const override;

signals:
    // Every value of the current table has been read (or found unreadable).
    void valuesRead();

public slots:
    void buildTable();

private:
    QPointer<QNBrdDataSource> m_dataSource;
    QVector<Register> m_registers;
    quint64 m_generation = 0;
};

} // namespace Orvex
