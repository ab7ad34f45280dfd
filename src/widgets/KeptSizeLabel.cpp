#include "widgets/KeptSizeLabel.h"

#include <QTextDocument>

namespace Orvex {

KeptSizeLabel::KeptSizeLabel(const QString& a_text, QWidget* a_parent) : QLabel(a_text, a_parent)
{
}

void KeptSizeLabel::changeEvent(QEvent* a_event)
{
    m_kept.follow(a_event);
    QLabel::changeEvent(a_event);
}

KeptSizeHints::Hints KeptSizeLabel::hints() const
{
    const bool plain = !wordWrap() && textFormat() != Qt::RichText && margin() == 0 && indent() < 0 &&
                       pixmap(Qt::ReturnByValue).isNull() && frameShape() == QFrame::NoFrame &&
                       contentsMargins().isNull() && !Qt::mightBeRichText(text());
    const auto measured = [this] {
        return KeptSizeHints::Hints{QLabel::sizeHint(), QLabel::minimumSizeHint()};
    };
    return plain ? m_kept.of(*this, text(), int(alignment()), measured) : measured();
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
