#pragma once

#include "elements/FeatureSearch.h"

#include <QAbstractTableModel>

namespace Orvex {

// The matches of a search as a table: mode, category, feature path, value. Matches are appended while
// the search goes on, so that the view fills as they are found.
class FindResultsModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit FindResultsModel(QObject* a_parent = nullptr);
    ~FindResultsModel() override;

    void clear();
    // Appends the matches beyond those shown already.
    void follow(const QVector<FeatureSearch::Match>& a_matches);
    const FeatureSearch::Match* match(int a_row) const;

    int rowCount(const QModelIndex& a_parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& a_parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& a_index, int a_role = Qt::DisplayRole) const override;
    QVariant headerData(int a_section, Qt::Orientation a_orientation,
                        int a_role = Qt::DisplayRole) const override;

private:
    QVector<FeatureSearch::Match> m_matches;
};

} // namespace Orvex
