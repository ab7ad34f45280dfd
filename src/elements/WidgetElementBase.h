#pragma once

#include "elements/ElementBase.h"

#include <QList>
#include <QPointer>
#include <QWidget>

#include <cstddef>

namespace Orvex {

// An element that owns one editing widget and can draw attention to it with a highlight.
class WidgetElementBase : public ElementBase
{
    Q_OBJECT

public:
    // a_parentElement becomes the Qt parent. Without a source the element starts with empty name,
    // annotation and path.
    WidgetElementBase(const ElementBase* a_source, ElementBase* a_parentElement);
    ~WidgetElementBase() override;

    ElementBase* parentElement() const { return m_parentElement; }

    // Null until set and again once the widget is destroyed.
    QWidget* widget() const { return m_widget; }
    // The element takes ownership: a widget that still exists is deleted with the element. A widget
    // replaced by another one is left to its own Qt parent.
    void setWidget(QWidget* a_widget);

    bool isHighlightActive() const { return m_highlightActive; }

    const WindowElement* windowElement() const override;
    WindowElement* windowElement() override;

protected:
    void onRaise() override;
    void onLower() override;

    virtual void widgetChanged(QWidget* a_widget);
    // Told by every child element whose highlight starts or ends.
    virtual void childHighlightChanged(const WidgetElementBase* a_child, bool a_active);

public:
    // Shows the highlight effect on the widget of one instance (all instances when a_index is not
    // below their number).
    virtual void highlight(size_t a_index) = 0;
    // Where the keyboard focus goes when the user is taken to instance a_index: its editor when it has
    // one, otherwise the element's widget; null while there is no widget.
    virtual QWidget* editorWidget(size_t a_index) const;

signals:
    void highlightTriggered(bool a_active);
    void highlightActivated();
    void highlightDeactivated();

protected slots:
    void setHighlightActive(bool a_enabled = true);
    void setHighlightInactive(bool a_disabled = true);

protected:
    // A red tint that fades out twice on every container, the first one scrolled into view; the
    // highlight state is set while it runs.
    void highlightContainers(const QList<QWidget*>& a_containers);

private slots:
    void highlightAnimationFinished();

private:
    QPointer<ElementBase> m_parentElement;
    QPointer<QWidget> m_widget;
    bool m_highlightActive = false;
};

} // namespace Orvex
