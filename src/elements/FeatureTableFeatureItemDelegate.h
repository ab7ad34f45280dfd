#pragma once

#include <QFont>
#include <QHash>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QSize>
#include <QStyledItemDelegate>
#include <QVector>

#include <cstddef>

class QAbstractItemView;

namespace Orvex {

class FeatureElementBase;
class FeatureTableFeatureModel;

// Draws the insert and remove cells of a FeatureTableFeatureModel as buttons and reports their clicks,
// lets a row drag start only from the row handle, and edits a member's cell in the member's own editor
// (its feature widget, built for the time of the edit), whose value goes through the member's
// userSetValue like any edit in that editor.
class FeatureTableFeatureItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    // Cells are made tall enough for this text and member cells never wider.
    static constexpr char SampleText[] = "THE LAZY DOG LEAPT HIGHER THAN BEFORE";

    // Becomes a child of a_view, which must already have its model, and watches its viewport.
    explicit FeatureTableFeatureItemDelegate(QAbstractItemView* a_view);
    ~FeatureTableFeatureItemDelegate() override;

    void paint(QPainter* a_painter, const QStyleOptionViewItem& a_option,
               const QModelIndex& a_index) const override;
    QSize sizeHint(const QStyleOptionViewItem& a_option, const QModelIndex& a_index) const override;

    QWidget* createEditor(QWidget* a_parent, const QStyleOptionViewItem& a_option,
                          const QModelIndex& a_index) const override;
    // The member's editor shows the member's value by itself, also when it changes while open.
    void setEditorData(QWidget* a_editor, const QModelIndex& a_index) const override;
    void setModelData(QWidget* a_editor, QAbstractItemModel* a_model,
                      const QModelIndex& a_index) const override;
    // The member lets go of the editor at once, so that a new edit of the cell builds a fresh one
    // rather than reusing the one about to be deleted.
    void destroyEditor(QWidget* a_editor, const QModelIndex& a_index) const override;

signals:
    void removeButtonClicked(size_t a_row);
    void insertButtonClicked(size_t a_row);

protected:
    // On the view's viewport: presses on the row buttons are clicks, not selections, and a press turns
    // dragging on only on a row handle. On an editor: the keys and focus of the widget inside count as
    // those of the editor.
    bool eventFilter(QObject* a_object, QEvent* a_event) override;

private:
    struct OpenEditor
    {
        QPointer<QWidget> editor;
        QPointer<FeatureElementBase> member;
    };

    static bool isButtonCell(const QModelIndex& a_index);
    static bool isHandleCell(const QModelIndex& a_index);
    bool viewportMouseEvent(QEvent* a_event);
    FeatureElementBase* editorMember(const QWidget* a_editor) const;
    QWidget* openEditorHolding(QObject* a_object) const;
    QSize editorSize(const FeatureTableFeatureModel* a_model, int a_column) const;

    QPointer<QAbstractItemView> m_view;
    // Apart from the view, which is only part of a QWidget any more while it is torn down and still sends
    // events to its viewport.
    QPointer<QWidget> m_viewport;
    QPersistentModelIndex m_pressedButton;
    mutable QVector<OpenEditor> m_openEditors;
    // The member editors' sizes per column, measured once: each measurement builds a widget.
    mutable QHash<int, QSize> m_editorSizes;
    // The sample sentence measured in the font last asked about: sizing a column asks for every row, and
    // laying out the sentence anew each time was most of a table page's first showing.
    mutable QFont m_sampleFont;
    mutable QSize m_sampleSize;
};

} // namespace Orvex
