#include "widgets/KeptSizeCheckBox.h"

namespace Orvex {

namespace {

// Apart from every label's, whose set-up is an alignment.
constexpr int CheckBoxSetup = -1;

} // namespace

KeptSizeCheckBox::KeptSizeCheckBox(const QString& a_text, QWidget* a_parent) : QCheckBox(a_text, a_parent)
{
}

void KeptSizeCheckBox::changeEvent(QEvent* a_event)
{
    m_kept.follow(a_event);
    QCheckBox::changeEvent(a_event);
}

QSize KeptSizeCheckBox::sizeHint() const
{
    if (!icon().isNull())
        return QCheckBox::sizeHint();
    return m_kept
        .of(*this, text(), CheckBoxSetup,
            [this] {
                const QSize hint = QCheckBox::sizeHint();
                return KeptSizeHints::Hints{hint, hint};
            })
        .first;
}

QSize KeptSizeCheckBox::minimumSizeHint() const
{
    return sizeHint();
}

} // namespace Orvex
