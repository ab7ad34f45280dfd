#include "elements/ValueFeatureObserverBase.h"

namespace Orvex {

ValueFeatureObserverBase::ValueFeatureObserverBase(QObject* a_parent) : QObject(a_parent)
{
}

ValueFeatureObserverBase::~ValueFeatureObserverBase() = default;

} // namespace Orvex
