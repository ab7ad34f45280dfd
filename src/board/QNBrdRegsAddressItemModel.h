#pragma once

#include "elements/StringFeatureCompleterItemModel.h"

#include <QMap>
#include <QPair>
#include <QPointer>
#include <QVector>

namespace Orvex {

class QNBrdDataSource;

// The supported registers of the board open in a data source, ordered by name: the completions of a
// board register's address, and the way from a register name to its id and current value. The table
// follows the data source from board to board.
class QNBrdRegsAddressItemModel : public StringFeatureCompleterItemModel
{
    Q_OBJECT

public:
    explicit QNBrdRegsAddressItemModel(QNBrdDataSource* a_dataSource, QObject* a_parent = nullptr);
    ~QNBrdRegsAddressItemModel() override;

    // Null once the data source is gone.
    QNBrdDataSource* dataSource() const;

    // The id of the register named a_name (case matters), QNRegIdCount for a name the board lacks.
    unsigned registerId(const QString& a_name) const;
    // The current value of the register named a_name; false without a board or for an unknown name.
    bool readRegister(const QString& a_name, quint32* a_value) const;

    int rowCount(const QModelIndex& a_parent = QModelIndex()) const override;
    // The register name, for the display and edit roles.
    QVariant data(const QModelIndex& a_index, int a_role = Qt::DisplayRole) const override;

public slots:
    // Reads the open board's registers anew; empty without a board.
    void buildRegTable();

private:
    QPointer<QNBrdDataSource> m_dataSource;
    QVector<QPair<QString, unsigned>> m_registers;
    QMap<QString, unsigned> m_ids;
};

} // namespace Orvex
