#include "elements/EnumerationFeature.h"

#include "widgets/ContentsLengthComboBox.h"
#include "widgets/FieldGuard.h"

#include <QComboBox>
#include <QSignalBlocker>

namespace Orvex {

namespace {

// Entries with long documentation would otherwise widen the page past the window, clipping the spin
// boxes' arrows and the rows' buttons beside it.
constexpr int s_contentsLength = 24;

} // namespace

EnumerationFeature::EnumerationFeature(ElementBase* a_parentElement)
    : ValueFeatureElementBase(a_parentElement)
{
    setValueProperty(QStringLiteral("currentData"));
    insertInstance(NoIndex);
}

EnumerationFeature::EnumerationFeature(const EnumerationFeature* a_source, ElementBase* a_parentElement)
    : ValueFeatureElementBase(a_source, a_parentElement)
{
    setValueProperty(QStringLiteral("currentData"));
    if (a_source)
        m_entries = a_source->m_entries;
    insertInstance(NoIndex);
    if (a_source)
        copyValuesFrom(*a_source);
}

EnumerationFeature::~EnumerationFeature() = default;

bool EnumerationFeature::addEntry(const QString& a_value, const QString& a_documentation)
{
    if (entryIndex(a_value) >= 0) {
        warn(QStringLiteral("Duplicate Enumeration Entry"),
             QStringLiteral("Skipping enumeration entry duplicate, \"%1\".").arg(a_value));
        return false;
    }
    m_entries.append({a_value, a_documentation});
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (!value(index).isValid())
            setValue(index, newInstanceValue());
        if (auto* comboBox = qobject_cast<QComboBox*>(valueWidget(index)))
            refillComboBox(comboBox, value(index));
    }
    return true;
}

QString EnumerationFeature::displayText(size_t a_index) const
{
    return a_index < instanceCount() ? value(a_index).toString() : QString();
}

QSize EnumerationFeature::maxSize() const
{
    // Boxes are sized by a fixed contents length, not by their entries, so an empty probe measures them.
    return keptSize(QStringLiteral("entries"), [this] {
        ContentsLengthComboBox probe(s_contentsLength);
        return measuredSize(probe);
    });
}

ValueFeatureElementBase* EnumerationFeature::cloneFeature(ElementBase* a_parentElement) const
{
    return new EnumerationFeature(this, a_parentElement);
}

QVariant EnumerationFeature::valueFromText(const QString& a_text, bool* a_ok) const
{
    const bool isEntry = entryIndex(a_text) >= 0;
    if (a_ok)
        *a_ok = isEntry;
    return isEntry ? QVariant(a_text) : QVariant();
}

QWidget* EnumerationFeature::createInstanceValueWidget(size_t a_index)
{
    auto* comboBox = instanceCount() == 1 ? qobject_cast<QComboBox*>(takeKeptValueWidget()) : nullptr;
    if (!comboBox) {
        comboBox = new ContentsLengthComboBox(s_contentsLength, widget());
        comboBox->setInsertPolicy(QComboBox::NoInsert);
        FieldGuard::install(comboBox);
        connect(comboBox, &QComboBox::currentTextChanged, this, &EnumerationFeature::userValueUpdate);
    }
    refillComboBox(comboBox, value(a_index));
    return comboBox;
}

QVariant EnumerationFeature::newInstanceValue() const
{
    return m_entries.isEmpty() ? QVariant() : QVariant(m_entries.first().value);
}

void EnumerationFeature::writeWidgetValue(QWidget* a_widget, const QVariant& a_value)
{
    auto* comboBox = qobject_cast<QComboBox*>(a_widget);
    if (!comboBox) {
        ValueFeatureElementBase::writeWidgetValue(a_widget, a_value);
        return;
    }
    const QSignalBlocker blocker(comboBox);
    selectValue(comboBox, a_value);
}

void EnumerationFeature::fixedValueChanged()
{
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (auto* comboBox = qobject_cast<QComboBox*>(valueWidget(index)))
            refillComboBox(comboBox, value(index));
    }
}

QString EnumerationFeature::itemText(const Entry& a_entry)
{
    const QString documentation = a_entry.documentation.trimmed();
    if (documentation.isEmpty())
        return a_entry.value.trimmed();
    return a_entry.value.trimmed() + QStringLiteral(" -- ") + documentation;
}

int EnumerationFeature::entryIndex(const QVariant& a_value) const
{
    if (!a_value.isValid())
        return -1;
    const QString text = a_value.toString();
    for (int index = 0; index < m_entries.size(); ++index) {
        if (m_entries[index].value == text)
            return index;
    }
    return -1;
}

void EnumerationFeature::refillComboBox(QComboBox* a_comboBox, const QVariant& a_value)
{
    const QSignalBlocker blocker(a_comboBox);
    a_comboBox->clear();
    a_comboBox->setEnabled(!fixedValue().isValid());
    for (const Entry& entry : m_entries)
        a_comboBox->addItem(itemText(entry), entry.value);
    selectValue(a_comboBox, a_value);
}

void EnumerationFeature::selectValue(QComboBox* a_comboBox, const QVariant& a_value)
{
    const int entryCount = m_entries.size();
    const int entry = entryIndex(a_value);
    if (entry < 0 && a_value.isValid()) {
        const QString text = a_value.toString();
        if (a_comboBox->count() > entryCount) {
            a_comboBox->setItemText(entryCount, text);
            a_comboBox->setItemData(entryCount, text);
        } else {
            a_comboBox->addItem(text, text);
        }
        a_comboBox->setCurrentIndex(entryCount);
        return;
    }
    a_comboBox->setCurrentIndex(entry);
    while (a_comboBox->count() > entryCount)
        a_comboBox->removeItem(entryCount);
}

} // namespace Orvex
