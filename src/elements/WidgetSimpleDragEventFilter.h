#pragma once

#include <QMimeData>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QWidget>

namespace Orvex {

// Turns a press-and-drag with the left button on one widget into a copy drag of prepared data.
class WidgetSimpleDragEventFilter : public QObject
{
    Q_OBJECT

public:
    // Becomes a child of a_widget and filters its events from now on.
    explicit WidgetSimpleDragEventFilter(QWidget* a_widget);

    QWidget* widget() const { return m_widget; }

    // The filter takes ownership of a_data and deletes a template set before. Until a template is
    // set, the widget's events pass untouched.
    void setDragData(QMimeData* a_data);
    const QMimeData* dragData() const { return m_dragData; }

    bool eventFilter(QObject* a_watched, QEvent* a_event) override;

private:
    void startDrag();

    QPointer<QWidget> m_widget;
    QPointer<QMimeData> m_dragData;
    QPoint m_pressPosition;
};

} // namespace Orvex
