#include "app/FindResultsModel.h"

#include "elements/FeatureComparison.h"
#include "elements/FeatureIndex.h"

namespace Orvex {

FindResultsModel::FindResultsModel(QObject* a_parent) : QAbstractTableModel(a_parent)
{
}

FindResultsModel::~FindResultsModel() = default;

void FindResultsModel::clear()
{
    beginResetModel();
    m_matches.clear();
    endResetModel();
}

void FindResultsModel::follow(const QVector<FeatureSearch::Match>& a_matches)
{
    if (a_matches.size() <= m_matches.size())
        return;
    beginInsertRows(QModelIndex(), m_matches.size(), a_matches.size() - 1);
    m_matches += a_matches.mid(m_matches.size());
    endInsertRows();
}

const FeatureSearch::Match* FindResultsModel::match(int a_row) const
{
    return a_row >= 0 && a_row < m_matches.size() ? &m_matches.at(a_row) : nullptr;
}

int FindResultsModel::rowCount(const QModelIndex& a_parent) const
{
    return a_parent.isValid() ? 0 : m_matches.size();
}

int FindResultsModel::columnCount(const QModelIndex& a_parent) const
{
    return a_parent.isValid() ? 0 : 4;
}

QVariant FindResultsModel::data(const QModelIndex& a_index, int a_role) const
{
    const FeatureSearch::Match* found = match(a_index.row());
    if (!found || (a_role != Qt::DisplayRole && a_role != Qt::ToolTipRole))
        return QVariant();
    switch (a_index.column()) {
    case 0:
        return found->scope;
    case 1:
        return found->category;
    case 2:
        return found->path;
    default:
        return found->instance == FeatureIndex::NoInstance ? FeatureComparison::absentText() : found->value;
    }
}

QVariant FindResultsModel::headerData(int a_section, Qt::Orientation a_orientation, int a_role) const
{
    static const QStringList titles{QStringLiteral("Mode"), QStringLiteral("Category"),
                                    QStringLiteral("Feature"), QStringLiteral("Value")};
    if (a_orientation != Qt::Horizontal || a_role != Qt::DisplayRole)
        return QVariant();
    return titles.value(a_section);
}

} // namespace Orvex
