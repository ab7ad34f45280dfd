#include "elements/FeatureEnableCheckBox.h"

#include "elements/FeatureElementBase.h"

namespace Orvex {

FeatureEnableCheckBox::FeatureEnableCheckBox(FeatureElementBase* a_feature, QWidget* a_parent)
    : KeptSizeCheckBox(a_feature->name(), a_parent), m_feature(a_feature)
{
    setObjectName(QStringLiteral("EnableDisableCheckBox"));
    setChecked(a_feature->instanceCount() > 0);
    setToolTip(toolTipFor(a_feature->annotation()));
    connect(a_feature, &FeatureElementBase::instanceCountIsMaxOccurs, this, &QCheckBox::setChecked);
    connect(this, &QCheckBox::clicked, this, &FeatureEnableCheckBox::userToggled);
}

QString FeatureEnableCheckBox::toolTipFor(const QString& a_annotation)
{
    const QString hint = QStringLiteral("Check or uncheck to enable or disable this feature.");
    if (a_annotation.isEmpty())
        return hint;
    return QStringLiteral("<p>") + a_annotation + QStringLiteral("</p><p>") + hint + QStringLiteral("</p>");
}

void FeatureEnableCheckBox::userToggled(bool a_enabled)
{
    const QPointer<FeatureEnableCheckBox> self(this);
    const QPointer<FeatureElementBase> feature = m_feature;
    if (!feature)
        return;
    feature->userSetEnabled(a_enabled);
    // A change that could not be made (no undo stack, or the stack busy) leaves the feature as it was,
    // and the box must say so.
    if (self && feature)
        setChecked(feature->isEnabled());
}

} // namespace Orvex
