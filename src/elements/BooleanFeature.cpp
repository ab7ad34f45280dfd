#include "elements/BooleanFeature.h"

#include <QCheckBox>

namespace Orvex {

namespace {

QString booleanText(bool a_value)
{
    return a_value ? QStringLiteral("true") : QStringLiteral("false");
}

} // namespace

BooleanFeature::BooleanFeature(ElementBase* a_parentElement) : ValueFeatureElementBase(a_parentElement)
{
    setValueProperty(QStringLiteral("checked"));
    insertInstance(NoIndex);
}

BooleanFeature::BooleanFeature(const BooleanFeature* a_source, ElementBase* a_parentElement)
    : ValueFeatureElementBase(a_source, a_parentElement)
{
    setValueProperty(QStringLiteral("checked"));
    insertInstance(NoIndex);
    if (a_source)
        copyValuesFrom(*a_source);
}

BooleanFeature::~BooleanFeature() = default;

QString BooleanFeature::displayText(size_t a_index) const
{
    return a_index < instanceCount() ? booleanText(value(a_index).toBool()) : QString();
}

QSize BooleanFeature::maxSize() const
{
    // "false" is the longer of the two texts a check box can show.
    return keptSize(QStringLiteral("check"), [this] {
        QCheckBox probe(booleanText(false));
        return measuredSize(probe);
    });
}

ValueFeatureElementBase* BooleanFeature::cloneFeature(ElementBase* a_parentElement) const
{
    return new BooleanFeature(this, a_parentElement);
}

QVariant BooleanFeature::valueFromText(const QString& a_text, bool* a_ok) const
{
    const bool isTrue = a_text == QLatin1String("true") || a_text == QLatin1String("1");
    const bool isFalse = a_text == QLatin1String("false") || a_text == QLatin1String("0");
    if (a_ok)
        *a_ok = isTrue || isFalse;
    return isTrue || isFalse ? QVariant(isTrue) : QVariant();
}

QString BooleanFeature::textFromValue(const QVariant& a_value) const
{
    return booleanText(a_value.toBool());
}

void BooleanFeature::updateCheckBoxText()
{
    if (auto* checkBox = qobject_cast<QCheckBox*>(sender()))
        checkBox->setText(booleanText(checkBox->isChecked()));
}

QWidget* BooleanFeature::createInstanceValueWidget(size_t)
{
    if (instanceCount() == 1) {
        if (auto* kept = qobject_cast<QCheckBox*>(takeKeptValueWidget()))
            return kept;
    }
    auto* checkBox = new QCheckBox(booleanText(false), widget());
    // clicked, not toggled: only the user's clicks are edits, the element's own writes are not.
    connect(checkBox, &QCheckBox::clicked, this, &BooleanFeature::userValueUpdate);
    connect(checkBox, &QCheckBox::toggled, this, &BooleanFeature::updateCheckBoxText);
    return checkBox;
}

QVariant BooleanFeature::newInstanceValue() const
{
    // A user who ticks an optional switch without a default means to turn it on; "false" would look
    // like the tick did nothing.
    return isToggleFeature();
}

} // namespace Orvex
