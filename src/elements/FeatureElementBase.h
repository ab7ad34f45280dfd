#pragma once

#include "elements/FeatureInstanceRecord.h"
#include "elements/WidgetElementBase.h"

#include <QToolButton>
#include <QVariant>
#include <QVector>

#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

class QBoxLayout;

namespace Orvex {

// The element of one feature that may occur a bounded number of times. It keeps the instance count
// (and, in subclasses, the values) itself, so it is complete without any widget: the widget and its
// rows are views built on demand by createWidget() and kept in step with the instances from then on.
class FeatureElementBase : public WidgetElementBase
{
    Q_OBJECT
    Q_PROPERTY(bool enabled READ isEnabled WRITE setEnabled)
    Q_PROPERTY(size_t minOccurs READ minOccurs WRITE setMinOccurs)
    Q_PROPERTY(size_t maxOccurs READ maxOccurs WRITE setMaxOccurs)
    Q_PROPERTY(bool isToggleFeature READ isToggleFeature)
    Q_PROPERTY(size_t instanceCount READ instanceCount)
    Q_PROPERTY(bool isAttribute READ isAttribute WRITE setIsAttribute)
    Q_PROPERTY(QVariant dataSet READ dataSet WRITE setDataSet)

public:
    // maxOccurs of a feature that may repeat without limit.
    static constexpr size_t Unbounded = std::numeric_limits<size_t>::max();
    // The index of the user slots that leaves the position to the clicked button.
    static constexpr size_t NoIndex = std::numeric_limits<size_t>::max();

    // A change the user asked for, to be made undoable by the window's undo/redo stack.
    struct InstanceChange
    {
        enum Kind
        {
            Insert,
            Remove,
            Reinsert,
        };
        Kind kind;
        size_t index;
        // The target position of a Reinsert; unused otherwise.
        size_t newIndex;
    };

    // Bounds 1..1, no instances.
    explicit FeatureElementBase(ElementBase* a_parentElement);
    // Takes name, annotation, path, bounds and the attribute flag of a_source, but none of its
    // instances.
    FeatureElementBase(const FeatureElementBase* a_source, ElementBase* a_parentElement);
    ~FeatureElementBase() override;

    bool isEnabled() const { return m_instanceCount > 0; }
    // false removes instances from the end down to minOccurs; true adds one when there is none.
    void setEnabled(bool a_enabled);

    size_t minOccurs() const { return m_minOccurs; }
    // Appends instances up to a_minOccurs and raises maxOccurs when needed.
    void setMinOccurs(size_t a_minOccurs);

    size_t maxOccurs() const { return m_maxOccurs; }
    // Removes instances from the end down to a_maxOccurs and lowers minOccurs when needed.
    void setMaxOccurs(size_t a_maxOccurs);

    bool isToggleFeature() const { return m_minOccurs == 0 && m_maxOccurs == 1; }
    size_t instanceCount() const { return m_instanceCount; }

    bool isAttribute() const { return m_isAttribute; }
    void setIsAttribute(bool a_isAttribute) { m_isAttribute = a_isAttribute; }

    // Direct changes without undo, for loading and for the undo/redo commands. An insert at maxOccurs
    // and a remove at minOccurs are ignored and return false. An index beyond the instances means the
    // end.
    bool insertInstance(size_t a_index);
    bool removeInstance(size_t a_index);
    // Moves an instance with its value and row so that it ends up at a_to; false when either index is
    // not an instance.
    bool moveInstance(size_t a_from, size_t a_to);

    // Builds the feature widget and a row for every existing instance, as a child of the parent
    // element's widget (parentless while the parent has none; the element owns it either way). Returns
    // the existing widget when there is one.
    virtual QWidget* createWidget();

    virtual QVariant dataSet() const = 0;
    virtual void setDataSet(const QVariant& a_dataSet) = 0;

signals:
    void instanceInserted(size_t a_index);
    void instanceCountIsMinOccurs(bool a_atMinimum);
    void instanceCountIsMaxOccurs(bool a_atMaximum);

public slots:
    // User actions: each works out the change it stands for and hands it to requestInstanceChanges, or
    // does nothing when the bounds do not allow it. Without an index, the clicked button decides.
    void userInsert(size_t a_index);
    void userInsert();
    void userReinsert(size_t a_index, size_t a_newIndex);
    void userRemove(size_t a_index);
    void userRemove();
    void userSetEnabled(bool a_enabled);

protected:
    // Moves the record and its row; the value is moved by moveInstanceValue.
    virtual void moveInstanceRow(size_t a_from, size_t a_to);
    virtual void createInstanceRow(FeatureInstanceRecord& a_record, size_t a_index);
    // The old value widget leaves the row's layout and is hidden; its Qt parent keeps it.
    virtual void setInstanceValueWidget(FeatureInstanceRecord& a_record, QWidget* a_widget);
    virtual void destroyInstanceRow(size_t a_index);
    // Creates the value of a new instance at a_index, before any widget is asked for.
    virtual void insertInstanceValue(size_t a_index) = 0;
    // The widget that shows and edits the value of instance a_index, parentless or not; null when the
    // instance has nothing to show. Called only while the feature has a widget.
    virtual QWidget* createInstanceValueWidget(size_t a_index);
    virtual void removeInstanceValue(size_t a_index) = 0;
    // Told just before instanceCountIsMaxOccurs is emitted: an owner that follows its own feature this
    // way needs no connection, which a file of thousands of such owners would pay for at load and close.
    virtual void maxOccursReached(bool a_atMaximum);
    virtual void moveInstanceValue(size_t a_from, size_t a_to) = 0;
    // Where the user's changes, in the order to apply, are made and become undo/redo commands on the
    // window's stack: one command for one change, one batch for several. Without a window element, or
    // while its stack is busy undoing or redoing, a change could not be undone and is not made at all.
    virtual void requestInstanceChanges(const QVector<InstanceChange>& a_changes);

    // The position a user action from a_sender applies to: that of the instance whose widgets include
    // a_sender, otherwise the end (insert) or the last instance (remove; NoIndex when there is none).
    size_t resolveUserIndex(const QObject* a_sender, bool a_insert) const;

    FeatureInstanceRecord* instanceRecord(size_t a_index) const;
    // Takes the value widget of a_record out of its row and the record, hidden; null if it has none.
    QWidget* releaseValueWidget(FeatureInstanceRecord& a_record);
    // True when the widget offers "-" and "+" buttons, that is when the feature could really repeat at
    // the time its widget was built. Settled then, so that every row of one widget looks alike even
    // while the bounds pass through other values.
    bool hasInstanceButtons() const { return m_instanceButtons; }

private:
    QBoxLayout* featureLayout() const;
    QToolButton* createInstanceButton(const QString& a_text, bool a_insert, QWidget* a_parent);
    // Puts the value of an instance without a row straight into the feature's layout, at its place.
    void setBareValueWidget(FeatureInstanceRecord& a_record, QWidget* a_widget);
    void emitBoundSignals();

    // Made with the first widget: until then an instance has no widgets to record, and most features of
    // a large file never get one, so a record per instance would only cost the load and the close.
    std::vector<std::unique_ptr<FeatureInstanceRecord>> m_records;
    bool m_keepsRecords = false;
    size_t m_minOccurs = 1;
    size_t m_maxOccurs = 1;
    size_t m_instanceCount = 0;
    bool m_isAttribute = false;
    bool m_instanceButtons = false;
};

} // namespace Orvex
