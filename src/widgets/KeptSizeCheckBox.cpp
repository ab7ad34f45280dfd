#include "widgets/KeptSizeCheckBox.h"

#include <QEvent>
#include <QHash>
#include <QStyle>

namespace Orvex {

namespace {

// Cleared, not aged, when full.
constexpr int KeptSizes = 4096;

} // namespace

KeptSizeCheckBox::KeptSizeCheckBox(const QString& a_text, QWidget* a_parent) : QCheckBox(a_text, a_parent)
{
}

void KeptSizeCheckBox::changeEvent(QEvent* a_event)
{
    if (a_event->type() == QEvent::FontChange || a_event->type() == QEvent::StyleChange)
        m_hint = QSize();
    QCheckBox::changeEvent(a_event);
}

QSize KeptSizeCheckBox::sizeHint() const
{
    if (!icon().isNull())
        return QCheckBox::sizeHint();
    if (m_hint.isValid() && m_hintText == text())
        return m_hint;
    ensurePolished();
    static QHash<QString, QSize> kept;
    const QString key = QString::number(quintptr(style()), 16) +
                        QLatin1String(style()->metaObject()->className()) + QChar(0) + font().key() +
                        QChar(0) + text();
    auto found = kept.constFind(key);
    if (found == kept.constEnd()) {
        if (kept.size() >= KeptSizes)
            kept.clear();
        found = kept.insert(key, QCheckBox::sizeHint());
    }
    m_hintText = text();
    m_hint = *found;
    return m_hint;
}

QSize KeptSizeCheckBox::minimumSizeHint() const
{
    return sizeHint();
}

} // namespace Orvex
