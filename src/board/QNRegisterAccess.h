#pragma once

#include <QModelIndex>
#include <QString>
#include <QVariant>

#include <cstddef>

namespace Orvex {

class ElementBase;
class FeatureElementBase;
class ValueFeatureElementBase;

// What the register views share: a register write is one instance of a list feature whose members
// "address" and "data" are string features, and registers are 32 bits wide.
class QNRegisterAccess
{
public:
    QNRegisterAccess() = delete;

    // A register value as the data of a register write holds it: "0x" and eight upper-case digits, so
    // that values read from the board all look alike and "0x00000000" also stands for nothing read.
    static QString hexText(quint32 a_value);

    // Only the digits 0 to 9, at least one, up to 4294967295.
    static bool parseUnsignedDecimal(const QString& a_text, quint32* a_value);
    // "0x" or "0X" and hexadecimal digits, or decimal digits, in 32 bits.
    static bool parseCameraAddress(const QString& a_text, quint32* a_address);

    // The member named a_name of the list instance that a_member belongs to; null when a_member is no
    // member of a list instance or the instance has no such member.
    static FeatureElementBase* sibling(const ElementBase* a_member, const QString& a_name);
    // The text of instance a_index of the sibling "address"; null when there is none.
    static QVariant siblingAddress(const ValueFeatureElementBase* a_data, size_t a_index);
    // Puts a_value, as hexText, into instance a_index of the sibling "data" of a_address through its user
    // slot, so that the change can be undone like a typed one.
    static void fillSiblingData(ValueFeatureElementBase* a_address, size_t a_index, quint32 a_value);

    // The two completer rows of a data field: row 0 the typed value as it will be stored, row 1
    // a_currentLabel and the register's current value. The edit role holds the value alone, which is
    // what choosing a row puts into the field.
    static QVariant dataRow(const QModelIndex& a_index, int a_role, const QString& a_typed,
                            const QString& a_currentLabel, const QString& a_current);
    static constexpr int DataRowCount = 2;
};

} // namespace Orvex
