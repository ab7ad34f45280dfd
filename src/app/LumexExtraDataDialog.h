#pragma once

#include <QDialog>
#include <QPointer>

class QCheckBox;
class QTreeWidget;
class QTreeWidgetItem;

namespace Orvex {

class LumexTree;
class LumexTreeElement;

// Shows what the open camera file holds beyond the schema (comments, unknown elements, attributes and
// text) under the schema-known elements that lead to it, and lets the user choose whether saving
// keeps it.
class LumexExtraDataDialog : public QDialog
{
    Q_OBJECT
    Q_PROPERTY(bool preserveExtraData READ preserveExtraData WRITE setPreserveExtraData)

public:
    // Set on every item: true for extra data, false for a schema-known element shown for context.
    static constexpr int ExtraDataRole = Qt::UserRole + 1;

    explicit LumexExtraDataDialog(QWidget* a_parent = nullptr);

    bool preserveExtraData() const;
    void setPreserveExtraData(bool a_preserve);

    QTreeWidget* tree() const;
    // Whether the last fill found anything beyond the schema.
    bool hasExtraData() const { return m_hasExtraData; }

    // Rebuilds the tree from a_tree; null empties it.
    void fill(LumexTree* a_tree);
    // For a newly opened file: extra data is kept unless the user says otherwise.
    void reset();

private:
    // The item for a_node with its children's, not yet in the tree; null when neither the node nor
    // anything below it is extra data.
    QTreeWidgetItem* itemFor(const LumexTreeElement* a_node);

    QPointer<QTreeWidget> m_tree;
    QPointer<QCheckBox> m_preserve;
    bool m_hasExtraData = false;
};

} // namespace Orvex
