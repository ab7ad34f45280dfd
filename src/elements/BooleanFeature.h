#pragma once

#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

// A value feature for "xs:boolean", edited in one check box per instance whose text spells the value.
// Values are read by their boolean meaning; a file's own spelling ("1", "true", ...) is remembered by
// the base so that an unchanged value is written back as the file had it.
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

    // Exactly the four spellings XML Schema allows: "true", "false", "1" and "0".
    QVariant valueFromText(const QString& a_text, bool* a_ok = nullptr) const override;
    // "true" or "false".
    QString textFromValue(const QVariant& a_value) const override;

protected slots:
    void updateCheckBoxText();

protected:
    QWidget* createInstanceValueWidget(size_t a_index) override;
    QVariant newInstanceValue() const override;
};

} // namespace Orvex
