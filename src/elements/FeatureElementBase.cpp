#include "elements/FeatureElementBase.h"

#include "elements/ElementLocator.h"
#include "elements/UndoRedoAddInstance.h"
#include "elements/UndoRedoReinsertInstance.h"
#include "elements/UndoRedoRemoveInstance.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"

#include <QBoxLayout>
#include <QMetaType>
#include <QSharedPointer>

#include <algorithm>

namespace Orvex {

namespace {

// Lets queued connections, QSignalSpy and the property system handle the size_t of signals and
// properties by name.
[[maybe_unused]] const int s_sizeTypeId = qRegisterMetaType<size_t>("size_t");

} // namespace

FeatureElementBase::FeatureElementBase(ElementBase* a_parentElement)
    : WidgetElementBase(nullptr, a_parentElement)
{
}

FeatureElementBase::FeatureElementBase(const FeatureElementBase* a_source, ElementBase* a_parentElement)
    : WidgetElementBase(a_source, a_parentElement)
{
    if (a_source) {
        m_minOccurs = a_source->m_minOccurs;
        m_maxOccurs = a_source->m_maxOccurs;
        m_isAttribute = a_source->m_isAttribute;
    }
}

FeatureElementBase::~FeatureElementBase() = default;

void FeatureElementBase::setEnabled(bool a_enabled)
{
    if (!a_enabled) {
        while (m_instanceCount > m_minOccurs)
            removeInstance(m_instanceCount - 1);
    } else if (m_instanceCount == 0) {
        insertInstance(NoIndex);
    }
}

void FeatureElementBase::setMinOccurs(size_t a_minOccurs)
{
    if (a_minOccurs == m_minOccurs)
        return;
    const size_t newMaximum = std::max(m_maxOccurs, a_minOccurs);
    const size_t newCount = std::min(std::max(m_instanceCount, a_minOccurs), newMaximum);
    // The appends need the room of the new maximum, or a minimum above the old one could never be met.
    m_maxOccurs = newMaximum;
    while (m_instanceCount < newCount)
        insertInstance(NoIndex);
    m_minOccurs = a_minOccurs;
    emitBoundSignals();
}

void FeatureElementBase::setMaxOccurs(size_t a_maxOccurs)
{
    if (a_maxOccurs == m_maxOccurs)
        return;
    const size_t newMinimum = std::min(m_minOccurs, a_maxOccurs);
    const size_t newCount = std::min(std::max(m_instanceCount, newMinimum), a_maxOccurs);
    // The removals must be allowed down to the new minimum.
    m_minOccurs = newMinimum;
    while (m_instanceCount > newCount)
        removeInstance(m_instanceCount - 1);
    m_maxOccurs = a_maxOccurs;
    emitBoundSignals();
}

void FeatureElementBase::emitBoundSignals()
{
    emit instanceCountIsMinOccurs(m_instanceCount == m_minOccurs);
    maxOccursReached(m_instanceCount == m_maxOccurs);
    emit instanceCountIsMaxOccurs(m_instanceCount == m_maxOccurs);
}

bool FeatureElementBase::insertInstance(size_t a_index)
{
    if (m_instanceCount >= m_maxOccurs)
        return false;
    const bool wasAtMinimum = m_instanceCount == m_minOccurs;
    const size_t index = std::min(a_index, m_instanceCount);

    ++m_instanceCount;
    FeatureInstanceRecord* record = nullptr;
    if (m_keepsRecords) {
        record =
            m_records
                .insert(m_records.begin() + std::ptrdiff_t(index), std::make_unique<FeatureInstanceRecord>())
                ->get();
        if (widget())
            createInstanceRow(*record, index);
    }
    insertInstanceValue(index);
    if (record && (record->row() || record->isBare())) {
        if (QWidget* valueWidget = createInstanceValueWidget(index))
            setInstanceValueWidget(*record, valueWidget);
    }

    emit instanceInserted(index);
    if (wasAtMinimum)
        emit instanceCountIsMinOccurs(false);
    if (m_instanceCount == m_maxOccurs) {
        maxOccursReached(true);
        emit instanceCountIsMaxOccurs(true);
    }
    return true;
}

bool FeatureElementBase::removeInstance(size_t a_index)
{
    if (m_instanceCount <= m_minOccurs || m_instanceCount == 0)
        return false;
    const bool wasAtMaximum = m_instanceCount == m_maxOccurs;
    const size_t index = std::min(a_index, m_instanceCount - 1);

    --m_instanceCount;
    destroyInstanceRow(index);
    removeInstanceValue(index);

    if (wasAtMaximum) {
        maxOccursReached(false);
        emit instanceCountIsMaxOccurs(false);
    }
    if (m_instanceCount == m_minOccurs)
        emit instanceCountIsMinOccurs(true);
    return true;
}

bool FeatureElementBase::moveInstance(size_t a_from, size_t a_to)
{
    if (a_from >= m_instanceCount || a_to >= m_instanceCount)
        return false;
    if (a_from == a_to)
        return true;
    moveInstanceRow(a_from, a_to);
    moveInstanceValue(a_from, a_to);
    return true;
}

QWidget* FeatureElementBase::createWidget()
{
    if (widget())
        return widget();

    const auto* parentWidgetElement = qobject_cast<const WidgetElementBase*>(parentElement());
    auto* featureWidget = new QWidget(parentWidgetElement ? parentWidgetElement->widget() : nullptr);
    featureWidget->setObjectName(QStringLiteral("TransparentWidget"));
    auto* layout = new QVBoxLayout(featureWidget);
    layout->setContentsMargins(0, 0, 0, 0);
    setWidget(featureWidget);

    m_instanceButtons = m_maxOccurs - m_minOccurs > 1;
    if (m_instanceButtons) {
        auto* trailingRow = new QWidget(featureWidget);
        auto* trailingLayout = new QHBoxLayout(trailingRow);
        trailingLayout->setContentsMargins(0, 0, 0, 0);
        trailingLayout->addStretch();
        trailingLayout->addWidget(createInstanceButton(QStringLiteral("-"), false, trailingRow));
        trailingLayout->addWidget(createInstanceButton(QStringLiteral("+"), true, trailingRow));
        layout->addWidget(trailingRow);
    }

    if (!m_keepsRecords) {
        m_keepsRecords = true;
        m_records.reserve(m_instanceCount);
        for (size_t index = 0; index < m_instanceCount; ++index)
            m_records.push_back(std::make_unique<FeatureInstanceRecord>());
    }
    for (size_t index = 0; index < m_records.size(); ++index) {
        FeatureInstanceRecord& record = *m_records[index];
        createInstanceRow(record, index);
        if (QWidget* valueWidget = createInstanceValueWidget(index))
            setInstanceValueWidget(record, valueWidget);
    }
    return featureWidget;
}

QToolButton* FeatureElementBase::createInstanceButton(const QString& a_text, bool a_insert, QWidget* a_parent)
{
    auto* button = new QToolButton(a_parent);
    button->setText(a_text);
    if (a_insert) {
        button->setEnabled(m_instanceCount < m_maxOccurs);
        connect(this, &FeatureElementBase::instanceCountIsMaxOccurs, button, &QWidget::setDisabled);
        connect(button, &QToolButton::clicked, this, QOverload<>::of(&FeatureElementBase::userInsert));
    } else {
        button->setEnabled(m_instanceCount > m_minOccurs);
        connect(this, &FeatureElementBase::instanceCountIsMinOccurs, button, &QWidget::setDisabled);
        connect(button, &QToolButton::clicked, this, QOverload<>::of(&FeatureElementBase::userRemove));
    }
    return button;
}

QBoxLayout* FeatureElementBase::featureLayout() const
{
    return widget() ? qobject_cast<QBoxLayout*>(widget()->layout()) : nullptr;
}

void FeatureElementBase::moveInstanceRow(size_t a_from, size_t a_to)
{
    if (!m_keepsRecords)
        return;
    auto moved = std::move(m_records[a_from]);
    m_records.erase(m_records.begin() + std::ptrdiff_t(a_from));
    QWidget* row = moved->row();
    m_records.insert(m_records.begin() + std::ptrdiff_t(a_to), std::move(moved));

    QBoxLayout* layout = featureLayout();
    if (layout && row) {
        layout->removeWidget(row);
        layout->insertWidget(int(a_to), row);
    }
}

void FeatureElementBase::createInstanceRow(FeatureInstanceRecord& a_record, size_t a_index)
{
    QBoxLayout* layout = featureLayout();
    if (!layout)
        return;
    // Most features have no buttons per instance; a row around each value would only cost widgets and
    // layouts on every page the user opens.
    if (!hasInstanceButtons()) {
        a_record.setBare(true);
        return;
    }
    auto* row = new QWidget(widget());
    auto* rowLayout = new QHBoxLayout(row);
    rowLayout->setContentsMargins(0, 0, 0, 0);
    a_record.setRow(row);
    if (hasInstanceButtons()) {
        QToolButton* removeButton = createInstanceButton(QStringLiteral("-"), false, row);
        QToolButton* insertButton = createInstanceButton(QStringLiteral("+"), true, row);
        rowLayout->addWidget(removeButton);
        rowLayout->addWidget(insertButton);
        a_record.setRemoveButton(removeButton);
        a_record.setInsertButton(insertButton);
    }
    layout->insertWidget(int(a_index), row);
}

void FeatureElementBase::setInstanceValueWidget(FeatureInstanceRecord& a_record, QWidget* a_widget)
{
    QWidget* old = a_record.valueWidget();
    if (old == a_widget)
        return;
    if (a_record.isBare()) {
        setBareValueWidget(a_record, a_widget);
        return;
    }
    QBoxLayout* rowLayout = a_record.row() ? qobject_cast<QBoxLayout*>(a_record.row()->layout()) : nullptr;
    if (old && rowLayout) {
        rowLayout->removeWidget(old);
        old->hide();
    }
    a_record.setValueWidget(a_widget);
    if (a_widget && rowLayout)
        rowLayout->insertWidget(0, a_widget);
}

void FeatureElementBase::setBareValueWidget(FeatureInstanceRecord& a_record, QWidget* a_widget)
{
    QBoxLayout* layout = featureLayout();
    QWidget* old = a_record.valueWidget();
    int position = -1;
    if (old && layout) {
        position = layout->indexOf(old);
        layout->removeWidget(old);
        old->hide();
    }
    if (position < 0) {
        const auto found = std::find_if(m_records.begin(), m_records.end(),
                                        [&](const auto& a_kept) { return a_kept.get() == &a_record; });
        position = int(found - m_records.begin());
    }
    a_record.setValueWidget(a_widget);
    a_record.setRow(a_widget);
    if (!a_widget || !layout)
        return;
    layout->insertWidget(position, a_widget);
    // A widget released earlier, and now given back, was hidden on its way out.
    if (a_widget->isHidden() && a_widget->testAttribute(Qt::WA_WState_ExplicitShowHide))
        a_widget->show();
}

QWidget* FeatureElementBase::releaseValueWidget(FeatureInstanceRecord& a_record)
{
    QWidget* value = a_record.valueWidget();
    if (!value)
        return nullptr;
    if (a_record.isBare()) {
        if (QBoxLayout* layout = featureLayout())
            layout->removeWidget(value);
        a_record.setRow(nullptr);
    } else if (QLayout* rowLayout = a_record.row() ? a_record.row()->layout() : nullptr) {
        rowLayout->removeWidget(value);
    }
    value->hide();
    a_record.setValueWidget(nullptr);
    return value;
}

void FeatureElementBase::destroyInstanceRow(size_t a_index)
{
    if (a_index >= m_records.size())
        return;
    QBoxLayout* layout = featureLayout();
    if (QWidget* row = m_records[a_index]->row(); row && layout)
        layout->removeWidget(row);
    m_records.erase(m_records.begin() + std::ptrdiff_t(a_index));
}

QWidget* FeatureElementBase::createInstanceValueWidget(size_t)
{
    return nullptr;
}

void FeatureElementBase::maxOccursReached(bool)
{
}

void FeatureElementBase::requestInstanceChanges(const QVector<InstanceChange>& a_changes)
{
    WindowElement* window = windowElement();
    UndoRedoStack* stack = window ? window->undoRedoStack() : nullptr;
    if (!stack || stack->isBusy() || a_changes.isEmpty() || !ElementLocator::locate(window, this).isValid())
        return;

    const bool batch = a_changes.size() > 1;
    if (batch)
        stack->openBatch();
    for (const InstanceChange& change : a_changes) {
        switch (change.kind) {
        case InstanceChange::Insert: {
            const size_t index = std::min(change.index, m_instanceCount);
            if (insertInstance(index))
                stack->push(QSharedPointer<UndoRedoAddInstance>::create(window, this, index));
            break;
        }
        case InstanceChange::Remove: {
            // Made before the removal, which takes the values it has to keep.
            auto command = QSharedPointer<UndoRedoRemoveInstance>::create(window, this, change.index);
            if (command->isValid() && removeInstance(change.index))
                stack->push(command);
            break;
        }
        case InstanceChange::Reinsert:
            if (change.index != change.newIndex && moveInstance(change.index, change.newIndex)) {
                stack->push(QSharedPointer<UndoRedoReinsertInstance>::create(window, this, change.index,
                                                                             change.newIndex));
            }
            break;
        }
    }
    if (batch)
        stack->closeBatch();
}

FeatureInstanceRecord* FeatureElementBase::instanceRecord(size_t a_index) const
{
    return a_index < m_records.size() ? m_records[a_index].get() : nullptr;
}

size_t FeatureElementBase::resolveUserIndex(const QObject* a_sender, bool a_insert) const
{
    for (size_t index = 0; index < m_records.size(); ++index) {
        if (m_records[index]->holds(a_sender))
            return index;
    }
    if (a_insert)
        return m_instanceCount;
    return m_instanceCount > 0 ? m_instanceCount - 1 : NoIndex;
}

void FeatureElementBase::userInsert(size_t a_index)
{
    if (m_instanceCount >= m_maxOccurs)
        return;
    const size_t index = a_index == NoIndex ? resolveUserIndex(sender(), true) : a_index;
    requestInstanceChanges({{InstanceChange::Insert, std::min(index, m_instanceCount), 0}});
}

void FeatureElementBase::userInsert()
{
    userInsert(NoIndex);
}

void FeatureElementBase::userReinsert(size_t a_index, size_t a_newIndex)
{
    if (a_index >= m_instanceCount || a_newIndex >= m_instanceCount || a_index == a_newIndex)
        return;
    requestInstanceChanges({{InstanceChange::Reinsert, a_index, a_newIndex}});
}

void FeatureElementBase::userRemove(size_t a_index)
{
    if (m_instanceCount <= m_minOccurs)
        return;
    const size_t index = a_index == NoIndex ? resolveUserIndex(sender(), false) : a_index;
    if (index >= m_instanceCount)
        return;
    requestInstanceChanges({{InstanceChange::Remove, index, 0}});
}

void FeatureElementBase::userRemove()
{
    userRemove(NoIndex);
}

void FeatureElementBase::userSetEnabled(bool a_enabled)
{
    QVector<InstanceChange> changes;
    if (!a_enabled) {
        for (size_t index = m_instanceCount; index > m_minOccurs; --index)
            changes.append({InstanceChange::Remove, index - 1, 0});
    } else if (m_instanceCount == 0 && m_maxOccurs > 0) {
        changes.append({InstanceChange::Insert, 0, 0});
    }
    if (!changes.isEmpty())
        requestInstanceChanges(changes);
}

} // namespace Orvex
