#include "board/QNBrdRegsAddressItemModel.h"

#include "board/QNBrdDataSource.h"
#include "elements/ValueFeatureElementBase.h"
#include "platform/QNDriver.h"

#include <algorithm>

namespace Orvex {

QNBrdRegsAddressItemModel::QNBrdRegsAddressItemModel(QNBrdDataSource* a_dataSource, QObject* a_parent)
    : StringFeatureCompleterItemModel(0, a_parent), m_dataSource(a_dataSource)
{
    if (m_dataSource)
        connect(m_dataSource, &QNBrdDataSource::sourceChanged, this,
                &QNBrdRegsAddressItemModel::buildRegTable);
    buildRegTable();
}

QNBrdRegsAddressItemModel::~QNBrdRegsAddressItemModel() = default;

QNBrdDataSource* QNBrdRegsAddressItemModel::dataSource() const
{
    return m_dataSource;
}

unsigned QNBrdRegsAddressItemModel::registerId(const QString& a_name) const
{
    // A register whose name the driver could not tell is listed nameless, and an empty address must not
    // pick it.
    if (a_name.isEmpty())
        return QNRegIdCount;
    return m_ids.value(a_name, QNRegIdCount);
}

bool QNBrdRegsAddressItemModel::readRegister(const QString& a_name, quint32* a_value) const
{
    const unsigned id = registerId(a_name);
    if (id >= QNRegIdCount || !m_dataSource || !m_dataSource->isBoardOpen())
        return false;
    *a_value = QNRegPeek(m_dataSource->boardHandle(), id);
    return true;
}

int QNBrdRegsAddressItemModel::rowCount(const QModelIndex& a_parent) const
{
    return a_parent.isValid() ? 0 : m_registers.size();
}

QVariant QNBrdRegsAddressItemModel::data(const QModelIndex& a_index, int a_role) const
{
    if (!a_index.isValid() || a_index.column() != 0 || a_index.row() >= m_registers.size() ||
        (a_role != Qt::DisplayRole && a_role != Qt::EditRole))
        return QVariant();
    return m_registers[a_index.row()].first;
}

void QNBrdRegsAddressItemModel::buildRegTable()
{
    beginResetModel();
    m_registers.clear();
    m_ids.clear();
    if (m_dataSource && m_dataSource->isBoardOpen()) {
        const HwBrdHandle handle = m_dataSource->boardHandle();
        for (unsigned id = 0; id < QNRegIdCount; ++id) {
            if (!QNRegSupported(handle, id))
                continue;
            char name[QNStringBufferSize] = {};
            const QString text = QNRegName(handle, id, name) == 0
                                     ? QString::fromUtf8(name, int(qstrnlen(name, sizeof name)))
                                     : QString();
            m_registers.append({text, id});
        }
        // Stable, so that registers sharing a name keep the order of their ids and the lowest id answers
        // for the name.
        std::stable_sort(m_registers.begin(), m_registers.end(),
                         [](const QPair<QString, unsigned>& a_left, const QPair<QString, unsigned>& a_right) {
                             return a_left.first < a_right.first;
                         });
        for (const QPair<QString, unsigned>& entry : m_registers) {
            if (!m_ids.contains(entry.first))
                m_ids.insert(entry.first, entry.second);
        }
    }
    endResetModel();
}

} // namespace Orvex
