#pragma once

#include "elements/FeatureListFeatureBase.h"

namespace Orvex {

// A group feature shown as a form per instance: one row per member, the optional members switched on
// and off by the check box in front of them.
class FeatureListFeature : public FeatureListFeatureBase
{
    Q_OBJECT

public:
    // Bounds 1..1 and the one instance they ask for, without members until addMember gives it some.
    explicit FeatureListFeature(ElementBase* a_parentElement);
    // See FeatureListFeatureBase: templates, instances and member values of a_source, fresh ids.
    FeatureListFeature(const FeatureListFeature* a_source, ElementBase* a_parentElement);
    ~FeatureListFeature() override;

    FeatureListFeatureBase* cloneList(ElementBase* a_parentElement) const override;
};

} // namespace Orvex
