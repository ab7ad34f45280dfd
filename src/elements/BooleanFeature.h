#pragma once

#include "ValueFeatureElementBase.h"

namespace Orvex {

// A value feature for "xs:boolean", edited in one check box per instance whose text spells the value.
// Values read from a file are kept as they came ("1", "true", ...) and read by their boolean meaning.
class BooleanFeature : public ValueFeatureElementBase
{
    Q_OBJECT
    Q_PROPERTY(bool boolValue READ boolValue WRITE setBoolValue)

public:
    // Starts with one instance holding false.
    explicit BooleanFeature(ElementBase* a_parentElement);
    // Bounds, settings and the instance values of a_source.
    BooleanFeature(const BooleanFeature* a_source, ElementBase* a_parentElement);
    ~BooleanFeature() override;

    bool boolValue() const { return value().toBool(); }
    void setBoolValue(bool a_value) { setValue(a_value); }

    using ValueFeatureElementBase::displayText;
    // "true" or "false"; empty for an instance that does not exist.
    QString displayText(size_t a_index) const override;
    QSize maxSize() const override;
    ValueFeatureElementBase* cloneFeature(ElementBase* a_parentElement) const override;

protected slots:
    void updateCheckBoxText();

protected:
    QWidget* createInstanceValueWidget(size_t a_index) override;
    QVariant newInstanceValue() const override;
};

} // namespace Orvex
