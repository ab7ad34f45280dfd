#include "elements/FeatureTableFeature.h"

#include "elements/FeatureTableFeatureItemDelegate.h"
#include "elements/FeatureTableFeatureModel.h"
#include "elements/StringFeature.h"
#include "elements/ValueFeatureElementBase.h"
#include "widgets/KeptSizeHeaderView.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QTreeView>

#include <algorithm>
#include <vector>

namespace Orvex {

FeatureTableFeature::FeatureTableFeature(ElementBase* a_parentElement)
    : FeatureListFeatureBase(a_parentElement)
{
    insertInstance(NoIndex);
}

FeatureTableFeature::FeatureTableFeature(const FeatureTableFeature* a_source, ElementBase* a_parentElement)
    : FeatureListFeatureBase(a_source, a_parentElement)
{
}

FeatureTableFeature::~FeatureTableFeature()
{
    // The view and the model call back into the table while they go; the table must still be whole.
    delete widget();
    delete m_model.data();
}

FeatureListFeatureBase* FeatureTableFeature::cloneList(ElementBase* a_parentElement) const
{
    return new FeatureTableFeature(this, a_parentElement);
}

QWidget* FeatureTableFeature::createWidget()
{
    if (widget())
        return widget();

    const auto* parentWidgetElement = qobject_cast<const WidgetElementBase*>(parentElement());
    auto* tree = new QTreeView(parentWidgetElement ? parentWidgetElement->widget() : nullptr);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    policy.setVerticalStretch(1);
    tree->setSizePolicy(policy);
    tree->setRootIsDecorated(false);
    tree->setItemsExpandable(false);
    tree->setExpandsOnDoubleClick(false);
    tree->setUniformRowHeights(true);
    tree->setAllColumnsShowFocus(true);
    tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    tree->setSelectionBehavior(QAbstractItemView::SelectRows);
    tree->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::SelectedClicked |
                          QAbstractItemView::EditKeyPressed);
    // Only from this very view: the payload is row numbers, which mean nothing to another table.
    tree->setDragDropMode(QAbstractItemView::InternalMove);
    tree->setDefaultDropAction(Qt::MoveAction);
    tree->setDragDropOverwriteMode(false);
    tree->setDropIndicatorShown(true);
    // The delegate turns dragging on where a press lands on a row handle.
    tree->setDragEnabled(false);
    // The tree's own header, set up as the tree sets it up, but measuring each title once.
    auto* header = new KeptSizeHeaderView(Qt::Horizontal, tree);
    header->setSectionsMovable(tree->header()->sectionsMovable());
    header->setDefaultAlignment(tree->header()->defaultAlignment());
    header->setStretchLastSection(true);
    tree->setHeader(header);
    tree->installEventFilter(this);
    setWidget(tree);

    FeatureTableFeatureModel* tableModel = model();
    tree->setModel(tableModel);
    auto* delegate = new FeatureTableFeatureItemDelegate(tree);
    tree->setItemDelegate(delegate);
    connect(delegate, &FeatureTableFeatureItemDelegate::removeButtonClicked, this,
            QOverload<size_t>::of(&FeatureElementBase::userRemove));
    connect(delegate, &FeatureTableFeatureItemDelegate::insertButtonClicked, this,
            QOverload<size_t>::of(&FeatureElementBase::userInsert));

    for (int column = 0; column < tableModel->columnCount(); ++column)
        tableModel->resizeColumn(column);
    return tree;
}

QTreeView* FeatureTableFeature::view() const
{
    return qobject_cast<QTreeView*>(widget());
}

FeatureTableFeatureModel* FeatureTableFeature::model()
{
    if (!m_model) {
        m_model = new FeatureTableFeatureModel(this);
        // Members are followed only once there is a model to tell: a file holds tables in every mode,
        // and most of them are never shown.
        for (FeatureElementBase* member : members())
            connectMember(member);
    }
    return m_model;
}

bool FeatureTableFeature::userReinsertRows(const QVector<size_t>& a_rows, size_t a_target)
{
    const size_t count = instanceCount();
    if (a_rows.isEmpty() || a_target > count)
        return false;
    std::vector<size_t> rows(a_rows.begin(), a_rows.end());
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    if (rows.back() >= count)
        return false;

    // The rows end up as one block where a_target stood; rows taken from above it make it start
    // that much higher.
    const size_t above = size_t(std::lower_bound(rows.begin(), rows.end(), a_target) - rows.begin());
    const size_t blockStart = a_target - above;
    QVector<InstanceChange> moves;
    // Rows from above move down, the last of them first: a move shifts only rows above the place it
    // fills, so the rows still to move are where the drag found them and the rows placed stay put.
    for (size_t position = above; position-- > 0;) {
        if (rows[position] != blockStart + position)
            moves.append({InstanceChange::Reinsert, rows[position], blockStart + position});
    }
    // Rows from below move up, the first of them first, for the mirrored reason.
    for (size_t position = above; position < rows.size(); ++position) {
        if (rows[position] != blockStart + position)
            moves.append({InstanceChange::Reinsert, rows[position], blockStart + position});
    }
    if (!moves.isEmpty())
        requestInstanceChanges(moves);
    return true;
}

bool FeatureTableFeature::eventFilter(QObject* a_watched, QEvent* a_event)
{
    if (a_watched == widget() && a_event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<const QKeyEvent*>(a_event);
        if (key->modifiers() == Qt::AltModifier && (key->key() == Qt::Key_Up || key->key() == Qt::Key_Down)) {
            moveSelectedRows(key->key() == Qt::Key_Up);
            return true;
        }
    }
    return FeatureListFeatureBase::eventFilter(a_watched, a_event);
}

bool FeatureTableFeature::moveSelectedRows(bool a_up)
{
    QTreeView* tree = view();
    if (!tree || !tree->selectionModel())
        return false;
    const size_t count = instanceCount();
    QVector<size_t> rows;
    for (const QModelIndex& index : tree->selectionModel()->selectedRows()) {
        if (size_t(index.row()) < count)
            rows << size_t(index.row());
    }
    if (rows.isEmpty() && tree->currentIndex().isValid() && size_t(tree->currentIndex().row()) < count)
        rows << size_t(tree->currentIndex().row());
    if (rows.isEmpty())
        return false;
    std::sort(rows.begin(), rows.end());
    // The block lands a row above its first row, or below its last one.
    if (a_up ? rows.front() == 0 : rows.back() + 1 >= count)
        return false;
    const size_t first = a_up ? rows.front() - 1 : rows.front() + 1;
    if (!userReinsertRows(rows, a_up ? rows.front() - 1 : rows.back() + 2))
        return false;
    QItemSelection moved;
    const QAbstractItemModel* tableModel = tree->model();
    const int lastColumn = tableModel->columnCount() - 1;
    for (size_t row = first; row < first + size_t(rows.size()); ++row)
        moved.select(tableModel->index(int(row), 0), tableModel->index(int(row), lastColumn));
    tree->selectionModel()->setCurrentIndex(tableModel->index(int(first), tree->currentIndex().column()),
                                            QItemSelectionModel::NoUpdate);
    tree->selectionModel()->select(moved, QItemSelectionModel::ClearAndSelect);
    return true;
}

void FeatureTableFeature::highlight(size_t a_index)
{
    QTreeView* tree = view();
    if (!tree)
        return;
    if (a_index < instanceCount() && m_model)
        tree->scrollTo(m_model->index(int(a_index), FeatureTableFeatureModel::InsertColumn));
    highlightContainers({tree->viewport()});
}

QWidget* FeatureTableFeature::editorWidget(size_t) const
{
    return view();
}

bool FeatureTableFeature::addMember(FeatureElementBase* a_member)
{
    if (!FeatureListFeatureBase::addMember(a_member))
        return false;
    if (m_model) {
        for (FeatureElementBase* member : members())
            connectMember(member);
        m_model->featureSetChange();
        m_model->resizeColumn(m_model->columnCount() - 1);
    }
    return true;
}

void FeatureTableFeature::featureChanged()
{
    if (!m_model)
        return;
    size_t instance = 0;
    const int column = senderColumn(&instance);
    if (column < 0)
        return;
    m_model->instanceChange(int(instance));
    // Only ever wider: a value change should not undo the width the user gave a column. QTreeView hides
    // the measurement that every item view offers.
    QTreeView* tree = view();
    const QAbstractItemView* itemView = tree;
    if (tree && itemView->sizeHintForColumn(column) > tree->columnWidth(column))
        m_model->resizeColumn(column);
}

void FeatureTableFeature::featureHighlighted(bool)
{
    size_t instance = 0;
    if (m_model && senderColumn(&instance) >= 0)
        m_model->instanceChange(int(instance));
}

int FeatureTableFeature::senderColumn(size_t* a_instance) const
{
    size_t position = 0;
    if (!memberPosition(qobject_cast<const ElementBase*>(sender()), a_instance, &position))
        return -1;
    return FeatureTableFeatureModel::FirstMemberColumn + int(position);
}

void FeatureTableFeature::createInstanceRow(FeatureInstanceRecord&, size_t)
{
}

void FeatureTableFeature::insertInstanceValue(size_t a_index)
{
    if (m_model)
        m_model->beginInstanceInsert(a_index);
    FeatureListFeatureBase::insertInstanceValue(a_index);
    if (m_model) {
        for (FeatureElementBase* member : instanceMembers(a_index))
            connectMember(member);
        m_model->endInstanceInsert();
    }
}

void FeatureTableFeature::removeInstanceValue(size_t a_index)
{
    if (m_model)
        m_model->beginInstanceRemove(a_index);
    FeatureListFeatureBase::removeInstanceValue(a_index);
    if (m_model)
        m_model->endInstanceRemove();
}

void FeatureTableFeature::moveInstanceValue(size_t a_from, size_t a_to)
{
    if (m_model)
        m_model->beginInstanceMove(a_from, a_to);
    FeatureListFeatureBase::moveInstanceValue(a_from, a_to);
    if (m_model)
        m_model->endInstanceMove();
}

void FeatureTableFeature::connectMember(FeatureElementBase* a_member)
{
    if (!a_member)
        return;
    // Repeated for every member whenever the members change, so each connection must stay single.
    const auto unique = Qt::UniqueConnection;
    connect(a_member, &FeatureElementBase::instanceInserted, this, &FeatureTableFeature::featureChanged,
            unique);
    connect(a_member, &FeatureElementBase::instanceCountIsMinOccurs, this,
            &FeatureTableFeature::featureChanged, unique);
    connect(a_member, &FeatureElementBase::instanceCountIsMaxOccurs, this,
            &FeatureTableFeature::featureChanged, unique);
    if (auto* valueMember = qobject_cast<ValueFeatureElementBase*>(a_member))
        connect(valueMember, &ValueFeatureElementBase::valueChanged, this,
                &FeatureTableFeature::featureChanged, unique);
    connect(a_member, &WidgetElementBase::highlightTriggered, this, &FeatureTableFeature::featureHighlighted,
            unique);
    if (auto* text = qobject_cast<StringFeature*>(a_member); text && text->completerModel())
        connect(text->completerModel(), &StringFeatureCompleterItemModel::valueNotesChanged, this,
                &FeatureTableFeature::notesChanged, unique);
}

void FeatureTableFeature::notesChanged()
{
    if (m_model)
        m_model->instanceChange();
}

} // namespace Orvex
