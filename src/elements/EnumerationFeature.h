#pragma once

#include "elements/ValueFeatureElementBase.h"

#include <QVector>

class QComboBox;

namespace Orvex {

// A value feature whose value is one of a list of entries, edited in one combo box per instance. The
// stored value is always the entry value itself (the combo box item's data), never the item's text with
// the documentation after it, so a value read from a file is written back exactly as it was. A value that
// is no entry (a file made for another schema version) is kept and shown as an extra item after the
// entries until the user picks an entry.
class EnumerationFeature : public ValueFeatureElementBase
{
    Q_OBJECT
    Q_PROPERTY(QString enumValue READ enumValue WRITE setEnumValue)

public:
    struct Entry
    {
        QString value;
        QString documentation;
    };

    // Starts with one instance, which takes the first entry once there is one.
    explicit EnumerationFeature(ElementBase* a_parentElement);
    // Entries, bounds, settings and the instance values of a_source.
    EnumerationFeature(const EnumerationFeature* a_source, ElementBase* a_parentElement);
    ~EnumerationFeature() override;

    QString enumValue() const { return value().toString(); }
    void setEnumValue(const QString& a_value) { setValue(a_value); }

    // Appends an entry, in schema order. A value that is an entry already is skipped and reported
    // through warning(); returns whether the entry was added. Instances without a value take the first
    // entry.
    bool addEntry(const QString& a_value, const QString& a_documentation = QString());
    QVector<Entry> entries() const { return m_entries; }

    using ValueFeatureElementBase::displayText;
    // The entry value; empty for an instance that does not exist.
    QString displayText(size_t a_index) const override;
    // Wide enough for the widest item text.
    QSize maxSize() const override;
    ValueFeatureElementBase* cloneFeature(ElementBase* a_parentElement) const override;

    // Only an entry value, matched exactly: a file cannot bring in values the schema does not offer.
    QVariant valueFromText(const QString& a_text, bool* a_ok = nullptr) const override;

protected:
    QWidget* createInstanceValueWidget(size_t a_index) override;
    QVariant newInstanceValue() const override;
    void writeWidgetValue(QWidget* a_widget, const QVariant& a_value) override;
    // A fixed value disables the combo boxes.
    void fixedValueChanged() override;

private:
    static QString itemText(const Entry& a_entry);
    int entryIndex(const QVariant& a_value) const;
    void refillComboBox(QComboBox* a_comboBox, const QVariant& a_value);
    void selectValue(QComboBox* a_comboBox, const QVariant& a_value);

    QVector<Entry> m_entries;
};

} // namespace Orvex
