#include "widgets/KeptSizeHints.h"

#include <QEvent>
#include <QHash>
#include <QStyle>
#include <QWidget>

namespace Orvex {

namespace {

// Cleared, not aged, when full.
constexpr int KeptSizes = 4096;

} // namespace

KeptSizeHints::Hints KeptSizeHints::of(const QWidget& a_widget, const QString& a_text, int a_setup,
                                       const std::function<Hints()>& a_measure)
{
    if (m_valid && m_setup == a_setup && m_text == a_text)
        return m_hints;
    a_widget.ensurePolished();
    static QHash<QString, Hints> kept;
    const QStyle* style = a_widget.style();
    const QString key = QString::number(quintptr(style), 16) +
                        QLatin1String(style->metaObject()->className()) + QChar(0) + a_widget.font().key() +
                        QChar(0) + QString::number(a_setup, 16) + QChar(0) + a_text;
    auto found = kept.constFind(key);
    if (found == kept.constEnd()) {
        if (kept.size() >= KeptSizes)
            kept.clear();
        found = kept.insert(key, a_measure());
    }
    m_text = a_text;
    m_setup = a_setup;
    m_hints = *found;
    m_valid = true;
    return m_hints;
}

void KeptSizeHints::follow(const QEvent* a_event)
{
    if (a_event->type() == QEvent::FontChange || a_event->type() == QEvent::StyleChange)
        m_valid = false;
}

} // namespace Orvex
