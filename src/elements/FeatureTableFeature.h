#pragma once

#include "elements/FeatureListFeatureBase.h"

#include <QPointer>
#include <QVector>

#include <cstddef>

class QTreeView;

namespace Orvex {

class FeatureTableFeatureModel;

// A group feature shown as a table: one row per instance, one column per member, with insert and
// remove buttons per row and rows reordered by dragging their handle or from the keyboard. The table is a
// view over FeatureTableFeatureModel, which reads the members' values directly; a member gets a widget only
// while its cell is being edited, where the member's own editor is used.
class FeatureTableFeature : public FeatureListFeatureBase
{
    Q_OBJECT

public:
    // Bounds 1..1 and the one instance they ask for, without members until addMember gives it some.
    explicit FeatureTableFeature(ElementBase* a_parentElement);
    // See FeatureListFeatureBase: templates, instances and member values of a_source, fresh ids.
    FeatureTableFeature(const FeatureTableFeature* a_source, ElementBase* a_parentElement);
    ~FeatureTableFeature() override;

    FeatureListFeatureBase* cloneList(ElementBase* a_parentElement) const override;

    // The tree view over the model, with the item delegate that draws the row buttons and opens the
    // members' editors.
    QWidget* createWidget() override;
    // Null until createWidget.
    QTreeView* view() const;
    // Made on first use and kept as long as the table; it needs no view.
    FeatureTableFeatureModel* model();

    // Moves the rows a_rows (in any order, repeats ignored) together before row a_target, in their
    // table order; a_target equal to the instance count means the end. The moves are asked for in one
    // request, each from the position the row has after the previous ones, and rows that would not
    // move ask for nothing. Returns false, asking for nothing, when a row is no instance or a_target is
    // beyond the end.
    bool userReinsertRows(const QVector<size_t>& a_rows, size_t a_target);

    // Scrolls the instance into view and tints the table.
    void highlight(size_t a_index) override;
    // The table: its members have no editors of their own until a cell is edited.
    QWidget* editorWidget(size_t a_index) const override;

    // Alt+Up and Alt+Down in the view move the selected rows, as a drag of their handles would.
    bool eventFilter(QObject* a_watched, QEvent* a_event) override;

public slots:
    bool addMember(Orvex::FeatureElementBase* a_member) override;

private slots:
    // A member's value or instances changed: its row is shown anew.
    void featureChanged();
    // A member's highlight started or ended: its cell changes colour.
    void featureHighlighted(bool a_active);
    // What a member's completion model tells of values changed (another camera): every row is shown anew.
    void notesChanged();

protected:
    // Instances are model rows here, never rows of widgets.
    void createInstanceRow(FeatureInstanceRecord& a_record, size_t a_index) override;
    void insertInstanceValue(size_t a_index) override;
    void removeInstanceValue(size_t a_index) override;
    void moveInstanceValue(size_t a_from, size_t a_to) override;

private:
    void connectMember(FeatureElementBase* a_member);
    // The column of the member that sent the current signal, after its row in a_instance; -1 when the
    // sender is no member of an instance.
    int senderColumn(size_t* a_instance) const;
    // Moves the selected rows (else the current one) a row up or down and keeps them selected; false
    // when there is nothing to move or no room.
    bool moveSelectedRows(bool a_up);

    QPointer<FeatureTableFeatureModel> m_model;
};

} // namespace Orvex
