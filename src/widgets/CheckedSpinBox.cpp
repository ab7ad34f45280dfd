#include "widgets/CheckedSpinBox.h"

#include "widgets/FieldGuard.h"

#include <QKeyEvent>
#include <QLineEdit>

#include <cmath>

namespace Orvex {

CheckedSpinBox::CheckedSpinBox(QWidget* a_parent) : QDoubleSpinBox(a_parent)
{
    m_guard = FieldGuard::install(this);
    connect(lineEdit(), &QLineEdit::textChanged, this, &CheckedSpinBox::updateMark);
}

QString CheckedSpinBox::rangeText() const
{
    return QStringLiteral("%1 to %2").arg(textFromValue(minimum()), textFromValue(maximum()));
}

bool CheckedSpinBox::readsAsNumber(const QString& a_text, double* a_number) const
{
    QString text = a_text;
    if (!prefix().isEmpty() && text.startsWith(prefix()))
        text.remove(0, prefix().size());
    if (!suffix().isEmpty() && text.endsWith(suffix()))
        text.chop(suffix().size());
    text = text.trimmed();
    bool ok = false;
    const double number = locale().toDouble(text, &ok);
    if (!ok || !std::isfinite(number))
        return false;
    // More digits than the box keeps would be cut off once taken, which is another number again.
    const int point = text.indexOf(locale().decimalPoint());
    if (point >= 0 && text.size() - point - 1 > decimals())
        return false;
    if (a_number)
        *a_number = number;
    return true;
}

QValidator::State CheckedSpinBox::validate(QString& a_text, int& a_position) const
{
    const QValidator::State state = QDoubleSpinBox::validate(a_text, a_position);
    // The box itself refuses the keystroke that leaves its range, which keeps the digits before it:
    // 20000000 typed into a box up to 10000000 would stand as 2000000.
    if (state == QValidator::Invalid && readsAsNumber(a_text, nullptr))
        return QValidator::Intermediate;
    return state;
}

void CheckedSpinBox::keyPressEvent(QKeyEvent* a_event)
{
    if ((a_event->key() == Qt::Key_Return || a_event->key() == Qt::Key_Enter) && m_guard->isMarked()) {
        // The box would put its old value back; the user corrects the number instead.
        m_guard->showHint(m_guard->mark());
        a_event->accept();
        return;
    }
    QDoubleSpinBox::keyPressEvent(a_event);
}

void CheckedSpinBox::updateMark()
{
    double number = 0.0;
    QString text = lineEdit()->text();
    int position = lineEdit()->cursorPosition();
    m_guard->setRefusalHint(QStringLiteral("Allowed: a number from %1.").arg(rangeText()));
    // A number the box does not accept as it stands, and that lies outside the range, is not taken;
    // one on its way into the range ("5" of "50" above 10) is as well, and says so.
    if (QDoubleSpinBox::validate(text, position) != QValidator::Acceptable && readsAsNumber(text, &number) &&
        (number < minimum() || number > maximum())) {
        m_guard->setMark(QStringLiteral("Not taken: %1 is %2 the allowed range, %3.")
                             .arg(text.trimmed(),
                                  number < minimum() ? QStringLiteral("below") : QStringLiteral("above"),
                                  rangeText()));
    } else {
        m_guard->setMark(QString());
    }
}

} // namespace Orvex
