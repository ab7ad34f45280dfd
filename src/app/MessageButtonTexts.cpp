#include "app/MessageButtonTexts.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QEvent>
#include <QPushButton>

namespace Orvex {

MessageButtonTexts::MessageButtonTexts(const QString& a_title,
                                       const QMap<QMessageBox::StandardButton, QString>& a_texts)
    : m_title(a_title), m_texts(a_texts)
{
    QCoreApplication::instance()->installEventFilter(this);
}

MessageButtonTexts::~MessageButtonTexts()
{
    QCoreApplication::instance()->removeEventFilter(this);
}

bool MessageButtonTexts::eventFilter(QObject* a_watched, QEvent* a_event)
{
    // Before the box lays itself out for showing, so that it is sized for the new texts.
    if (a_event->type() == QEvent::Show) {
        auto* box = qobject_cast<QMessageBox*>(a_watched);
        if (box && box->windowTitle() == m_title) {
            for (auto text = m_texts.cbegin(); text != m_texts.cend(); ++text) {
                if (QAbstractButton* button = box->button(text.key()))
                    button->setText(text.value());
            }
            // Renamed buttons may leave no cancelling one; dismissing then gives the default answer,
            // as the seam's fallback does.
            if (!box->escapeButton() && box->defaultButton())
                box->setEscapeButton(static_cast<QAbstractButton*>(box->defaultButton()));
        }
    }
    return QObject::eventFilter(a_watched, a_event);
}

} // namespace Orvex
