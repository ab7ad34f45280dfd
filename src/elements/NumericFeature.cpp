#include "elements/NumericFeature.h"

#include "elements/NumericSpinBox.h"
#include "widgets/CheckedSpinBox.h"

#include <QDoubleSpinBox>
#include <QFontMetrics>
#include <QLocale>
#include <QSignalBlocker>

#include <cmath>
#include <limits>

namespace Orvex {

namespace {

// A spin box keeps at most this many characters of each extreme's text when it works out its size hint.
constexpr int s_spinBoxHintCharacters = 18;

QLocale displayLocale()
{
    QLocale locale;
    locale.setNumberOptions(locale.numberOptions() | QLocale::OmitGroupSeparator);
    return locale;
}

} // namespace

NumericFeature::NumericFeature(ElementBase* a_parentElement) : NumericFeature(nullptr, a_parentElement)
{
}

NumericFeature::NumericFeature(const NumericFeature* a_source, ElementBase* a_parentElement)
    : ValueFeatureElementBase(a_source, a_parentElement)
{
    setValueProperty(QStringLiteral("value"));
    if (a_source) {
        m_representationType = a_source->m_representationType;
        m_hasExplicitMinimum = a_source->m_hasExplicitMinimum;
        m_hasExplicitMaximum = a_source->m_hasExplicitMaximum;
        m_hasFractionDigits = a_source->m_hasFractionDigits;
        m_explicitMinimum = a_source->m_explicitMinimum;
        m_explicitMaximum = a_source->m_explicitMaximum;
        m_fractionDigits = a_source->m_fractionDigits;
    }
    // A copy takes its source's limits rather than working out the same ones again.
    m_limits = a_source ? a_source->m_limits : narrowedLimits();
    insertInstance(NoIndex);
    if (a_source)
        copyValuesFrom(*a_source);
}

NumericFeature::~NumericFeature() = default;

double NumericFeature::doubleValue() const
{
    return NumericValue::normalized(value(), m_representationType).toDouble();
}

void NumericFeature::setDoubleValue(double a_value)
{
    setValue(0, NumericValue::fromReal(a_value, m_representationType));
}

void NumericFeature::setMinimumValue(double a_minimum)
{
    m_explicitMinimum = a_minimum;
    if (m_explicitMaximum < a_minimum)
        m_explicitMaximum = a_minimum;
    m_hasExplicitMinimum = true;
    reconfigure();
}

void NumericFeature::setMaximumValue(double a_maximum)
{
    m_explicitMaximum = a_maximum;
    if (m_explicitMinimum > a_maximum)
        m_explicitMinimum = a_maximum;
    m_hasExplicitMaximum = true;
    reconfigure();
}

void NumericFeature::setFractionDigits(double a_fractionDigits)
{
    // A double only because the property is one; anything beyond int would be undefined to convert.
    const double digits = std::isnan(a_fractionDigits) ? 0.0 : std::trunc(a_fractionDigits);
    m_fractionDigits =
        int(qBound(double(std::numeric_limits<int>::min()), digits, double(std::numeric_limits<int>::max())));
    reconfigure();
}

void NumericFeature::setHasExplicitMinimum(bool a_hasExplicitMinimum)
{
    m_hasExplicitMinimum = a_hasExplicitMinimum;
    reconfigure();
}

void NumericFeature::setHasExplicitMaximum(bool a_hasExplicitMaximum)
{
    m_hasExplicitMaximum = a_hasExplicitMaximum;
    reconfigure();
}

void NumericFeature::setHasFractionDigits(bool a_hasFractionDigits)
{
    m_hasFractionDigits = a_hasFractionDigits;
    reconfigure();
}

void NumericFeature::setRepresentationType(RepTypeEnum a_representationType)
{
    m_representationType = a_representationType;
    if (!NumericValue::implicitLimits(a_representationType)) {
        warn(QStringLiteral("Bad Representation Type"),
             QStringLiteral("Unknown numeric representation type with id = %1.")
                 .arg(int(a_representationType)));
    }
    reconfigure();
}

std::optional<NumericFeature::Limits> NumericFeature::limits() const
{
    return m_limits;
}

std::optional<NumericFeature::Limits> NumericFeature::narrowedLimits() const
{
    return NumericValue::narrowedLimits(
        m_representationType, m_hasExplicitMinimum ? std::optional<double>(m_explicitMinimum) : std::nullopt,
        m_hasExplicitMaximum ? std::optional<double>(m_explicitMaximum) : std::nullopt,
        m_hasFractionDigits ? std::optional<int>(m_fractionDigits) : std::nullopt);
}

QVariant NumericFeature::boundedValue(const QVariant& a_value) const
{
    return NumericValue::bounded(a_value, m_representationType, limits());
}

QVariant NumericFeature::parseText(const QString& a_text, bool* a_ok) const
{
    return NumericValue::parse(a_text, m_representationType, a_ok);
}

QString NumericFeature::fileText(size_t a_index) const
{
    return a_index < instanceCount() ? NumericValue::format(value(a_index), m_representationType) : QString();
}

QVariant NumericFeature::valueFromText(const QString& a_text, bool* a_ok) const
{
    return NumericValue::parseWithHexadecimal(a_text, m_representationType, a_ok);
}

QString NumericFeature::textFromValue(const QVariant& a_value) const
{
    return NumericValue::format(a_value, m_representationType);
}

bool NumericFeature::isWithinRange(const QVariant& a_value) const
{
    return NumericValue::isWithin(a_value, m_representationType, limits());
}

QString NumericFeature::displayText(size_t a_index) const
{
    if (a_index >= instanceCount())
        return QString();
    const std::optional<Limits> limits = this->limits();
    if (!limits)
        return fileText(a_index);
    const QVariant shown = NumericValue::bounded(value(a_index), m_representationType, limits);
    if (!shown.isValid())
        return value(a_index).toString();
    return NumericValue::text(shown, m_representationType, limits->decimals, displayLocale());
}

QSize NumericFeature::maxSize() const
{
    const std::optional<Limits> limits = this->limits();
    // What the probe's configuration takes from this feature.
    const QString kind = limits ? QStringLiteral("number %1 %2 %3 %4 %5")
                                      .arg(limits->decimals)
                                      .arg(limits->minimum, 0, 'g', 17)
                                      .arg(limits->maximum, 0, 'g', 17)
                                      .arg(NumericSpinBox::unitOf(annotation()))
                                      .arg(fixedValue().isValid())
                                : QStringLiteral("number");
    return keptSize(kind, [this] {
        NumericSpinBox probe;
        configureSpinBox(&probe);
        QSize size = measuredSize(probe);
        // The spin box's own hint measures only the start of long texts; a view that shows the whole
        // text of an extreme needs the rest as well.
        const QFontMetrics metrics(probe.font());
        int fullWidth = 0;
        int hintWidth = 0;
        for (const double extreme : {probe.minimum(), probe.maximum()}) {
            const QString text = probe.textFromValue(extreme);
            fullWidth = qMax(fullWidth, metrics.horizontalAdvance(text));
            hintWidth = qMax(hintWidth, metrics.horizontalAdvance(text.left(s_spinBoxHintCharacters)));
        }
        size.rwidth() += qMax(0, fullWidth - hintWidth);
        return size;
    });
}

ValueFeatureElementBase* NumericFeature::cloneFeature(ElementBase* a_parentElement) const
{
    return new NumericFeature(this, a_parentElement);
}

void NumericFeature::userValueUpdate()
{
    auto* spinBox = qobject_cast<QDoubleSpinBox*>(sender());
    if (!spinBox)
        return;
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (valueWidget(index) != spinBox)
            continue;
        const QVariant shown = boundedValue(fixedValue().isValid() ? fixedValue() : value(index));
        if (shown.isValid() && shown.toDouble() == spinBox->value())
            return;
        userSetValue(index, NumericValue::normalized(spinBox->value(), m_representationType));
        return;
    }
}

QWidget* NumericFeature::createInstanceValueWidget(size_t a_index)
{
    auto* spinBox = instanceCount() == 1 ? qobject_cast<QDoubleSpinBox*>(takeKeptValueWidget()) : nullptr;
    if (spinBox) {
        configureSpinBox(spinBox);
        return spinBox;
    }
    spinBox = new NumericSpinBox(widget());
    connect(spinBox, &QDoubleSpinBox::editingFinished, this, &NumericFeature::userValueUpdate);
    // A new box writes out and lays out its text again for each of its decimals, range, unit and value.
    // While its value is its minimum and it has a text for that, it shows that text and leaves its own
    // alone: set up behind one, it lays out only the value it will show.
    spinBox->setSpecialValueText(QStringLiteral("-"));
    configureSpinBox(spinBox);
    writeWidgetValue(spinBox, value(a_index));
    spinBox->setSpecialValueText(QString());
    return spinBox;
}

void NumericFeature::insertInstanceValue(size_t a_index)
{
    ValueFeatureElementBase::insertInstanceValue(a_index);
    if (fixedValue().isValid())
        return;
    const QVariant start = value(a_index);
    const QVariant bounded = boundedValue(start);
    if (bounded.isValid() && !NumericValue::isIdentical(bounded, start)) {
        // A new instance is announced by instanceInserted alone; its first value is no change.
        const QSignalBlocker blocker(this);
        setValue(a_index, bounded);
    }
}

QVariant NumericFeature::newInstanceValue() const
{
    return 0.0;
}

void NumericFeature::writeWidgetValue(QWidget* a_widget, const QVariant& a_value)
{
    auto* spinBox = qobject_cast<QDoubleSpinBox*>(a_widget);
    if (!spinBox) {
        ValueFeatureElementBase::writeWidgetValue(a_widget, a_value);
        return;
    }
    const QVariant number = NumericValue::normalized(a_value, m_representationType);
    if (number.isValid())
        spinBox->setValue(number.toDouble());
}

void NumericFeature::fixedValueChanged()
{
    const QVariant fixed = fixedValue();
    const QVariant number = NumericValue::normalized(fixed, m_representationType);
    if (number.isValid() && !NumericValue::isIdentical(number, fixed)) {
        // Comes back here once more, with nothing left to convert.
        setFixedValue(number);
        return;
    }
    reconfigure();
}

void NumericFeature::reconfigure()
{
    m_limits = narrowedLimits();
    const bool fixed = fixedValue().isValid();
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (!fixed) {
            const QVariant bounded = boundedValue(value(index));
            if (bounded.isValid() && !NumericValue::isIdentical(bounded, value(index)))
                setValue(index, bounded);
        }
        if (auto* spinBox = qobject_cast<QDoubleSpinBox*>(valueWidget(index))) {
            configureSpinBox(spinBox);
            showValue(index, value(index));
        }
    }
}

void NumericFeature::configureSpinBox(QDoubleSpinBox* a_spinBox) const
{
    const std::optional<Limits> limits = this->limits();
    if (!limits)
        return;
    // Decimals first: the range is rounded to them. Each setter writes the box's text out and lays it out
    // again, so what is already so is not set again.
    if (a_spinBox->decimals() != limits->decimals)
        a_spinBox->setDecimals(limits->decimals);
    a_spinBox->setRange(limits->minimum, limits->maximum);
    a_spinBox->setReadOnly(fixedValue().isValid());
    const QString unit = NumericSpinBox::unitOf(annotation());
    const QString suffix = unit.isEmpty() ? QString() : QLatin1Char(' ') + unit;
    if (a_spinBox->suffix() != suffix)
        a_spinBox->setSuffix(suffix);
    const QString range = CheckedSpinBox::rangeSentence(a_spinBox, a_spinBox->suffix());
    a_spinBox->setToolTip(
        annotation().isEmpty() ? range : QStringLiteral("<p>%1</p><p>%2</p>").arg(annotation(), range));
}

} // namespace Orvex
