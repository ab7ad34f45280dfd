#pragma once

#include "elements/FeatureElementBase.h"

#include <QPointer>
#include <QVariant>
#include <QVector>

#include <cstddef>
#include <vector>

class QCheckBox;
class QFormLayout;
class QFrame;

namespace Orvex {

// A feature whose every instance is a group of member features. The schema's members are kept as
// templates; each instance gets its own copies of them, which are ordinary feature elements with their
// own ids and values, owned by the list. Like every feature the list is complete without widgets: the
// form of an instance (one row per member, label left, the member's editor right) is built only when
// the list's widget is.
class FeatureListFeatureBase : public FeatureElementBase
{
    Q_OBJECT
    Q_PROPERTY(bool framed READ isFramed WRITE setFramed)

public:
    explicit FeatureListFeatureBase(ElementBase* a_parentElement);
    // Bounds, framing and member templates of a_source, and one instance per instance of a_source with
    // copies of that instance's members and their values; every copy gets a fresh id.
    FeatureListFeatureBase(const FeatureListFeatureBase* a_source, ElementBase* a_parentElement);
    ~FeatureListFeatureBase() override;

    // A new list of the same kind under a_parentElement, made with the copying constructor.
    virtual FeatureListFeatureBase* cloneList(ElementBase* a_parentElement) const = 0;
    // A copy of any feature that can be a member: value features through cloneFeature, lists through
    // cloneList. Null for other kinds and for a null a_member.
    static FeatureElementBase* cloneMember(const FeatureElementBase* a_member, ElementBase* a_parentElement);

    // A framed form is drawn as a panel with its rows inset; an unframed one sits flush, for a list
    // shown inside another editor.
    bool isFramed() const { return m_framed; }
    void setFramed(bool a_framed);

    // The number of members each instance has, one per template.
    size_t memberCount() const { return size_t(m_templates.size()); }
    QVector<FeatureElementBase*> memberTemplates() const;
    // Member a_member of instance a_instance; null when either index is out of range.
    FeatureElementBase* member(size_t a_instance, size_t a_member) const;
    QVector<FeatureElementBase*> instanceMembers(size_t a_instance) const;
    // The members of all instances, in the order they were made.
    QVector<FeatureElementBase*> members() const;
    // Where a_element stands among the instances' members; false when it is none of them (templates
    // included).
    bool memberPosition(const ElementBase* a_element, size_t* a_instance, size_t* a_member) const;

    // The ids of an instance's members, depth first: each member's id, followed, for a member that is a
    // list itself, by the ids of its instances' members in the same way. Empty for an unknown instance.
    QVector<quint64> memberIds(size_t a_instance) const;
    // Gives the members back ids read with memberIds, in the same order, so that whatever refers to them
    // by id finds them again. Nested lists must have the instance counts they had when the ids were read,
    // so values go in before ids. A 0 leaves that member's id alone. Returns whether the ids fitted the
    // members exactly.
    bool setMemberIds(size_t a_instance, const QVector<quint64>& a_ids);

    // One entry per member of the instance, each that member's dataSet; null for an unknown instance.
    QVariant instanceDataSet(size_t a_instance) const;
    // Hands each member its entry; null entries and members beyond the list are left as they are.
    void setInstanceDataSet(size_t a_instance, const QVariant& a_dataSet);

    // One instanceDataSet per instance. Writing inserts or removes instances at the end (within the
    // bounds) until the count matches, then hands each instance its entry.
    QVariant dataSet() const override;
    void setDataSet(const QVariant& a_dataSet) override;

    void highlight(size_t a_index) override;

public slots:
    // Adds a member template; every existing instance gets a copy of it, with a row in its form when the
    // form exists. The list becomes the template's Qt parent. Returns false, taking nothing, for null,
    // for a member already added, for an element that holds this list and for kinds cloneMember cannot
    // copy.
    virtual bool addMember(Orvex::FeatureElementBase* a_member);

protected slots:
    // For the enable check boxes: switches the sending box's member through its user slot, then shows
    // the member's actual state again in case the change was not made.
    void toggleFeature(bool a_enabled);
    // Clears the list's highlight once none of its members is highlighted any more.
    void checkHighlightStatus();

protected:
    void onRaise() override;
    void onLower() override;
    // A member's highlight is the list's: it starts with the first member's and ends with the last.
    void childHighlightChanged(const WidgetElementBase* a_child, bool a_active) override;

    void insertInstanceValue(size_t a_index) override;
    QWidget* createInstanceValueWidget(size_t a_index) override;
    void removeInstanceValue(size_t a_index) override;
    void moveInstanceValue(size_t a_from, size_t a_to) override;

    // The form of one instance: a frame with a form layout holding a row per member.
    virtual QWidget* createListWidget(size_t a_instance);
    // The form built for an instance, while it exists.
    QFrame* listWidget(size_t a_instance) const;
    // The enable check box shown for a member, while it exists.
    QCheckBox* enableCheckBox(const FeatureElementBase* a_member) const;

private:
    using Group = QVector<QPointer<FeatureElementBase>>;

    struct EnableCheckBox
    {
        QPointer<QCheckBox> checkBox;
        QPointer<FeatureElementBase> member;
    };

    FeatureElementBase* createMember(const FeatureElementBase* a_pattern);
    void addMemberRow(QFormLayout* a_form, FeatureElementBase* a_member);
    void applyFraming(QFrame* a_frame) const;
    void dropDeadCheckBoxes();
    void appendIds(const FeatureElementBase* a_member, QVector<quint64>& a_ids) const;
    bool restoreIds(FeatureElementBase* a_member, const QVector<quint64>& a_ids, int& a_next);
    bool holdsThisList(const QObject* a_object) const;

    QVector<QPointer<FeatureElementBase>> m_templates;
    std::vector<Group> m_groups;
    QVector<QPointer<FeatureElementBase>> m_members;
    QVector<EnableCheckBox> m_enableCheckBoxes;
    // While set, a new instance copies this group instead of the templates.
    const Group* m_groupPattern = nullptr;
    bool m_framed = true;
};

} // namespace Orvex
