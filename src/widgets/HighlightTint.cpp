#include "widgets/HighlightTint.h"

#include <QEasingCurve>
#include <QEvent>
#include <QFrame>
#include <QPainter>
#include <QPropertyAnimation>

namespace Orvex {

HighlightTint* HighlightTint::of(QWidget* a_container)
{
    if (auto* tint = a_container->findChild<HighlightTint*>(QString(), Qt::FindDirectChildrenOnly))
        return tint;
    return new HighlightTint(a_container);
}

HighlightTint::HighlightTint(QWidget* a_container) : QWidget(a_container)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    hide();
    a_container->installEventFilter(this);

    m_fade = new QPropertyAnimation(this, "strength", this);
    m_fade->setDuration(350);
    m_fade->setStartValue(0.8);
    m_fade->setEndValue(0.0);
    m_fade->setEasingCurve(QEasingCurve::InCirc);
    m_fade->setLoopCount(2);
    connect(m_fade, &QAbstractAnimation::finished, this, &HighlightTint::faded);
}

void HighlightTint::setStrength(qreal a_strength)
{
    const bool shown = a_strength > 0.0;
    const bool appears = shown && !isVisibleTo(parentWidget());
    m_strength = a_strength;
    // Every frame: a scrolling viewport moves its children along, and the tint belongs over all of it.
    if (shown)
        cover();
    if (appears)
        raise();
    setVisible(shown);
    if (shown)
        update();
}

void HighlightTint::flash()
{
    if (m_fade->state() == QAbstractAnimation::Running)
        m_fade->stop();
    m_fade->start();
}

bool HighlightTint::isFlashing() const
{
    return m_fade->state() == QAbstractAnimation::Running;
}

void HighlightTint::cover()
{
    if (parentWidget())
        setGeometry(parentWidget()->rect());
}

bool HighlightTint::eventFilter(QObject* a_watched, QEvent* a_event)
{
    if (a_watched == parentWidget() && a_event->type() == QEvent::Resize)
        cover();
    // A widget added to the container while the tint shows would come out untinted above it.
    if (a_watched == parentWidget() && a_event->type() == QEvent::ChildAdded && isVisible())
        raise();
    return QWidget::eventFilter(a_watched, a_event);
}

void HighlightTint::paintEvent(QPaintEvent*)
{
    QWidget* container = parentWidget();
    if (!container)
        return;
    // The gaps between a container's widgets show the page behind it, which the tint leaves alone;
    // a container that paints its own background or frame is tinted whole.
    QRegion tinted;
    if (container->autoFillBackground() || qobject_cast<QFrame*>(container)) {
        tinted = rect();
    } else {
        for (QObject* child : container->children()) {
            auto* widget = qobject_cast<QWidget*>(child);
            if (widget && widget != this && !widget->isWindow() && widget->isVisibleTo(container))
                tinted += widget->geometry();
        }
    }
    QPainter painter(this);
    painter.setClipRegion(tinted.translated(-pos()));
    painter.setCompositionMode(QPainter::CompositionMode_Screen);
    painter.setOpacity(m_strength);
    painter.fillRect(rect(), Qt::red);
}

} // namespace Orvex
