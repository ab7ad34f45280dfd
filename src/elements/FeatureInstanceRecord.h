#pragma once

#include <QPointer>
#include <QToolButton>
#include <QWidget>

namespace Orvex {

// The widgets of one instance of a feature. They exist only while the feature has a widget, so every
// pointer may be null; the record itself lives exactly as long as its instance.
class FeatureInstanceRecord
{
public:
    FeatureInstanceRecord() = default;
    // Deletes the row and the value widget if they still exist.
    ~FeatureInstanceRecord();

    FeatureInstanceRecord(const FeatureInstanceRecord&) = delete;
    FeatureInstanceRecord& operator=(const FeatureInstanceRecord&) = delete;

    QWidget* row() const { return m_row; }
    void setRow(QWidget* a_row) { m_row = a_row; }

    // An instance without buttons of its own has no row around its value: the value widget is its row.
    bool isBare() const { return m_bare; }
    void setBare(bool a_bare) { m_bare = a_bare; }

    QToolButton* insertButton() const { return m_insertButton; }
    void setInsertButton(QToolButton* a_button) { m_insertButton = a_button; }

    QToolButton* removeButton() const { return m_removeButton; }
    void setRemoveButton(QToolButton* a_button) { m_removeButton = a_button; }

    QWidget* valueWidget() const { return m_valueWidget; }
    void setValueWidget(QWidget* a_widget) { m_valueWidget = a_widget; }

    // True when a_object is one of this record's widgets, which is how a button's click finds its
    // instance.
    bool holds(const QObject* a_object) const;

private:
    QPointer<QWidget> m_row;
    QPointer<QToolButton> m_insertButton;
    QPointer<QToolButton> m_removeButton;
    QPointer<QWidget> m_valueWidget;
    bool m_bare = false;
};

} // namespace Orvex
