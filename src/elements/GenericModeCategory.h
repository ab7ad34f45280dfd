#pragma once

#include "elements/FeatureElementBase.h"
#include "elements/ModeCategoryElementBase.h"

#include <QCheckBox>

namespace Orvex {

// The ordinary category of a mode, which the user can switch on and off as a whole. Whether it is
// present is the instance count (0 or 1) of an optional feature element that the category owns, its
// category feature, so that switching goes through the same undoable instance changes as any optional
// feature. The page starts with a header row: a line, the "Feature Enabled" check box, a line. The
// features keep their values while the category is off; only their form is disabled.
class GenericModeCategory : public ModeCategoryElementBase
{
    Q_OBJECT
    Q_PROPERTY(
        bool categoryEnabled READ categoryEnabled WRITE setCategoryEnabled NOTIFY categoryEnabledChanged)

public:
    // Present from the start. With a source, a copy of it (see ModeCategoryElementBase), present or not
    // as the source is.
    explicit GenericModeCategory(ModeElement* a_mode, const GenericModeCategory* a_source = nullptr);
    ~GenericModeCategory() override;

    // Bounds 0..1; its Qt parent and parent element is this category, and its widget, once the page
    // exists, is the header's check box.
    FeatureElementBase* categoryFeature() const;

    bool categoryEnabled() const { return m_categoryEnabled; }

    ModeCategoryElementBase* cloneCategory(ModeElement* a_mode) const override;

    // Adds the header row above the form.
    QWidget* createWidget() override;

signals:
    void categoryEnabledChanged(bool a_enabled);

public slots:
    // Shows the state on the page: the check box and whether the form can be edited. Follows the
    // category feature's count, and the check box directly when the user clicks it.
    void setCategoryEnabled(bool a_enabled);

protected:
    // Where the user's switching, as instance changes of the category feature, becomes undo commands:
    // by default the category feature's own handling of user changes.
    virtual void requestCategoryChanges(const QVector<FeatureElementBase::InstanceChange>& a_changes);

private:
    class CategoryFeature;

    QCheckBox* headerCheckBox() const;
    void showCategoryEnabled();

    CategoryFeature* m_categoryFeature = nullptr;
    bool m_categoryEnabled = true;
};

} // namespace Orvex
