#include "elements/FeatureTableFeatureModel.h"
#include "elements/ReadableName.h"

#include "elements/BooleanFeature.h"
#include "elements/FeatureTableFeature.h"
#include "elements/StringFeature.h"
#include "elements/ValueFeatureElementBase.h"

#include <QColor>
#include <QMimeData>
#include <QTreeView>

#include <algorithm>
#include <set>

namespace Orvex {

namespace {

const QColor s_highlightBackground(255, 120, 120);

// A boolean member that is always there shows its value as the cell's check box; an optional one uses
// the check box for being there at all.
bool isCheckedBoolean(const FeatureElementBase* a_member)
{
    return qobject_cast<const BooleanFeature*>(a_member) && !a_member->isToggleFeature() &&
           a_member->instanceCount() > 0;
}

QVariant checkState(bool a_checked)
{
    return int(a_checked ? Qt::Checked : Qt::Unchecked);
}

// Every part must be a row number; a payload with anything else comes from something that is no drag of
// this table's rows and is refused whole.
bool decodeRows(const QByteArray& a_payload, QVector<size_t>* a_rows)
{
    for (const QByteArray& part : a_payload.split(',')) {
        if (part.isEmpty())
            continue;
        bool ok = false;
        const qulonglong row = part.toULongLong(&ok, 10);
        if (!ok)
            return false;
        a_rows->append(size_t(row));
    }
    return !a_rows->isEmpty();
}

} // namespace

FeatureTableFeatureModel::FeatureTableFeatureModel(FeatureTableFeature* a_table)
    : QAbstractItemModel(a_table), m_table(a_table),
      m_instanceRows(a_table ? int(a_table->instanceCount()) : 0)
{
}

FeatureTableFeatureModel::~FeatureTableFeatureModel() = default;

FeatureTableFeature* FeatureTableFeatureModel::table() const
{
    return m_table;
}

FeatureElementBase* FeatureTableFeatureModel::memberAt(const QModelIndex& a_index) const
{
    if (!m_table || !a_index.isValid() || a_index.model() != this || a_index.row() >= m_instanceRows ||
        a_index.column() < FirstMemberColumn)
        return nullptr;
    return m_table->member(size_t(a_index.row()), size_t(a_index.column() - FirstMemberColumn));
}

FeatureElementBase* FeatureTableFeatureModel::memberTemplate(int a_column) const
{
    if (!m_table || a_column < FirstMemberColumn)
        return nullptr;
    const QVector<FeatureElementBase*> templates = m_table->memberTemplates();
    const int position = a_column - FirstMemberColumn;
    return position < templates.size() ? templates[position] : nullptr;
}

QModelIndex FeatureTableFeatureModel::index(int a_row, int a_column, const QModelIndex& a_parent) const
{
    if (a_parent.isValid() || a_row < 0 || a_column < 0 || a_row >= rowCount() || a_column >= columnCount())
        return QModelIndex();
    return createIndex(a_row, a_column);
}

QModelIndex FeatureTableFeatureModel::parent(const QModelIndex&) const
{
    return QModelIndex();
}

int FeatureTableFeatureModel::rowCount(const QModelIndex& a_parent) const
{
    return a_parent.isValid() ? 0 : m_instanceRows + 1;
}

int FeatureTableFeatureModel::columnCount(const QModelIndex& a_parent) const
{
    if (a_parent.isValid())
        return 0;
    return FirstMemberColumn + (m_table ? int(m_table->memberCount()) : 0);
}

QVariant FeatureTableFeatureModel::data(const QModelIndex& a_index, int a_role) const
{
    if (!a_index.isValid() || a_index.model() != this)
        return QVariant();
    const int row = a_index.row();
    const bool instanceRow = row < m_instanceRows;

    if (a_index.column() < FirstMemberColumn) {
        if (a_index.column() != InsertColumn && !instanceRow)
            return QVariant();
        switch (a_role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            if (a_index.column() == InsertColumn)
                return QStringLiteral("+");
            if (a_index.column() == RemoveColumn)
                return QStringLiteral("-");
            // The grip says the row can be taken and moved.
            return a_role == Qt::DisplayRole ? QVariant(QStringLiteral("\u2261 %1").arg(row + 1))
                                             : QVariant(row + 1);
        case Qt::ToolTipRole:
            if (a_index.column() == InsertColumn)
                return QStringLiteral("Insert");
            if (a_index.column() == RemoveColumn)
                return QStringLiteral("Remove");
            return QStringLiteral("Drag to reorder, or Alt+Up and Alt+Down");
        case Qt::TextAlignmentRole:
            return int(Qt::AlignCenter);
        default:
            return QVariant();
        }
    }

    const FeatureElementBase* member = memberAt(a_index);
    if (!member)
        return QVariant();
    const bool highlighted = member->isHighlightActive();
    switch (a_role) {
    case Qt::DisplayRole:
        // Only the cell's text carries the note; the value, and so the file, stays without it.
        if (const auto* text = qobject_cast<const StringFeature*>(member)) {
            const QString note =
                text->completerModel() ? text->completerModel()->valueNote(text->displayText()) : QString();
            if (!note.isEmpty())
                return QStringLiteral("%1  %2").arg(text->displayText(), note);
        }
        Q_FALLTHROUGH();
    case Qt::EditRole:
        if (const auto* valueMember = qobject_cast<const ValueFeatureElementBase*>(member))
            return valueMember->displayText();
        return QString();
    case Qt::ToolTipRole:
        return member->annotation();
    case Qt::TextAlignmentRole:
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::BackgroundRole:
        return highlighted ? QVariant(s_highlightBackground) : QVariant();
    case Qt::ForegroundRole:
        return highlighted ? QVariant(QColor(Qt::white)) : QVariant();
    case Qt::CheckStateRole:
        if (member->isToggleFeature())
            return checkState(member->instanceCount() > 0);
        if (isCheckedBoolean(member))
            return checkState(qobject_cast<const ValueFeatureElementBase*>(member)->value().toBool());
        return QVariant();
    default:
        return QVariant();
    }
}

QVariant FeatureTableFeatureModel::headerData(int a_section, Qt::Orientation a_orientation, int a_role) const
{
    const FeatureElementBase* memberTemplate =
        a_orientation == Qt::Horizontal ? this->memberTemplate(a_section) : nullptr;
    if (!memberTemplate)
        return QVariant();
    if (a_role == Qt::DisplayRole)
        return ReadableName::of(memberTemplate->name());
    const QString toolTip = ReadableName::toolTip(memberTemplate->name(), memberTemplate->annotation());
    if (a_role == Qt::ToolTipRole && !toolTip.isEmpty())
        return toolTip;
    return QVariant();
}

Qt::ItemFlags FeatureTableFeatureModel::flags(const QModelIndex& a_index) const
{
    // Rows are dropped between rows, never onto one.
    if (!a_index.isValid())
        return Qt::ItemIsDropEnabled;
    if (!m_table || a_index.model() != this)
        return Qt::NoItemFlags;
    const size_t count = m_table->instanceCount();
    const bool instanceRow = a_index.row() < m_instanceRows;
    Qt::ItemFlags rowFlags = instanceRow ? Qt::ItemIsSelectable | Qt::ItemIsDragEnabled : Qt::NoItemFlags;

    switch (a_index.column()) {
    case InsertColumn:
        return count < m_table->maxOccurs() ? rowFlags | Qt::ItemIsEnabled : rowFlags;
    case RemoveColumn:
        return instanceRow && count > m_table->minOccurs() ? rowFlags | Qt::ItemIsEnabled : rowFlags;
    case HandleColumn:
        return instanceRow ? rowFlags | Qt::ItemIsEnabled : rowFlags;
    default:
        break;
    }

    const FeatureElementBase* member = memberAt(a_index);
    if (!member)
        return rowFlags;
    rowFlags |= Qt::ItemIsEnabled;
    const auto* valueMember = qobject_cast<const ValueFeatureElementBase*>(member);
    if (member->isToggleFeature() || (isCheckedBoolean(member) && !valueMember->fixedValue().isValid()))
        rowFlags |= Qt::ItemIsUserCheckable;
    if (valueMember && member->instanceCount() > 0 && !valueMember->fixedValue().isValid() &&
        !isCheckedBoolean(member))
        rowFlags |= Qt::ItemIsEditable;
    return rowFlags;
}

bool FeatureTableFeatureModel::setData(const QModelIndex& a_index, const QVariant& a_value, int a_role)
{
    FeatureElementBase* member = memberAt(a_index);
    if (a_role != Qt::CheckStateRole || !member || !(flags(a_index) & Qt::ItemIsUserCheckable))
        return false;
    const bool checked = a_value.toInt() == Qt::Checked;
    if (member->isToggleFeature())
        member->userSetEnabled(checked);
    else
        qobject_cast<ValueFeatureElementBase*>(member)->userSetValue(size_t(0), checked);
    emit dataChanged(a_index, a_index, {Qt::CheckStateRole});
    return true;
}

QStringList FeatureTableFeatureModel::mimeTypes() const
{
    return {QLatin1String(MimeType)};
}

QMimeData* FeatureTableFeatureModel::mimeData(const QModelIndexList& a_indexes) const
{
    // A selected row comes once per column.
    std::set<int> rows;
    for (const QModelIndex& index : a_indexes) {
        if (index.isValid() && index.model() == this && index.row() < m_instanceRows)
            rows.insert(index.row());
    }
    if (rows.empty())
        return nullptr;
    QByteArray payload;
    for (int row : rows)
        payload += QByteArray::number(row) + ',';
    auto* data = new QMimeData;
    data->setData(QLatin1String(MimeType), payload);
    return data;
}

bool FeatureTableFeatureModel::dropMimeData(const QMimeData* a_data, Qt::DropAction a_action, int a_row, int,
                                            const QModelIndex& a_parent)
{
    if (!m_table || !a_data || !a_data->hasFormat(QLatin1String(MimeType)))
        return false;
    if (a_action == Qt::IgnoreAction)
        return true;
    if (a_action != Qt::MoveAction)
        return false;
    QVector<size_t> rows;
    if (!decodeRows(a_data->data(QLatin1String(MimeType)), &rows))
        return false;

    int target = m_instanceRows;
    if (a_row >= 0)
        target = std::min(a_row, m_instanceRows);
    else if (a_parent.isValid() && a_parent.model() == this)
        target = std::min(a_parent.row(), m_instanceRows);
    if (!m_table->userReinsertRows(rows, size_t(target)))
        return false;
    // The selected rows are somewhere else now, or, while the moves wait, about to be.
    if (QTreeView* tree = m_table->view())
        tree->clearSelection();
    return true;
}

Qt::DropActions FeatureTableFeatureModel::supportedDropActions() const
{
    return Qt::MoveAction;
}

Qt::DropActions FeatureTableFeatureModel::supportedDragActions() const
{
    return Qt::MoveAction;
}

void FeatureTableFeatureModel::instanceChange(int a_instIndex)
{
    if (a_instIndex < 0 || a_instIndex >= m_instanceRows)
        return;
    emit dataChanged(index(a_instIndex, 0), index(a_instIndex, columnCount() - 1));
}

void FeatureTableFeatureModel::instanceChange()
{
    if (m_instanceRows > 0)
        emit dataChanged(index(0, 0), index(m_instanceRows - 1, columnCount() - 1));
}

void FeatureTableFeatureModel::featureSetChange()
{
    beginResetModel();
    m_instanceRows = m_table ? int(m_table->instanceCount()) : 0;
    endResetModel();
}

void FeatureTableFeatureModel::resizeColumn(int a_col)
{
    QTreeView* tree = m_table ? m_table->view() : nullptr;
    if (tree && a_col >= 0 && a_col < columnCount())
        tree->resizeColumnToContents(a_col);
}

void FeatureTableFeatureModel::beginInstanceInsert(size_t a_index)
{
    const int row = int(std::min(a_index, size_t(m_instanceRows)));
    beginInsertRows(QModelIndex(), row, row);
}

void FeatureTableFeatureModel::endInstanceInsert()
{
    ++m_instanceRows;
    endInsertRows();
    bookkeepingColumnsChanged();
}

void FeatureTableFeatureModel::beginInstanceRemove(size_t a_index)
{
    const int row = int(std::min(a_index, size_t(m_instanceRows - 1)));
    beginRemoveRows(QModelIndex(), row, row);
}

void FeatureTableFeatureModel::endInstanceRemove()
{
    --m_instanceRows;
    endRemoveRows();
    bookkeepingColumnsChanged();
}

void FeatureTableFeatureModel::beginInstanceMove(size_t a_from, size_t a_to)
{
    // Qt names the row the moved one goes before, counted before the move.
    const int destination = int(a_to > a_from ? a_to + 1 : a_to);
    m_moving = beginMoveRows(QModelIndex(), int(a_from), int(a_from), QModelIndex(), destination);
}

void FeatureTableFeatureModel::endInstanceMove()
{
    if (m_moving)
        endMoveRows();
    else
        instanceChange();
    m_moving = false;
}

void FeatureTableFeatureModel::bookkeepingColumnsChanged()
{
    emit dataChanged(index(0, InsertColumn), index(m_instanceRows, HandleColumn));
}

} // namespace Orvex
