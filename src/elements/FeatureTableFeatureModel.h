#pragma once

#include <QAbstractItemModel>
#include <QPointer>

#include <cstddef>

namespace Orvex {

class FeatureElementBase;
class FeatureTableFeature;

// The rows and columns of a table feature, read straight from its instances and their member elements,
// so that a table of any size is shown without a single member widget. Row r is instance r; one more
// row below the instances only offers "+", for appending. Columns: insert, remove, the handle rows are
// dragged by, then one column per member.
class FeatureTableFeatureModel : public QAbstractItemModel
{
    Q_OBJECT

    // The only one allowed to announce its instance changes, from inside them.
    friend class FeatureTableFeature;

public:
    enum Column
    {
        InsertColumn = 0,
        RemoveColumn = 1,
        HandleColumn = 2,
        FirstMemberColumn = 3,
    };

    // Payload: the dragged rows in ascending order, each as a decimal number followed by a comma.
    static constexpr char MimeType[] = "QuarnelOrvex/FeatureTableRow";

    explicit FeatureTableFeatureModel(FeatureTableFeature* a_table);
    ~FeatureTableFeatureModel() override;

    FeatureTableFeature* table() const;
    // The rows that show an instance.
    int instanceRows() const { return m_instanceRows; }
    // The member shown in a cell; null outside the member columns of the instance rows.
    FeatureElementBase* memberAt(const QModelIndex& a_index) const;
    // The schema's member behind a member column; null for other columns.
    FeatureElementBase* memberTemplate(int a_column) const;

    QModelIndex index(int a_row, int a_column, const QModelIndex& a_parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& a_child) const override;
    int rowCount(const QModelIndex& a_parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& a_parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& a_index, int a_role = Qt::DisplayRole) const override;
    QVariant headerData(int a_section, Qt::Orientation a_orientation,
                        int a_role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& a_index) const override;
    // Only the check box of a member's cell: an optional member is switched on or off, a boolean one
    // set, both through the member's user slots and so through undo.
    bool setData(const QModelIndex& a_index, const QVariant& a_value, int a_role = Qt::EditRole) override;

    QStringList mimeTypes() const override;
    // Null when no instance row is among a_indexes.
    QMimeData* mimeData(const QModelIndexList& a_indexes) const override;
    // Asks the table to move the dropped rows before a_row (before a_parent's row when dropped on it, to
    // the end when dropped on no row), all moves in one request. A payload that is not a list of
    // instance rows is refused as a whole.
    bool dropMimeData(const QMimeData* a_data, Qt::DropAction a_action, int a_row, int a_column,
                      const QModelIndex& a_parent) override;
    Qt::DropActions supportedDropActions() const override;
    Qt::DropActions supportedDragActions() const override;

public slots:
    // The cells of one instance, or of all, show something new.
    void instanceChange(int a_instIndex);
    void instanceChange();
    // The members or the instances changed in a way no finer signal describes.
    void featureSetChange();
    // Fits a column of the table's view to its contents.
    void resizeColumn(int a_col);

private:
    void beginInstanceInsert(size_t a_index);
    void endInstanceInsert();
    void beginInstanceRemove(size_t a_index);
    void endInstanceRemove();
    void beginInstanceMove(size_t a_from, size_t a_to);
    void endInstanceMove();
    // "+" and "-" are enabled by the instance count, and the row numbers follow the rows.
    void bookkeepingColumnsChanged();

    QPointer<FeatureTableFeature> m_table;
    int m_instanceRows = 0;
    bool m_moving = false;
};

} // namespace Orvex
