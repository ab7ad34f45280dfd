#include "elements/StringFeatureCompleterItemModel.h"

#include "elements/ValueFeatureElementBase.h"

#include <algorithm>

namespace Orvex {

ValueFeatureElementBase* StringFeatureCompleterItemModel::sourceElement() const
{
    return m_sourceElement;
}

StringFeatureCompleterItemModel::StringFeatureCompleterItemModel(int a_completionColumn, QObject* a_parent)
    : QAbstractItemModel(a_parent), m_completionColumn(std::max(0, a_completionColumn))
{
}

StringFeatureCompleterItemModel::~StringFeatureCompleterItemModel() = default;

void StringFeatureCompleterItemModel::setLatestValue(const QString& a_value)
{
    if (a_value == m_latestValue)
        return;
    m_latestValue = a_value;
    latestValueChanged(m_latestValue);
}

void StringFeatureCompleterItemModel::setSource(ValueFeatureElementBase* a_element, int a_index)
{
    if (a_element == m_sourceElement && a_index == m_sourceIndex)
        return;
    m_sourceElement = a_element;
    m_sourceIndex = a_index;
    sourceChanged(a_element, a_index);
}

void StringFeatureCompleterItemModel::clearSource()
{
    setSource(nullptr, -1);
}

QModelIndex StringFeatureCompleterItemModel::index(int a_row, int a_column, const QModelIndex& a_parent) const
{
    return hasIndex(a_row, a_column, a_parent) ? createIndex(a_row, a_column) : QModelIndex();
}

QModelIndex StringFeatureCompleterItemModel::parent(const QModelIndex&) const
{
    return QModelIndex();
}

int StringFeatureCompleterItemModel::rowCount(const QModelIndex&) const
{
    return 0;
}

int StringFeatureCompleterItemModel::columnCount(const QModelIndex& a_parent) const
{
    return a_parent.isValid() ? 0 : m_completionColumn + 1;
}

QVariant StringFeatureCompleterItemModel::data(const QModelIndex&, int) const
{
    return QVariant();
}

void StringFeatureCompleterItemModel::sourceChanged(ValueFeatureElementBase*, int)
{
}

void StringFeatureCompleterItemModel::latestValueChanged(const QString&)
{
}

QString StringFeatureCompleterItemModel::valueNote(const QString&) const
{
    return QString();
}

} // namespace Orvex
