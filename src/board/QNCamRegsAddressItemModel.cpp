#include "board/QNCamRegsAddressItemModel.h"

#include "board/QNBrdDataSource.h"
#include "board/QNRegisterAccess.h"
#include "platform/QNDriver.h"

#include <QThread>

#include <memory>

namespace Orvex {

namespace {

// Registers wider than a word are listed by their first word, the way a register write reaches them.
constexpr std::uint64_t AddressLimit = 0xFFFFFFFFu;

} // namespace

QNCamRegsAddressItemModel::QNCamRegsAddressItemModel(QNBrdDataSource* a_dataSource, QObject* a_parent)
    : StringFeatureCompleterItemModel(0, a_parent), m_dataSource(a_dataSource)
{
    if (m_dataSource)
        connect(m_dataSource, &QNBrdDataSource::sourceChanged, this, &QNCamRegsAddressItemModel::buildTable);
    buildTable();
}

QNCamRegsAddressItemModel::~QNCamRegsAddressItemModel() = default;

int QNCamRegsAddressItemModel::rowCount(const QModelIndex& a_parent) const
{
    return a_parent.isValid() ? 0 : m_registers.size();
}

QVariant QNCamRegsAddressItemModel::data(const QModelIndex& a_index, int a_role) const
{
    if (!a_index.isValid() || a_index.column() != 0 || a_index.row() >= m_registers.size())
        return QVariant();
    const Register& entry = m_registers[a_index.row()];
    const QString address = QNRegisterAccess::hexText(entry.m_address);
    if (a_role == Qt::EditRole)
        return address;
    if (a_role == Qt::DisplayRole)
        return QStringLiteral("%1  %2 = %3").arg(entry.m_name, address, entry.m_value);
    return QVariant();
}

QString QNCamRegsAddressItemModel::valueNote(const QString& a_value) const
{
    quint32 address = 0;
    if (!QNRegisterAccess::parseCameraAddress(a_value, &address))
        return QString();
    for (const Register& entry : m_registers) {
        if (entry.m_address == address)
            return entry.m_name;
    }
    return QString();
}

void QNCamRegsAddressItemModel::buildTable()
{
    beginResetModel();
    m_registers.clear();
    const quint64 generation = ++m_generation;
    const HwBrdHandle handle =
        m_dataSource && m_dataSource->isBoardOpen() ? m_dataSource->boardHandle() : HwNoBoard;
    char name[QNStringBufferSize];
    std::uint64_t address = 0;
    std::uint32_t length = 0;
    for (unsigned index = 0; QNCamRegisterInfo(handle, index, name, &address, &length) == QNStatusOk;
         ++index) {
        if (address <= AddressLimit)
            m_registers.append({QString::fromUtf8(name), static_cast<quint32>(address), QStringLiteral("?")});
    }
    endResetModel();
    emit valueNotesChanged();
    if (m_registers.isEmpty())
        return;

    auto values = std::make_shared<QVector<QString>>(m_registers.size());
    QVector<quint32> addresses;
    for (const Register& entry : m_registers)
        addresses.append(entry.m_address);
    // The driver's calls are safe with any handle, so a board closed meanwhile only fails the reads.
    QThread* reader = QThread::create([handle, addresses, values] {
        for (int i = 0; i < addresses.size(); ++i) {
            std::uint32_t value = 0;
            (*values)[i] = QNCXPReadReg(handle, addresses[i], &value) == QNStatusOk
                               ? QNRegisterAccess::hexText(value)
                               : QStringLiteral("unreadable");
        }
    });
    connect(reader, &QThread::finished, reader, &QObject::deleteLater);
    connect(reader, &QThread::finished, this, [this, generation, values] {
        if (generation != m_generation)
            return;
        for (int i = 0; i < m_registers.size() && i < values->size(); ++i)
            m_registers[i].m_value = values->at(i);
        emit dataChanged(index(0, 0), index(m_registers.size() - 1, 0));
        emit valuesRead();
    });
    reader->start();
}

} // namespace Orvex
