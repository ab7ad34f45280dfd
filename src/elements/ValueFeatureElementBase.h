#pragma once

#include "elements/FeatureElementBase.h"

#include <QList>
#include <QPointer>
#include <QSize>
#include <QString>
#include <QVariant>

#include <cstddef>
#include <functional>
#include <vector>

namespace Orvex {

class ValueFeatureObserverBase;

// A feature whose instances each hold one value. The values live here, so loading, reading and the
// undo/redo commands work without any widget; the value widgets are built on demand and mirror the
// stored values through the widget property named by valueProperty, which is also where a user's edit
// is read from. "Null" throughout means an invalid QVariant: an empty string is a value.
class ValueFeatureElementBase : public FeatureElementBase
{
    Q_OBJECT
    Q_PROPERTY(QString valueProperty READ valueProperty WRITE setValueProperty)
    Q_PROPERTY(QVariant value READ value WRITE setValue)
    Q_PROPERTY(QVariant fixedValue READ fixedValue WRITE setFixedValue)
    Q_PROPERTY(QVariant defaultValue READ defaultValue WRITE setDefaultValue)
    Q_PROPERTY(QString displayText READ displayText)
    Q_PROPERTY(QSize maxSize READ maxSize)

public:
    explicit ValueFeatureElementBase(ElementBase* a_parentElement);
    // Takes the value property, the fixed and default values and the observers of a_source as well as
    // what FeatureElementBase takes; no instances.
    ValueFeatureElementBase(const ValueFeatureElementBase* a_source, ElementBase* a_parentElement);
    ~ValueFeatureElementBase() override;

    QString valueProperty() const { return m_valueProperty; }
    void setValueProperty(const QString& a_valueProperty) { m_valueProperty = a_valueProperty; }

    // Instance 0; null when there is no instance.
    QVariant value() const { return value(0); }
    void setValue(const QVariant& a_value) { setValue(0, a_value); }
    QVariant value(size_t a_index) const;
    // Direct change without undo, for loading and for the undo/redo commands: stores a_value (the fixed
    // value instead, when there is one) and shows it in the instance's widget. Null values and indices
    // beyond the instances are ignored. Emits valueChanged when the stored value changes.
    void setValue(size_t a_index, const QVariant& a_value);

    QVariant fixedValue() const { return m_fixedValue; }
    // A fixed value replaces the value of every instance at once and from then on any other value.
    void setFixedValue(const QVariant& a_fixedValue);

    // The value a new instance starts with; while null, the subclass's own starting value. Writing it
    // also gives it to the existing instances: it belongs to a feature fresh from the schema, before any
    // file value arrives.
    QVariant defaultValue() const { return m_defaultValue; }
    void setDefaultValue(const QVariant& a_defaultValue);

    // Of instance 0; empty when there is no instance.
    QString displayText() const;
    virtual QString displayText(size_t a_index) const = 0;
    // The largest size a value widget of this feature needs, in the feature widget's font.
    virtual QSize maxSize() const = 0;

    // A new element of the same kind under a_parentElement, with the settings, observers and values of
    // this one: how a feature read from the schema is copied to every place where it is used.
    virtual ValueFeatureElementBase* cloneFeature(ElementBase* a_parentElement) const = 0;

    // The value a camera file's text stands for, in the form this feature stores; null with a_ok false
    // for a text that is no value of this feature. Every text is a value here.
    virtual QVariant valueFromText(const QString& a_text, bool* a_ok = nullptr) const;
    // The text a camera file gets for a_value.
    virtual QString textFromValue(const QVariant& a_value) const;
    // Whether a_value lies within what the schema allows this feature; a value outside is still held.
    virtual bool isWithinRange(const QVariant& a_value) const;

    // Stores the value of a file's text, trimmed, in instance a_index without undo, and remembers the
    // text, so that a value nobody changed is written back exactly as it was read ("0x1F", "250.50").
    // False, changing nothing, for an instance that does not exist and for a text valueFromText refuses.
    bool setValueFromText(size_t a_index, const QString& a_text);
    // Stores a_value in instance a_index without undo and remembers a_text as the file's own spelling of
    // it, for a text the feature would not read but a file may hold (an empty element standing for its
    // default, an entry the list lacks): the text is written back unchanged until the value is edited.
    void keepFileText(size_t a_index, const QString& a_text, const QVariant& a_value);
    // The text of instance a_index for a camera file: the remembered text while the instance still
    // holds exactly the value read from it, otherwise textFromValue of what it holds. Empty for an
    // instance that does not exist.
    QString valueText(size_t a_index) const;

    // Observers are not owned; one that is destroyed drops out of the list by itself. Adding an observer
    // twice keeps it once.
    void addObserver(ValueFeatureObserverBase* a_observer);
    void removeObserver(ValueFeatureObserverBase* a_observer);
    QList<ValueFeatureObserverBase*> observers() const;

    // The stored values, one per instance. Writing inserts or removes instances at the end (within the
    // bounds) until the count matches, then sets the values without undo; null entries leave their
    // instance's value as it is.
    QVariant dataSet() const override;
    void setDataSet(const QVariant& a_dataSet) override;

    void highlight(size_t a_index) override;
    QWidget* editorWidget(size_t a_index) const override;

    // Puts the stored values back into the value widgets, throwing away what the user typed but did not
    // finish, so that a widget that is closed now reports no edit.
    void discardWidgetEdits();

signals:
    void valueChanged(size_t a_index);
    // A problem found in the schema's description of this feature, for the window to show.
    void warning(const QString& a_title, const QString& a_text);

public slots:
    // The user's edits: stored, offered to the observers for correction, and each change handed to
    // pushValueChange. Null values, unknown indices and equal values change nothing; a feature with a
    // fixed value only shows that value again.
    void userSetValue(const QVariant& a_value);
    void userSetValue(size_t a_index, const QVariant& a_value);

protected slots:
    // For the value widgets' edit signals: reads the sending widget's value property and hands it to
    // userSetValue for the sender's instance.
    void userValueUpdate();

protected:
    // Puts the stored values back into the widgets before the parent is raised, in case a widget was
    // changed behind the element's back.
    void onRaise() override;

    void insertInstanceValue(size_t a_index) override;
    void removeInstanceValue(size_t a_index) override;
    void moveInstanceValue(size_t a_from, size_t a_to) override;
    // Shows the stored value in the new widget, so subclasses only build their widgets.
    void setInstanceValueWidget(FeatureInstanceRecord& a_record, QWidget* a_widget) override;
    // Keeps the value widget of the last instance when the count drops to 0 (see takeKeptValueWidget).
    void destroyInstanceRow(size_t a_index) override;

    // Takes a_source's instances and values, as setDataSet(a_source.dataSet()) would.
    void copyValuesFrom(const ValueFeatureElementBase& a_source);
    // The starting value of a new instance when there is neither a fixed nor a default value.
    virtual QVariant newInstanceValue() const;
    // Called once per stored user change, old and new value, after the new value is stored, so that the
    // undo command made from it starts applied. Pushes that command onto the window's undo/redo stack;
    // without a window element the change stays, but cannot be undone.
    virtual void pushValueChange(size_t a_index, const QVariant& a_old, const QVariant& a_new);
    // Shows a value in a value widget; by default through the property named by valueProperty.
    virtual void writeWidgetValue(QWidget* a_widget, const QVariant& a_value);
    // After a fixed value was written and stored into the instances, for subclasses whose widgets look
    // different when the value cannot be edited.
    virtual void fixedValueChanged();

    // Null when the instance does not exist or has no widget.
    QWidget* valueWidget(size_t a_index) const;
    // Writes a_value into the instance's widget, if any, without the widget's echo counting as an edit.
    void showValue(size_t a_index, const QVariant& a_value);
    // The widget of the last instance removed, kept hidden in the feature widget so that a feature that
    // is switched off and on again gets its widget back; null when there is none. Taking it hands over
    // the widget with its connections.
    QWidget* takeKeptValueWidget();
    // Emits warning and queues it as a message of the feature's window element, when there is one.
    void warn(const QString& a_title, const QString& a_text);
    // a_probe's size hint in the feature widget's font, for maxSize.
    QSize measuredSize(QWidget& a_probe) const;
    // What a_measure returns, asked once for each a_kind in each font, style and locale: a_kind names
    // everything else the size depends on. Every table of every mode asks its columns' few kinds of
    // value, and each answer takes a probe widget.
    QSize keptSize(const QString& a_kind, const std::function<QSize()>& a_measure) const;

private:
    // Removes from the end or appends until there are a_count instances, or the bounds stop it.
    void resizeInstances(size_t a_count);

    QString m_valueProperty;
    QVariant m_fixedValue;
    QVariant m_defaultValue;
    // The file text a value was read from and that value; null values for instances that were not read
    // from a file.
    struct ReadText
    {
        QString text;
        QVariant value;
    };
    // Held together rather than in one vector each: a feature of one instance, the usual case, then
    // costs one allocation instead of two.
    struct Instance
    {
        QVariant value;
        ReadText read;
    };
    std::vector<Instance> m_instances;
    QList<QPointer<ValueFeatureObserverBase>> m_observers;
    QPointer<QWidget> m_keptValueWidget;
    bool m_writingWidget = false;
};

} // namespace Orvex
