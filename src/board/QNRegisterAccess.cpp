#include "board/QNRegisterAccess.h"

#include "board/Dec2HexValueObserver.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/ValueFeatureElementBase.h"

#include <limits>

namespace Orvex {

namespace {

bool parseDigits(const QString& a_text, int a_base, quint32* a_value)
{
    if (a_text.isEmpty())
        return false;
    quint64 value = 0;
    for (const QChar character : a_text) {
        // digitValue() would also take digits of other scripts.
        const ushort code = character.unicode();
        int digit = -1;
        if (code >= '0' && code <= '9')
            digit = code - '0';
        else if (a_base == 16 && code >= 'a' && code <= 'f')
            digit = code - 'a' + 10;
        else if (a_base == 16 && code >= 'A' && code <= 'F')
            digit = code - 'A' + 10;
        if (digit < 0)
            return false;
        value = value * quint64(a_base) + quint64(digit);
        if (value > std::numeric_limits<quint32>::max())
            return false;
    }
    *a_value = quint32(value);
    return true;
}

} // namespace

QString QNRegisterAccess::hexText(quint32 a_value)
{
    return QStringLiteral("0x") + QStringLiteral("%1").arg(a_value, 8, 16, QLatin1Char('0')).toUpper();
}

bool QNRegisterAccess::parseUnsignedDecimal(const QString& a_text, quint32* a_value)
{
    return parseDigits(a_text, 10, a_value);
}

bool QNRegisterAccess::parseCameraAddress(const QString& a_text, quint32* a_address)
{
    if (a_text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        return parseDigits(a_text.mid(2), 16, a_address);
    return parseDigits(a_text, 10, a_address);
}

FeatureElementBase* QNRegisterAccess::sibling(const ElementBase* a_member, const QString& a_name)
{
    const auto* list = a_member ? qobject_cast<const FeatureListFeatureBase*>(a_member->parent()) : nullptr;
    size_t instance = 0;
    if (!list || !list->memberPosition(a_member, &instance, nullptr))
        return nullptr;
    for (FeatureElementBase* member : list->instanceMembers(instance)) {
        if (member && member != a_member && member->name() == a_name)
            return member;
    }
    return nullptr;
}

QVariant QNRegisterAccess::siblingAddress(const ValueFeatureElementBase* a_data, size_t a_index)
{
    const auto* address =
        qobject_cast<const ValueFeatureElementBase*>(sibling(a_data, QStringLiteral("address")));
    return address ? address->value(a_index) : QVariant();
}

void QNRegisterAccess::fillSiblingData(ValueFeatureElementBase* a_address, size_t a_index, quint32 a_value)
{
    if (auto* data = qobject_cast<ValueFeatureElementBase*>(sibling(a_address, QStringLiteral("data"))))
        data->userSetValue(a_index, hexText(a_value));
}

QVariant QNRegisterAccess::dataRow(const QModelIndex& a_index, int a_role, const QString& a_typed,
                                   const QString& a_currentLabel, const QString& a_current)
{
    if (!a_index.isValid() || a_index.parent().isValid() || a_index.column() != 0 || a_index.row() < 0 ||
        a_index.row() >= DataRowCount)
        return QVariant();
    const bool typedRow = a_index.row() == 0;
    switch (a_role) {
    case Qt::DisplayRole:
        return typedRow ? QStringLiteral("Hex: ") + Dec2HexValueObserver::converted(a_typed)
                        : a_currentLabel + a_current;
    case Qt::EditRole:
        return typedRow ? Dec2HexValueObserver::converted(a_typed) : a_current;
    case Qt::ToolTipRole:
        return typedRow ? QStringLiteral("Input value in hexadecimal. Decimal input is automatically "
                                         "converted to hexadecimal.")
                        : QStringLiteral("Current value on the camera at the address.");
    default:
        return QVariant();
    }
}

} // namespace Orvex
