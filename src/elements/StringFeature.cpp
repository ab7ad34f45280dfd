#include "elements/StringFeature.h"

#include "elements/StringFeatureCompleterHelper.h"
#include "elements/StringFeatureCompleterItemModel.h"

#include "widgets/FieldGuard.h"

#include <QFontMetrics>
#include <QLineEdit>
#include <QRegExpValidator>

#include <algorithm>

namespace Orvex {

namespace {

// QLineEdit sizes itself for 17 'x' whatever its text; this one is as wide as its text needs.
class SampleLineEdit : public QLineEdit
{
public:
    using QLineEdit::QLineEdit;

    QSize sizeHint() const override
    {
        QSize hint = QLineEdit::sizeHint();
        const QFontMetrics metrics(font());
        hint.rwidth() += metrics.horizontalAdvance(text()) - 17 * metrics.horizontalAdvance(QLatin1Char('x'));
        return hint;
    }
};

} // namespace

StringFeature::StringFeature(ElementBase* a_parentElement) : ValueFeatureElementBase(a_parentElement)
{
    setValueProperty(QStringLiteral("text"));
    insertInstance(NoIndex);
}

StringFeature::StringFeature(const StringFeature* a_source, ElementBase* a_parentElement)
    : ValueFeatureElementBase(a_source, a_parentElement)
{
    setValueProperty(QStringLiteral("text"));
    if (a_source) {
        m_completerModel = a_source->m_completerModel;
        m_stringPattern = a_source->m_stringPattern;
        m_entryPattern = a_source->m_entryPattern;
        m_stringLengthMax = a_source->m_stringLengthMax;
    }
    insertInstance(NoIndex);
    if (a_source)
        copyValuesFrom(*a_source);
}

void StringFeature::setEntryPattern(const QRegExp& a_pattern)
{
    m_entryPattern = std::make_shared<const QRegExp>(a_pattern);
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (QLineEdit* edit = lineEdit(index))
            applyValidator(edit);
    }
}

void StringFeature::setStringPattern(const QRegExp& a_pattern)
{
    m_stringPattern = std::make_shared<const QRegExp>(a_pattern);
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (QLineEdit* edit = lineEdit(index))
            applyValidator(edit);
    }
}

void StringFeature::setStringLengthMax(int a_lengthMax)
{
    m_stringLengthMax = a_lengthMax;
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (QLineEdit* edit = lineEdit(index))
            applyLengthLimit(edit, edit->text());
    }
}

void StringFeature::setCompleterModel(StringFeatureCompleterItemModel* a_model)
{
    if (a_model == m_completerModel)
        return;
    m_completerModel = a_model;
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (QLineEdit* edit = lineEdit(index))
            applyCompleter(edit);
    }
}

int StringFeature::instanceIndex(const QWidget* a_widget) const
{
    if (!a_widget)
        return -1;
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (valueWidget(index) == a_widget)
            return int(index);
    }
    return -1;
}

QString StringFeature::displayText(size_t a_index) const
{
    return a_index < instanceCount() ? value(a_index).toString() : QString();
}

QSize StringFeature::maxSize() const
{
    const QString sample =
        QStringLiteral("The quick red fox jumped over the lazy dog.").left(m_stringLengthMax);
    return keptSize(QStringLiteral("text ") + sample, [this, &sample] {
        SampleLineEdit probe(sample);
        return measuredSize(probe);
    });
}

ValueFeatureElementBase* StringFeature::cloneFeature(ElementBase* a_parentElement) const
{
    return new StringFeature(this, a_parentElement);
}

QWidget* StringFeature::createInstanceValueWidget(size_t a_index)
{
    // A kept line edit comes back with its connections; what the settings made of it may be out of date.
    auto* edit = instanceCount() == 1 ? qobject_cast<QLineEdit*>(takeKeptValueWidget()) : nullptr;
    if (!edit) {
        edit = new QLineEdit(widget());
        connect(edit, &QLineEdit::editingFinished, this, &StringFeature::userValueUpdate);
        // The line edit takes no text its pattern refuses: what stays on screen is marked as not taken
        // (and stays so when the focus leaves) until it matches.
        FieldGuard::install(edit);
        connect(edit, &QLineEdit::textEdited, this, [this, edit] { markUntaken(edit); });
    }
    edit->setReadOnly(fixedValue().isValid());
    applyValidator(edit);
    applyLengthLimit(edit, value(a_index).toString());
    applyCompleter(edit);
    return edit;
}

QVariant StringFeature::newInstanceValue() const
{
    return QString(QLatin1String(""));
}

void StringFeature::writeWidgetValue(QWidget* a_widget, const QVariant& a_value)
{
    auto* edit = qobject_cast<QLineEdit*>(a_widget);
    if (!edit) {
        ValueFeatureElementBase::writeWidgetValue(a_widget, a_value);
        return;
    }
    const QString text = a_value.toString();
    applyLengthLimit(edit, text);
    // Rewriting the same text would throw away the cursor position and the line edit's own undo steps.
    if (edit->text() != text)
        edit->setText(text);
    if (FieldGuard* guard = FieldGuard::of(edit))
        guard->setMark(QString());
}

void StringFeature::markUntaken(QLineEdit* a_lineEdit) const
{
    FieldGuard* guard = FieldGuard::of(a_lineEdit);
    if (!guard)
        return;
    const int instance = instanceIndex(a_lineEdit);
    const QString stored = instance >= 0 ? value(size_t(instance)).toString() : QString();
    guard->setMark(a_lineEdit->hasAcceptableInput()
                       ? QString()
                       : QStringLiteral("Not taken: the text must match %1; the value stays \"%2\".")
                             .arg(entryPattern().pattern(), stored));
}

void StringFeature::fixedValueChanged()
{
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (QLineEdit* edit = lineEdit(index))
            edit->setReadOnly(fixedValue().isValid());
    }
}

QLineEdit* StringFeature::lineEdit(size_t a_index) const
{
    return qobject_cast<QLineEdit*>(valueWidget(a_index));
}

void StringFeature::applyValidator(QLineEdit* a_lineEdit) const
{
    const QValidator* old = a_lineEdit->validator();
    // A validator never touches the text already there, so a loaded value stays as it is.
    const QRegExp pattern = entryPattern();
    const bool checked = !pattern.isEmpty() && pattern.isValid();
    a_lineEdit->setValidator(checked ? new QRegExpValidator(pattern, a_lineEdit) : nullptr);
    delete old;
    updateRefusalHint(a_lineEdit);
}

void StringFeature::applyLengthLimit(QLineEdit* a_lineEdit, const QString& a_shownText) const
{
    const int limit = std::max(m_stringLengthMax, int(a_shownText.size()));
    // Setting the limit resets the text and with it the cursor, even when the limit stays the same.
    if (a_lineEdit->maxLength() != limit)
        a_lineEdit->setMaxLength(limit);
    updateRefusalHint(a_lineEdit);
}

void StringFeature::updateRefusalHint(QLineEdit* a_lineEdit) const
{
    FieldGuard* guard = FieldGuard::of(a_lineEdit);
    if (!guard)
        return;
    QString hint = QStringLiteral("At most %1 characters.").arg(a_lineEdit->maxLength());
    if (a_lineEdit->validator())
        hint = QStringLiteral("The text must match %1. ").arg(entryPattern().pattern()) + hint;
    guard->setRefusalHint(hint);
}

void StringFeature::applyCompleter(QLineEdit* a_lineEdit)
{
    auto* helper =
        a_lineEdit->findChild<StringFeatureCompleterHelper*>(QString(), Qt::FindDirectChildrenOnly);
    if (helper && helper->model() == m_completerModel)
        return;
    delete helper;
    if (m_completerModel)
        new StringFeatureCompleterHelper(a_lineEdit, this, m_completerModel, a_lineEdit);
}

} // namespace Orvex
