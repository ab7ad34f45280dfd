#include "elements/WidgetElementBase.h"

#include <QEasingCurve>
#include <QGraphicsColorizeEffect>
#include <QPropertyAnimation>
#include <QScrollArea>

namespace Orvex {

namespace {

// The name under which the animation is found again on a container highlighted before.
const char* const s_highlightAnimationName =
    "ValueFeatureElementBase::Orvex::ValueFeatureElementBase::highlight";

void scrollIntoView(QWidget* a_container)
{
    for (QWidget* ancestor = a_container->parentWidget(); ancestor; ancestor = ancestor->parentWidget()) {
        if (auto* area = qobject_cast<QScrollArea*>(ancestor)) {
            area->ensureWidgetVisible(a_container, 50, 50);
            return;
        }
    }
}

QGraphicsColorizeEffect* colorizeEffect(QWidget* a_container)
{
    if (auto* effect = qobject_cast<QGraphicsColorizeEffect*>(a_container->graphicsEffect()))
        return effect;
    auto* effect = new QGraphicsColorizeEffect;
    effect->setColor(Qt::red);
    a_container->setGraphicsEffect(effect);
    return effect;
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

        QGraphicsColorizeEffect* effect = colorizeEffect(container);
        auto* animation = container->findChild<QPropertyAnimation*>(QLatin1String(s_highlightAnimationName),
                                                                    Qt::FindDirectChildrenOnly);
        if (!animation) {
            animation = new QPropertyAnimation(effect, "strength", container);
            animation->setObjectName(QLatin1String(s_highlightAnimationName));
            animation->setDuration(350);
            animation->setStartValue(0.8);
            animation->setEndValue(0.0);
            animation->setEasingCurve(QEasingCurve::InCirc);
            animation->setLoopCount(2);
        }
        if (animation->state() == QAbstractAnimation::Running)
            animation->stop();
        // The effect the animation was made for may have been replaced on the container since.
        if (animation->targetObject() != effect)
            animation->setTargetObject(effect);

        setHighlightActive(true);
        connect(animation, &QAbstractAnimation::finished, this,
                &WidgetElementBase::highlightAnimationFinished, Qt::UniqueConnection);
        animation->start();
    }
}

} // namespace Orvex
