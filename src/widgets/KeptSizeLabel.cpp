#include "widgets/KeptSizeLabel.h"

#include <QEvent>
#include <QHash>
#include <QStyle>
#include <QTextDocument>

namespace Orvex {

namespace {

// Cleared, not aged, when full.
constexpr int KeptSizes = 4096;

} // namespace

KeptSizeLabel::KeptSizeLabel(const QString& a_text, QWidget* a_parent) : QLabel(a_text, a_parent)
{
}

void KeptSizeLabel::changeEvent(QEvent* a_event)
{
    if (a_event->type() == QEvent::FontChange || a_event->type() == QEvent::StyleChange)
        m_hintsValid = false;
    QLabel::changeEvent(a_event);
}

std::pair<QSize, QSize> KeptSizeLabel::hints() const
{
    if (m_hintsValid && m_hintsText == text())
        return m_hints;
    const bool plain = !wordWrap() && textFormat() != Qt::RichText && margin() == 0 && indent() < 0 &&
                       pixmap(Qt::ReturnByValue).isNull() && frameShape() == QFrame::NoFrame &&
                       contentsMargins().isNull() && !Qt::mightBeRichText(text());
    if (!plain)
        return {QLabel::sizeHint(), QLabel::minimumSizeHint()};
    ensurePolished();
    static QHash<QString, std::pair<QSize, QSize>> kept;
    const QString key = QString::number(quintptr(style()), 16) +
                        QLatin1String(style()->metaObject()->className()) + QChar(0) + font().key() +
                        QChar(0) + QString::number(int(alignment()), 16) + QChar(0) + text();
    auto found = kept.constFind(key);
    if (found == kept.constEnd()) {
        if (kept.size() >= KeptSizes)
            kept.clear();
        found = kept.insert(key, {QLabel::sizeHint(), QLabel::minimumSizeHint()});
    }
    m_hintsText = text();
    m_hints = *found;
    m_hintsValid = true;
    return m_hints;
}

QSize KeptSizeLabel::sizeHint() const
{
    return hints().first;
}

QSize KeptSizeLabel::minimumSizeHint() const
{
    return hints().second;
}

} // namespace Orvex
