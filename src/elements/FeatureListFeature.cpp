#include "elements/FeatureListFeature.h"

namespace Orvex {

FeatureListFeature::FeatureListFeature(ElementBase* a_parentElement) : FeatureListFeatureBase(a_parentElement)
{
    insertInstance(NoIndex);
}

FeatureListFeature::FeatureListFeature(const FeatureListFeature* a_source, ElementBase* a_parentElement)
    : FeatureListFeatureBase(a_source, a_parentElement)
{
}

FeatureListFeature::~FeatureListFeature() = default;

FeatureListFeatureBase* FeatureListFeature::cloneList(ElementBase* a_parentElement) const
{
    return new FeatureListFeature(this, a_parentElement);
}

} // namespace Orvex
