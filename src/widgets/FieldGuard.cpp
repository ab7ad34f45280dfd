#include "widgets/FieldGuard.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QEvent>
#include <QLineEdit>
#include <QToolTip>
#include <QWidget>

namespace Orvex {

namespace {

// Line edits hold the text; a spin box keeps its line edit as a child.
QLineEdit* lineEditOf(QWidget* a_field)
{
    if (auto* edit = qobject_cast<QLineEdit*>(a_field))
        return edit;
    if (qobject_cast<QAbstractSpinBox*>(a_field) || qobject_cast<QComboBox*>(a_field))
        return a_field->findChild<QLineEdit*>(QString(), Qt::FindDirectChildrenOnly);
    return nullptr;
}

} // namespace

FieldGuard::FieldGuard(QWidget* a_field) : QObject(a_field), m_field(a_field)
{
    setObjectName(QStringLiteral("FieldGuard"));
    // A field that takes the focus from the wheel would take the very turn meant for the page.
    if (a_field->focusPolicy() & Qt::WheelFocus)
        a_field->setFocusPolicy(Qt::StrongFocus);
    a_field->installEventFilter(this);
    if (QLineEdit* edit = lineEditOf(a_field))
        connect(edit, &QLineEdit::inputRejected, this, &FieldGuard::inputRejected);
}

FieldGuard* FieldGuard::install(QWidget* a_field)
{
    if (!a_field)
        return nullptr;
    if (FieldGuard* guard = of(a_field))
        return guard;
    return new FieldGuard(a_field);
}

FieldGuard* FieldGuard::of(const QWidget* a_field)
{
    return a_field ? a_field->findChild<FieldGuard*>(QStringLiteral("FieldGuard"), Qt::FindDirectChildrenOnly)
                   : nullptr;
}

void FieldGuard::setMark(const QString& a_reason)
{
    if (!m_field || a_reason == m_mark)
        return;
    if (m_mark.isEmpty()) {
        m_ownToolTip = m_field->toolTip();
        m_ownPalette = m_field->palette();
    }
    m_mark = a_reason;
    if (m_mark.isEmpty()) {
        m_field->setPalette(m_ownPalette);
        m_field->setToolTip(m_ownToolTip);
        return;
    }
    QPalette marked = m_ownPalette;
    marked.setColor(QPalette::Base, QColor(255, 222, 222));
    marked.setColor(QPalette::Text, QColor(160, 0, 0));
    m_field->setPalette(marked);
    m_field->setToolTip(m_ownToolTip.isEmpty() ? m_mark : m_mark + QStringLiteral("\n\n") + m_ownToolTip);
}

void FieldGuard::showHint(const QString& a_text) const
{
    if (m_field && !a_text.isEmpty())
        QToolTip::showText(m_field->mapToGlobal(QPoint(0, m_field->height())), a_text, m_field);
}

bool FieldGuard::eventFilter(QObject* a_watched, QEvent* a_event)
{
    if (a_watched == m_field && a_event->type() == QEvent::Wheel && !m_field->hasFocus()) {
        // Ignored, so that it goes on to the scrolled page around the field.
        a_event->ignore();
        return true;
    }
    return QObject::eventFilter(a_watched, a_event);
}

void FieldGuard::inputRejected()
{
    QString hint = QStringLiteral("That key is not taken here.");
    if (!m_refusalHint.isEmpty())
        hint += QLatin1Char(' ') + m_refusalHint;
    if (isMarked())
        hint = m_mark + QLatin1Char('\n') + hint;
    showHint(hint);
}

} // namespace Orvex
