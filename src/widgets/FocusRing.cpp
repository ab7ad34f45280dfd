#include "widgets/FocusRing.h"

#include <QApplication>

namespace Orvex {

FocusRing::FocusRing(QWidget* a_window) : QObject(a_window), m_window(a_window)
{
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* a_now) { focusMoved(a_now); });
    focusMoved(QApplication::focusWidget());
}

FocusRing::~FocusRing()
{
    delete m_frame;
}

QWidget* FocusRing::holder(QWidget* a_focus)
{
    QWidget* holder = a_focus;
    while (holder && !holder->isWindow() && holder->parentWidget() &&
           holder->parentWidget()->focusProxy() == holder)
        holder = holder->parentWidget();
    return holder;
}

void FocusRing::focusMoved(QWidget* a_now)
{
    // A dialog or menu taking the focus for a while leaves the ring where the user will come back to.
    if (!m_window || !a_now || a_now->window() != m_window)
        return;
    if (!m_frame) {
        m_frame = new QFocusFrame(m_window);
        m_frame->setObjectName(QStringLiteral("FocusRing"));
        // The style fills the frame's band in the text colour; the selection colour reads as focus.
        QPalette palette = m_frame->palette();
        palette.setColor(QPalette::WindowText, palette.color(QPalette::Active, QPalette::Highlight));
        m_frame->setPalette(palette);
    }
    m_frame->setWidget(holder(a_now));
}

} // namespace Orvex
