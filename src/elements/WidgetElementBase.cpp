#include "elements/WidgetElementBase.h"

#include "widgets/HighlightTint.h"

#include <QScrollArea>

namespace Orvex {

namespace {

void scrollIntoView(QWidget* a_container)
{
    for (QWidget* ancestor = a_container->parentWidget(); ancestor; ancestor = ancestor->parentWidget()) {
        if (auto* area = qobject_cast<QScrollArea*>(ancestor)) {
            area->ensureWidgetVisible(a_container, 50, 50);
            return;
        }
    }
}

} // namespace

WidgetElementBase::WidgetElementBase(const ElementBase* a_source, ElementBase* a_parentElement)
    : ElementBase(a_source, a_parentElement), m_parentElement(a_parentElement)
{
}

WidgetElementBase::~WidgetElementBase()
{
    delete m_widget.data();
}

void WidgetElementBase::setWidget(QWidget* a_widget)
{
    m_widget = a_widget;
    widgetChanged(m_widget.data());
}

const WindowElement* WidgetElementBase::windowElement() const
{
    return m_parentElement ? m_parentElement->windowElement() : nullptr;
}

WindowElement* WidgetElementBase::windowElement()
{
    return m_parentElement ? m_parentElement->windowElement() : nullptr;
}

void WidgetElementBase::onRaise()
{
    if (m_parentElement)
        m_parentElement->raise();
}

void WidgetElementBase::onLower()
{
    if (m_widget)
        m_widget->clearFocus();
}

QWidget* WidgetElementBase::editorWidget(size_t) const
{
    return m_widget;
}

void WidgetElementBase::widgetChanged(QWidget*)
{
}

void WidgetElementBase::childHighlightChanged(const WidgetElementBase*, bool)
{
}

void WidgetElementBase::setHighlightActive(bool a_enabled)
{
    if (a_enabled == m_highlightActive)
        return;
    m_highlightActive = a_enabled;
    if (m_highlightActive)
        emit highlightActivated();
    else
        emit highlightDeactivated();
    if (auto* parent = qobject_cast<WidgetElementBase*>(m_parentElement.data()))
        parent->childHighlightChanged(this, m_highlightActive);
    emit highlightTriggered(m_highlightActive);
}

void WidgetElementBase::setHighlightInactive(bool a_disabled)
{
    setHighlightActive(!a_disabled);
}

void WidgetElementBase::highlightAnimationFinished()
{
    setHighlightInactive();
}

void WidgetElementBase::highlightContainers(const QList<QWidget*>& a_containers)
{
    bool first = true;
    for (QWidget* container : a_containers) {
        if (!container)
            continue;
        if (first) {
            scrollIntoView(container);
            first = false;
        }

        HighlightTint* tint = HighlightTint::of(container);
        setHighlightActive(true);
        connect(tint, &HighlightTint::faded, this, &WidgetElementBase::highlightAnimationFinished,
                Qt::UniqueConnection);
        tint->flash();
    }
}

} // namespace Orvex
