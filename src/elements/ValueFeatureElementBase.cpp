#include "elements/ValueFeatureElementBase.h"

#include "elements/UndoRedoStack.h"
#include "elements/UndoRedoValueFeatureChange.h"
#include "elements/ValueFeatureObserverBase.h"
#include "elements/WindowElement.h"
#include "model/NumericValue.h"

#include <QApplication>
#include <QHash>
#include <QLocale>
#include <QMetaMethod>
#include <QSharedPointer>

#include <QtDebug>

#include <algorithm>

namespace Orvex {

namespace {

// Observers that keep correcting each other's corrections would otherwise hold the user's edit in an
// endless loop; no sensible chain of corrections comes near this.
constexpr int s_maxUserValueSteps = 16;

} // namespace

ValueFeatureElementBase::ValueFeatureElementBase(ElementBase* a_parentElement)
    : FeatureElementBase(a_parentElement)
{
}

ValueFeatureElementBase::ValueFeatureElementBase(const ValueFeatureElementBase* a_source,
                                                 ElementBase* a_parentElement)
    : FeatureElementBase(a_source, a_parentElement)
{
    if (a_source) {
        m_valueProperty = a_source->m_valueProperty;
        m_fixedValue = a_source->m_fixedValue;
        m_defaultValue = a_source->m_defaultValue;
        m_observers = a_source->m_observers;
    }
}

ValueFeatureElementBase::~ValueFeatureElementBase()
{
    // The rows go away only in the base destructors, and a value widget that loses the focus as its row
    // is hidden reports a finished edit, which must no longer reach an element that is half destroyed.
    for (size_t index = 0; index < instanceCount(); ++index) {
        if (QWidget* widget = valueWidget(index))
            widget->disconnect(this);
    }
    if (m_keptValueWidget)
        m_keptValueWidget->disconnect(this);
}

QVariant ValueFeatureElementBase::value(size_t a_index) const
{
    return a_index < m_instances.size() ? m_instances[a_index].value : QVariant();
}

void ValueFeatureElementBase::setValue(size_t a_index, const QVariant& a_value)
{
    if (a_index >= m_instances.size() || !a_value.isValid())
        return;
    const QVariant stored = m_fixedValue.isValid() ? m_fixedValue : a_value;
    // Values of different types are compared by converting them, which a load pays several times for
    // every value; only a listener needs to know whether the value changed.
    static const QMetaMethod changedSignal = QMetaMethod::fromSignal(&ValueFeatureElementBase::valueChanged);
    const bool changed = isSignalConnected(changedSignal) && m_instances[a_index].value != stored;
    m_instances[a_index].value = stored;
    showValue(a_index, stored);
    if (changed)
        emit valueChanged(a_index);
}

void ValueFeatureElementBase::setFixedValue(const QVariant& a_fixedValue)
{
    m_fixedValue = a_fixedValue;
    for (size_t index = 0; index < m_instances.size(); ++index)
        setValue(index, m_fixedValue);
    fixedValueChanged();
}

void ValueFeatureElementBase::setDefaultValue(const QVariant& a_defaultValue)
{
    m_defaultValue = a_defaultValue;
    for (size_t index = 0; index < m_instances.size(); ++index)
        setValue(index, m_defaultValue);
}

QString ValueFeatureElementBase::displayText() const
{
    return m_instances.empty() ? QString() : displayText(0);
}

void ValueFeatureElementBase::addObserver(ValueFeatureObserverBase* a_observer)
{
    if (a_observer && !m_observers.contains(a_observer))
        m_observers.append(a_observer);
}

void ValueFeatureElementBase::removeObserver(ValueFeatureObserverBase* a_observer)
{
    m_observers.removeAll(a_observer);
}

QList<ValueFeatureObserverBase*> ValueFeatureElementBase::observers() const
{
    QList<ValueFeatureObserverBase*> living;
    for (const QPointer<ValueFeatureObserverBase>& observer : m_observers) {
        if (observer)
            living.append(observer);
    }
    return living;
}

QVariant ValueFeatureElementBase::valueFromText(const QString& a_text, bool* a_ok) const
{
    if (a_ok)
        *a_ok = true;
    return a_text;
}

QString ValueFeatureElementBase::textFromValue(const QVariant& a_value) const
{
    return a_value.toString();
}

bool ValueFeatureElementBase::isWithinRange(const QVariant&) const
{
    return true;
}

bool ValueFeatureElementBase::setValueFromText(size_t a_index, const QString& a_text)
{
    if (a_index >= m_instances.size())
        return false;
    const QString text = a_text.trimmed();
    bool ok = false;
    const QVariant read = valueFromText(text, &ok);
    if (!ok)
        return false;
    setValue(a_index, read);
    m_instances[a_index].read = {text, read};
    return true;
}

void ValueFeatureElementBase::keepFileText(size_t a_index, const QString& a_text, const QVariant& a_value)
{
    if (a_index >= m_instances.size() || !a_value.isValid())
        return;
    setValue(a_index, a_value);
    // In the form valueText compares with: a value may be held as the text it was given in.
    bool ok = false;
    const QVariant normalized = valueFromText(textFromValue(m_instances[a_index].value), &ok);
    m_instances[a_index].read = {a_text, ok ? normalized : m_instances[a_index].value};
}

QString ValueFeatureElementBase::valueText(size_t a_index) const
{
    if (a_index >= m_instances.size())
        return QString();
    const QVariant& held = m_instances[a_index].value;
    const ReadText& read = m_instances[a_index].read;
    if (read.value.isValid()) {
        // Untouched since it was read, the usual case, it needs no round trip through text.
        if (NumericValue::isIdentical(held, read.value))
            return read.text;
        // What the instance holds may have come back in another form (a fixed value given as text, an
        // edit through a widget), so it is compared as it would be read from its own text.
        bool ok = false;
        const QVariant normalized = valueFromText(textFromValue(held), &ok);
        if (NumericValue::isIdentical(ok ? normalized : held, read.value))
            return read.text;
    }
    return textFromValue(held);
}

QVariant ValueFeatureElementBase::dataSet() const
{
    QVariantList values;
    for (const Instance& instance : m_instances)
        values.append(instance.value);
    return values;
}

void ValueFeatureElementBase::setDataSet(const QVariant& a_dataSet)
{
    const QVariantList values = a_dataSet.toList();
    const size_t wanted = size_t(values.size());
    resizeInstances(wanted);
    for (size_t index = 0; index < std::min(instanceCount(), wanted); ++index)
        setValue(index, values[int(index)]);
}

void ValueFeatureElementBase::copyValuesFrom(const ValueFeatureElementBase& a_source)
{
    // Without the list setDataSet takes, which every copy of a mode would build for each of its features.
    const size_t wanted = a_source.m_instances.size();
    resizeInstances(wanted);
    for (size_t index = 0; index < std::min(instanceCount(), wanted); ++index)
        setValue(index, a_source.m_instances[index].value);
}

void ValueFeatureElementBase::resizeInstances(size_t a_count)
{
    while (instanceCount() > a_count) {
        if (!removeInstance(instanceCount() - 1))
            break;
    }
    while (instanceCount() < a_count) {
        if (!insertInstance(NoIndex))
            break;
    }
}

void ValueFeatureElementBase::highlight(size_t a_index)
{
    // The row around the value widget, so that the tint covers the instance's buttons as well.
    const auto container = [this](size_t a_instance) -> QWidget* {
        QWidget* valueWidget = this->valueWidget(a_instance);
        return valueWidget ? valueWidget->parentWidget() : nullptr;
    };
    QList<QWidget*> containers;
    if (a_index >= m_instances.size()) {
        for (size_t index = m_instances.size(); index-- > 0;) {
            if (QWidget* row = container(index))
                containers.append(row);
        }
    } else if (QWidget* row = container(a_index)) {
        containers.append(row);
    }
    highlightContainers(containers);
}

QWidget* ValueFeatureElementBase::editorWidget(size_t a_index) const
{
    QWidget* editor = valueWidget(a_index < m_instances.size() ? a_index : 0);
    return editor ? editor : widget();
}

void ValueFeatureElementBase::discardWidgetEdits()
{
    for (size_t index = 0; index < m_instances.size(); ++index)
        showValue(index, m_instances[index].value);
}

void ValueFeatureElementBase::userSetValue(const QVariant& a_value)
{
    userSetValue(0, a_value);
}

void ValueFeatureElementBase::userSetValue(size_t a_index, const QVariant& a_value)
{
    if (!a_value.isValid() || a_index >= m_instances.size())
        return;
    if (m_fixedValue.isValid()) {
        showValue(a_index, m_fixedValue);
        return;
    }
    if (a_value == m_instances[a_index].value)
        return;

    QVariant pending = a_value;
    for (int step = 0; pending.isValid(); ++step) {
        if (step == s_maxUserValueSteps) {
            qWarning() << "Value observers of" << name() << "keep correcting; stopped at"
                       << m_instances[a_index].value;
            break;
        }
        showValue(a_index, pending);
        const QVariant old = m_instances[a_index].value;
        m_instances[a_index].value = pending;
        pushValueChange(a_index, old, pending);
        pending = QVariant();

        // Copied, because an observer may add or remove observers while it is called.
        const QList<QPointer<ValueFeatureObserverBase>> observers = m_observers;
        for (const QPointer<ValueFeatureObserverBase>& observer : observers) {
            if (!observer || a_index >= m_instances.size())
                continue;
            QVariant replacement;
            observer->observeValueChange(this, a_index, m_instances[a_index].value, replacement);
            // Handing back the stored value is no correction, or an observer that always asks for the
            // same value would never let the loop end.
            if (replacement.isValid() && a_index < m_instances.size() &&
                replacement != m_instances[a_index].value) {
                pending = replacement;
                break;
            }
        }
        if (a_index >= m_instances.size())
            return;
    }
    emit valueChanged(a_index);
}

void ValueFeatureElementBase::userValueUpdate()
{
    if (m_writingWidget)
        return;
    auto* sendingWidget = qobject_cast<QWidget*>(sender());
    if (!sendingWidget)
        return;
    for (size_t index = 0; index < m_instances.size(); ++index) {
        if (valueWidget(index) == sendingWidget) {
            userSetValue(index, sendingWidget->property(m_valueProperty.toLatin1().constData()));
            return;
        }
    }
}

void ValueFeatureElementBase::onRaise()
{
    if (!m_valueProperty.isEmpty()) {
        for (size_t index = 0; index < m_instances.size(); ++index)
            showValue(index, m_fixedValue.isValid() ? m_fixedValue : m_instances[index].value);
    }
    FeatureElementBase::onRaise();
}

void ValueFeatureElementBase::insertInstanceValue(size_t a_index)
{
    QVariant start = m_fixedValue;
    if (!start.isValid())
        start = m_defaultValue.isValid() ? m_defaultValue : newInstanceValue();
    const auto at = std::ptrdiff_t(std::min(a_index, m_instances.size()));
    m_instances.insert(m_instances.begin() + at, Instance{std::move(start), ReadText()});
}

void ValueFeatureElementBase::removeInstanceValue(size_t a_index)
{
    if (a_index < m_instances.size())
        m_instances.erase(m_instances.begin() + std::ptrdiff_t(a_index));
}

void ValueFeatureElementBase::moveInstanceValue(size_t a_from, size_t a_to)
{
    if (a_from >= m_instances.size() || a_to >= m_instances.size())
        return;
    Instance moved = std::move(m_instances[a_from]);
    m_instances.erase(m_instances.begin() + std::ptrdiff_t(a_from));
    m_instances.insert(m_instances.begin() + std::ptrdiff_t(a_to), std::move(moved));
}

void ValueFeatureElementBase::setInstanceValueWidget(FeatureInstanceRecord& a_record, QWidget* a_widget)
{
    FeatureElementBase::setInstanceValueWidget(a_record, a_widget);
    for (size_t index = 0; index < m_instances.size(); ++index) {
        if (instanceRecord(index) == &a_record) {
            showValue(index, m_instances[index].value);
            return;
        }
    }
}

void ValueFeatureElementBase::destroyInstanceRow(size_t a_index)
{
    FeatureInstanceRecord* record = instanceRecord(a_index);
    if (instanceCount() == 0 && widget() && record && record->valueWidget()) {
        if (m_keptValueWidget)
            m_keptValueWidget->deleteLater();
        m_keptValueWidget = releaseValueWidget(*record);
        // Out of the row, which goes away now, into the feature widget, where it waits unseen.
        m_keptValueWidget->setParent(widget());
    }
    FeatureElementBase::destroyInstanceRow(a_index);
}

QVariant ValueFeatureElementBase::newInstanceValue() const
{
    return QVariant();
}

void ValueFeatureElementBase::pushValueChange(size_t a_index, const QVariant& a_old, const QVariant& a_new)
{
    WindowElement* window = windowElement();
    UndoRedoStack* stack = window ? window->undoRedoStack() : nullptr;
    if (!stack)
        return;
    auto command = QSharedPointer<UndoRedoValueFeatureChange>::create(window, this, a_index, a_old, a_new);
    if (command->isValid())
        stack->push(command);
}

void ValueFeatureElementBase::writeWidgetValue(QWidget* a_widget, const QVariant& a_value)
{
    if (!m_valueProperty.isEmpty())
        a_widget->setProperty(m_valueProperty.toLatin1().constData(), a_value);
}

void ValueFeatureElementBase::fixedValueChanged()
{
}

QWidget* ValueFeatureElementBase::valueWidget(size_t a_index) const
{
    FeatureInstanceRecord* record = instanceRecord(a_index);
    return record ? record->valueWidget() : nullptr;
}

void ValueFeatureElementBase::showValue(size_t a_index, const QVariant& a_value)
{
    QWidget* target = valueWidget(a_index);
    if (!target || !a_value.isValid())
        return;
    // Some widgets announce programmatic changes with the same signal as the user's; while the element
    // writes, that echo must not come back as an edit.
    const bool wasWriting = m_writingWidget;
    m_writingWidget = true;
    writeWidgetValue(target, a_value);
    m_writingWidget = wasWriting;
}

QWidget* ValueFeatureElementBase::takeKeptValueWidget()
{
    QWidget* kept = m_keptValueWidget;
    m_keptValueWidget = nullptr;
    return kept;
}

QSize ValueFeatureElementBase::measuredSize(QWidget& a_probe) const
{
    if (widget())
        a_probe.setFont(widget()->font());
    return a_probe.sizeHint();
}

QSize ValueFeatureElementBase::keptSize(const QString& a_kind, const std::function<QSize()>& a_measure) const
{
    static QHash<QString, QSize> kept;
    constexpr int KeptSizes = 256;
    const QFont font = widget() ? widget()->font() : QApplication::font();
    const QString key = a_kind + QLatin1Char('\n') + font.key() + QLatin1Char('\n') +
                        QString::number(quintptr(QApplication::style())) + QLatin1Char('\n') +
                        QLocale().name();
    auto found = kept.constFind(key);
    if (found == kept.constEnd()) {
        if (kept.size() >= KeptSizes)
            kept.clear();
        found = kept.insert(key, a_measure());
    }
    return *found;
}

// Problems of a feature's schema description (a duplicate entry, say) show up while it is being set up,
// before anything could have been connected to it.
void ValueFeatureElementBase::warn(const QString& a_title, const QString& a_text)
{
    emit warning(a_title, a_text);
    if (WindowElement* window = windowElement())
        window->queueMessage(a_title, a_text);
}

} // namespace Orvex
