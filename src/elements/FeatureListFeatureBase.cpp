#include "elements/FeatureListFeatureBase.h"

#include "elements/FeatureEnableCheckBox.h"
#include "elements/ValueFeatureElementBase.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QFrame>
#include <QLabel>
#include <QtDebug>

#include <algorithm>

namespace Orvex {

namespace {

// Close to the styles' own layout margin, so a framed form reads as a panel; unframed forms sit flush
// inside whatever editor shows them.
constexpr int s_framedMargin = 9;

} // namespace

FeatureListFeatureBase::FeatureListFeatureBase(ElementBase* a_parentElement)
    : FeatureElementBase(a_parentElement)
{
}

FeatureListFeatureBase::FeatureListFeatureBase(const FeatureListFeatureBase* a_source,
                                               ElementBase* a_parentElement)
    : FeatureElementBase(a_source, a_parentElement)
{
    if (!a_source)
        return;
    m_framed = a_source->m_framed;
    for (const QPointer<FeatureElementBase>& memberTemplate : a_source->m_templates) {
        if (FeatureElementBase* copy = cloneMember(memberTemplate, this))
            m_templates.append(copy);
    }
    for (const Group& group : a_source->m_groups) {
        m_groupPattern = &group;
        insertInstance(NoIndex);
    }
    m_groupPattern = nullptr;
}

FeatureListFeatureBase::~FeatureListFeatureBase() = default;

FeatureElementBase* FeatureListFeatureBase::cloneMember(const FeatureElementBase* a_member,
                                                        ElementBase* a_parentElement)
{
    if (const auto* valueFeature = qobject_cast<const ValueFeatureElementBase*>(a_member))
        return valueFeature->cloneFeature(a_parentElement);
    if (const auto* list = qobject_cast<const FeatureListFeatureBase*>(a_member))
        return list->cloneList(a_parentElement);
    return nullptr;
}

void FeatureListFeatureBase::setFramed(bool a_framed)
{
    m_framed = a_framed;
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (QFrame* frame = listWidget(index))
            applyFraming(frame);
    }
}

QVector<FeatureElementBase*> FeatureListFeatureBase::memberTemplates() const
{
    QVector<FeatureElementBase*> templates;
    for (const QPointer<FeatureElementBase>& memberTemplate : m_templates)
        templates.append(memberTemplate);
    return templates;
}

FeatureElementBase* FeatureListFeatureBase::member(size_t a_instance, size_t a_member) const
{
    if (a_instance >= m_groups.size() || a_member >= size_t(m_groups[a_instance].size()))
        return nullptr;
    return m_groups[a_instance][int(a_member)];
}

QVector<FeatureElementBase*> FeatureListFeatureBase::instanceMembers(size_t a_instance) const
{
    QVector<FeatureElementBase*> group;
    if (a_instance < m_groups.size()) {
        for (const QPointer<FeatureElementBase>& groupMember : m_groups[a_instance])
            group.append(groupMember);
    }
    return group;
}

QVector<FeatureElementBase*> FeatureListFeatureBase::members() const
{
    QVector<FeatureElementBase*> living;
    for (const QPointer<FeatureElementBase>& listMember : m_members) {
        if (listMember)
            living.append(listMember);
    }
    return living;
}

bool FeatureListFeatureBase::memberPosition(const ElementBase* a_element, size_t* a_instance,
                                            size_t* a_member) const
{
    if (!a_element)
        return false;
    for (size_t instance = 0; instance < m_groups.size(); ++instance) {
        const Group& group = m_groups[instance];
        for (int position = 0; position < group.size(); ++position) {
            if (group[position].data() != a_element)
                continue;
            if (a_instance)
                *a_instance = instance;
            if (a_member)
                *a_member = size_t(position);
            return true;
        }
    }
    return false;
}

QVector<quint64> FeatureListFeatureBase::memberIds(size_t a_instance) const
{
    QVector<quint64> ids;
    if (a_instance < m_groups.size()) {
        for (const QPointer<FeatureElementBase>& groupMember : m_groups[a_instance])
            appendIds(groupMember, ids);
    }
    return ids;
}

void FeatureListFeatureBase::appendIds(const FeatureElementBase* a_member, QVector<quint64>& a_ids) const
{
    // A member that is gone still takes its place, so the ids after it keep their positions.
    a_ids.append(a_member ? a_member->id() : 0);
    if (const auto* list = qobject_cast<const FeatureListFeatureBase*>(a_member)) {
        for (size_t instance = 0; instance < list->instanceCount(); ++instance)
            a_ids += list->memberIds(instance);
    }
}

bool FeatureListFeatureBase::setMemberIds(size_t a_instance, const QVector<quint64>& a_ids)
{
    if (a_instance >= m_groups.size())
        return false;
    int next = 0;
    bool fitted = true;
    for (const QPointer<FeatureElementBase>& groupMember : m_groups[a_instance])
        fitted = restoreIds(groupMember, a_ids, next) && fitted;
    return fitted && next == a_ids.size();
}

bool FeatureListFeatureBase::restoreIds(FeatureElementBase* a_member, const QVector<quint64>& a_ids,
                                        int& a_next)
{
    if (a_next >= a_ids.size())
        return false;
    const quint64 id = a_ids[a_next++];
    if (!a_member)
        return id == 0;
    if (id != 0)
        a_member->setId(id);
    bool fitted = true;
    if (auto* list = qobject_cast<FeatureListFeatureBase*>(a_member)) {
        for (size_t instance = 0; instance < list->instanceCount(); ++instance) {
            for (const QPointer<FeatureElementBase>& nested : list->m_groups[instance])
                fitted = list->restoreIds(nested, a_ids, a_next) && fitted;
        }
    }
    return fitted;
}

QVariant FeatureListFeatureBase::instanceDataSet(size_t a_instance) const
{
    if (a_instance >= m_groups.size())
        return QVariant();
    QVariantList data;
    for (const QPointer<FeatureElementBase>& groupMember : m_groups[a_instance])
        data.append(groupMember ? groupMember->dataSet() : QVariant());
    return data;
}

void FeatureListFeatureBase::setInstanceDataSet(size_t a_instance, const QVariant& a_dataSet)
{
    if (a_instance >= m_groups.size())
        return;
    const QVariantList data = a_dataSet.toList();
    const Group& group = m_groups[a_instance];
    for (int position = 0; position < std::min(group.size(), data.size()); ++position) {
        if (group[position] && data[position].isValid())
            group[position]->setDataSet(data[position]);
    }
}

QVariant FeatureListFeatureBase::dataSet() const
{
    QVariantList data;
    for (size_t instance = 0; instance < instanceCount(); ++instance)
        data.append(instanceDataSet(instance));
    return data;
}

void FeatureListFeatureBase::setDataSet(const QVariant& a_dataSet)
{
    const QVariantList data = a_dataSet.toList();
    const size_t wanted = size_t(data.size());
    while (instanceCount() > wanted) {
        if (!removeInstance(instanceCount() - 1))
            break;
    }
    while (instanceCount() < wanted) {
        if (!insertInstance(NoIndex))
            break;
    }
    for (size_t instance = 0; instance < std::min(instanceCount(), wanted); ++instance) {
        if (data[int(instance)].isValid())
            setInstanceDataSet(instance, data[int(instance)]);
    }
}

void FeatureListFeatureBase::highlight(size_t a_index)
{
    // The row around the form, so that the tint covers the instance's buttons as well.
    const auto container = [this](size_t a_instance) -> QWidget* {
        QFrame* frame = listWidget(a_instance);
        return frame ? frame->parentWidget() : nullptr;
    };
    QList<QWidget*> containers;
    if (a_index >= instanceCount()) {
        for (size_t index = instanceCount(); index-- > 0;) {
            if (QWidget* row = container(index))
                containers.append(row);
        }
    } else if (QWidget* row = container(a_index)) {
        containers.append(row);
    }
    highlightContainers(containers);
}

bool FeatureListFeatureBase::holdsThisList(const QObject* a_object) const
{
    for (const QObject* ancestor = this; ancestor; ancestor = ancestor->parent()) {
        if (ancestor == a_object)
            return true;
    }
    return false;
}

bool FeatureListFeatureBase::addMember(FeatureElementBase* a_member)
{
    if (!a_member || m_templates.contains(a_member) || holdsThisList(a_member))
        return false;
    if (!qobject_cast<ValueFeatureElementBase*>(a_member) &&
        !qobject_cast<FeatureListFeatureBase*>(a_member)) {
        qWarning() << "Feature" << a_member->name() << "cannot be a member of the feature list" << name()
                   << "because features of its kind cannot be copied";
        return false;
    }
    a_member->setParent(this);
    m_templates.append(a_member);
    for (size_t instance = 0; instance < m_groups.size(); ++instance) {
        FeatureElementBase* copy = createMember(a_member);
        m_groups[instance].append(copy);
        if (QFrame* frame = listWidget(instance))
            addMemberRow(qobject_cast<QFormLayout*>(frame->layout()), copy);
    }
    return true;
}

FeatureElementBase* FeatureListFeatureBase::createMember(const FeatureElementBase* a_pattern)
{
    FeatureElementBase* copy = cloneMember(a_pattern, this);
    if (!copy)
        return nullptr;
    m_members.append(copy);
    return copy;
}

void FeatureListFeatureBase::toggleFeature(bool a_enabled)
{
    const QObject* origin = sender();
    for (const EnableCheckBox& entry : m_enableCheckBoxes) {
        if (!entry.checkBox || entry.checkBox.data() != origin)
            continue;
        const QPointer<QCheckBox> checkBox = entry.checkBox;
        const QPointer<FeatureElementBase> target = entry.member;
        if (!target)
            return;
        target->userSetEnabled(a_enabled);
        if (checkBox && target)
            checkBox->setChecked(target->isEnabled());
        return;
    }
}

void FeatureListFeatureBase::checkHighlightStatus()
{
    for (const Group& group : m_groups) {
        for (const QPointer<FeatureElementBase>& groupMember : group) {
            if (groupMember && groupMember->isHighlightActive())
                return;
        }
    }
    setHighlightInactive();
}

// The members are reached through the list rather than by a connection each: a file may hold tens of
// thousands of them, and every connection costs at load and at close.
void FeatureListFeatureBase::onRaise()
{
    FeatureElementBase::onRaise();
    for (const QPointer<FeatureElementBase>& member : QVector<QPointer<FeatureElementBase>>(m_members)) {
        if (member)
            member->raise();
    }
}

void FeatureListFeatureBase::onLower()
{
    FeatureElementBase::onLower();
    for (const QPointer<FeatureElementBase>& member : QVector<QPointer<FeatureElementBase>>(m_members)) {
        if (member)
            member->lower();
    }
}

void FeatureListFeatureBase::childHighlightChanged(const WidgetElementBase* a_child, bool a_active)
{
    const auto isChild = [a_child](const QPointer<FeatureElementBase>& a_member) {
        return a_member.data() == a_child;
    };
    if (std::none_of(m_members.begin(), m_members.end(), isChild))
        return;
    if (a_active)
        setHighlightActive(true);
    else
        checkHighlightStatus();
}

void FeatureListFeatureBase::insertInstanceValue(size_t a_index)
{
    const Group& pattern = m_groupPattern ? *m_groupPattern : m_templates;
    Group group;
    group.reserve(pattern.size());
    for (const QPointer<FeatureElementBase>& patternMember : pattern) {
        if (FeatureElementBase* copy = createMember(patternMember))
            group.append(copy);
    }
    m_groups.insert(m_groups.begin() + std::ptrdiff_t(std::min(a_index, m_groups.size())), std::move(group));
}

QWidget* FeatureListFeatureBase::createInstanceValueWidget(size_t a_index)
{
    return createListWidget(a_index);
}

void FeatureListFeatureBase::removeInstanceValue(size_t a_index)
{
    if (a_index >= m_groups.size())
        return;
    const Group group = std::move(m_groups[a_index]);
    m_groups.erase(m_groups.begin() + std::ptrdiff_t(a_index));

    bool wasHighlighted = false;
    for (const QPointer<FeatureElementBase>& groupMember : group) {
        if (!groupMember)
            continue;
        wasHighlighted = wasHighlighted || groupMember->isHighlightActive();
        m_members.removeAll(groupMember);
        // At once rather than later, so that the id registry and memberIds never see a member of an
        // instance that is gone.
        delete groupMember.data();
    }
    m_members.erase(
        std::remove_if(m_members.begin(), m_members.end(),
                       [](const QPointer<FeatureElementBase>& a_member) { return a_member.isNull(); }),
        m_members.end());
    dropDeadCheckBoxes();
    if (wasHighlighted)
        checkHighlightStatus();
}

void FeatureListFeatureBase::moveInstanceValue(size_t a_from, size_t a_to)
{
    if (a_from >= m_groups.size() || a_to >= m_groups.size())
        return;
    Group moved = std::move(m_groups[a_from]);
    m_groups.erase(m_groups.begin() + std::ptrdiff_t(a_from));
    m_groups.insert(m_groups.begin() + std::ptrdiff_t(a_to), std::move(moved));
}

QWidget* FeatureListFeatureBase::createListWidget(size_t a_instance)
{
    // Boxes of forms that went with an earlier list widget.
    dropDeadCheckBoxes();
    auto* frame = new QFrame(widget());
    auto* form = new QFormLayout(frame);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setFormAlignment(Qt::AlignLeft | Qt::AlignTop);
    applyFraming(frame);
    if (a_instance < m_groups.size()) {
        for (const QPointer<FeatureElementBase>& groupMember : m_groups[a_instance]) {
            if (groupMember)
                addMemberRow(form, groupMember);
        }
    }
    return frame;
}

QFrame* FeatureListFeatureBase::listWidget(size_t a_instance) const
{
    FeatureInstanceRecord* record = instanceRecord(a_instance);
    return record ? qobject_cast<QFrame*>(record->valueWidget()) : nullptr;
}

QCheckBox* FeatureListFeatureBase::enableCheckBox(const FeatureElementBase* a_member) const
{
    for (const EnableCheckBox& entry : m_enableCheckBoxes) {
        if (entry.member == a_member && entry.checkBox)
            return entry.checkBox;
    }
    return nullptr;
}

void FeatureListFeatureBase::addMemberRow(QFormLayout* a_form, FeatureElementBase* a_member)
{
    if (!a_form || !a_member)
        return;
    QWidget* frame = a_form->parentWidget();
    QWidget* label = nullptr;
    if (a_member->isToggleFeature() && !enableCheckBox(a_member)) {
        auto* checkBox = new QCheckBox(a_member->name(), frame);
        checkBox->setObjectName(QStringLiteral("EnableDisableCheckBox"));
        checkBox->setChecked(a_member->instanceCount() > 0);
        checkBox->setToolTip(FeatureEnableCheckBox::toolTipFor(a_member->annotation()));
        // The box follows the member through undo and redo, not only the user's clicks.
        connect(a_member, &FeatureElementBase::instanceCountIsMaxOccurs, checkBox, &QCheckBox::setChecked);
        connect(checkBox, &QCheckBox::clicked, this, &FeatureListFeatureBase::toggleFeature);
        m_enableCheckBoxes.append({checkBox, a_member});
        label = checkBox;
    } else {
        auto* text = new QLabel(a_member->name(), frame);
        if (!a_member->annotation().isEmpty())
            text->setToolTip(QStringLiteral("<html>") + a_member->annotation() + QStringLiteral("</html>"));
        label = text;
    }
    a_form->addRow(label, a_member->createWidget());
}

void FeatureListFeatureBase::dropDeadCheckBoxes()
{
    m_enableCheckBoxes.erase(
        std::remove_if(m_enableCheckBoxes.begin(), m_enableCheckBoxes.end(),
                       [](const EnableCheckBox& a_entry) { return !a_entry.checkBox || !a_entry.member; }),
        m_enableCheckBoxes.end());
}

void FeatureListFeatureBase::applyFraming(QFrame* a_frame) const
{
    a_frame->setFrameShape(m_framed ? QFrame::StyledPanel : QFrame::NoFrame);
    const int margin = m_framed ? s_framedMargin : 0;
    if (QLayout* layout = a_frame->layout())
        layout->setContentsMargins(margin, margin, margin, margin);
}

} // namespace Orvex
