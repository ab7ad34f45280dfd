#pragma once

#include "elements/StringFeatureCompleterItemModel.h"
#include "elements/ValueFeatureElementBase.h"

#include <QPointer>
#include <QRegExp>

#include <memory>

class QLineEdit;

namespace Orvex {

// A value feature for text, edited in one line edit per instance that enforces the schema's pattern and
// maximum length while the user types. A value is taken when the user presses Enter or leaves the field.
//
// The element never changes a value it is given: a value read from a file that breaks the pattern or
// is longer than the maximum is stored and shown as it is. The validator only checks typing (and keeps
// such a value from being committed unchanged); a line edit's length limit is raised to the length of a
// longer value the element puts there, since the line edit would otherwise cut it.
class StringFeature : public ValueFeatureElementBase
{
    Q_OBJECT
    Q_PROPERTY(QString stringValue READ stringValue WRITE setStringValue)
    Q_PROPERTY(QRegExp stringPattern READ stringPattern WRITE setStringPattern)
    Q_PROPERTY(int stringLengthMax READ stringLengthMax WRITE setStringLengthMax)

public:
    // A line edit's own limit, the maximum length until the schema gives one.
    static constexpr int DefaultLengthMax = 32767;

    // Starts with one instance holding the empty string.
    explicit StringFeature(ElementBase* a_parentElement);
    // Bounds, settings, pattern, length, completion model and the instance values of a_source.
    StringFeature(const StringFeature* a_source, ElementBase* a_parentElement);

    QString stringValue() const { return value().toString(); }
    void setStringValue(const QString& a_value) { setValue(a_value); }

    QRegExp stringPattern() const { return m_stringPattern ? *m_stringPattern : QRegExp(); }
    // The same pattern without a copy, for checks of many values; null while there is none.
    const QRegExp* sharedStringPattern() const { return m_stringPattern.get(); }
    // Checked by a validator on every line edit while the pattern is valid and not empty; otherwise
    // nothing is checked. Schema patterns are QRegExp::W3CXmlSchema11 expressions.
    void setStringPattern(const QRegExp& a_pattern);
    // What the line edits take while the user types, when it differs from the stored pattern: a field
    // that rewrites decimal entry in hexadecimal takes digits its schema pattern refuses. The stored
    // pattern stays the schema's, so that checking the file still follows the schema.
    QRegExp entryPattern() const
    {
        return m_entryPattern && !m_entryPattern->isEmpty() ? *m_entryPattern : stringPattern();
    }
    void setEntryPattern(const QRegExp& a_pattern);

    int stringLengthMax() const { return m_stringLengthMax; }
    void setStringLengthMax(int a_lengthMax);

    // The model whose rows every line edit of this feature offers while the user types; null for none.
    // Not owned: one model usually serves many features. Each line edit gets a helper of its own (a
    // child of the line edit, found as such), which in turn owns the line edit's completer; changing the
    // model replaces those helpers.
    StringFeatureCompleterItemModel* completerModel() const { return m_completerModel; }
    void setCompleterModel(StringFeatureCompleterItemModel* a_model);

    // The instance whose value widget a_widget is; -1 for none.
    int instanceIndex(const QWidget* a_widget) const;

    using ValueFeatureElementBase::displayText;
    // The value as it is; empty for an instance that does not exist.
    QString displayText(size_t a_index) const override;
    // Wide enough for a sample sentence cut to the maximum length.
    QSize maxSize() const override;
    ValueFeatureElementBase* cloneFeature(ElementBase* a_parentElement) const override;

protected:
    QWidget* createInstanceValueWidget(size_t a_index) override;
    QVariant newInstanceValue() const override;
    void writeWidgetValue(QWidget* a_widget, const QVariant& a_value) override;
    void fixedValueChanged() override;

private:
    QLineEdit* lineEdit(size_t a_index) const;
    void applyValidator(QLineEdit* a_lineEdit) const;
    void updateRefusalHint(QLineEdit* a_lineEdit) const;
    // Marks text the pattern does not accept yet as not taken, or takes the mark away.
    void markUntaken(QLineEdit* a_lineEdit) const;
    void applyLengthLimit(QLineEdit* a_lineEdit, const QString& a_shownText) const;
    void applyCompleter(QLineEdit* a_lineEdit);

    QPointer<StringFeatureCompleterItemModel> m_completerModel;
    // Shared by every copy of a schema feature, since a QRegExp allocates whenever it is copied; null for
    // no pattern.
    std::shared_ptr<const QRegExp> m_stringPattern;
    std::shared_ptr<const QRegExp> m_entryPattern;
    int m_stringLengthMax = DefaultLengthMax;
};

} // namespace Orvex
