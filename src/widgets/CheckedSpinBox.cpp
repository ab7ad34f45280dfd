#include "widgets/CheckedSpinBox.h"

#include "widgets/FieldGuard.h"

#include <QKeyEvent>
#include <QLineEdit>

#include <cmath>
#include <limits>

namespace Orvex {

CheckedSpinBox::CheckedSpinBox(QWidget* a_parent) : QDoubleSpinBox(a_parent)
{
    m_guard = FieldGuard::install(this);
    // Tracking would take every number on the way, so that a box left with a number outside the range
    // would keep the last one inside it ("2000000" of "20000000") instead of its value.
    setKeyboardTracking(false);
    // The box puts its value back into its line edit with the line edit's signals blocked, so the mark
    // is also looked at again wherever that happens.
    connect(lineEdit(), &QLineEdit::textChanged, this, &CheckedSpinBox::updateMark);
    connect(this, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, &CheckedSpinBox::updateMark);
}

void CheckedSpinBox::stepBy(int a_steps)
{
    QDoubleSpinBox::stepBy(a_steps);
    updateMark();
}

void CheckedSpinBox::focusOutEvent(QFocusEvent* a_event)
{
    QDoubleSpinBox::focusOutEvent(a_event);
    updateMark();
}

bool CheckedSpinBox::isBounded(double a_bound)
{
    return std::fabs(a_bound) < std::numeric_limits<double>::max();
}

QString CheckedSpinBox::rangeText(const QDoubleSpinBox* a_box, const QString& a_unit)
{
    const bool low = isBounded(a_box->minimum());
    const bool high = isBounded(a_box->maximum());
    const auto shown = [&](double a_bound) { return a_box->textFromValue(a_bound) + a_unit; };
    if (low && high)
        return QStringLiteral("%1 to %2").arg(shown(a_box->minimum()), shown(a_box->maximum()));
    if (low)
        return QStringLiteral("%1 or more").arg(shown(a_box->minimum()));
    if (high)
        return QStringLiteral("%1 or less").arg(shown(a_box->maximum()));
    return QStringLiteral("any number");
}

QString CheckedSpinBox::rangeSentence(const QDoubleSpinBox* a_box, const QString& a_unit)
{
    const QString range = rangeText(a_box, a_unit);
    if (isBounded(a_box->minimum()) && isBounded(a_box->maximum()))
        return QStringLiteral("From %1.").arg(range);
    return range.at(0).toUpper() + range.mid(1) + QLatin1Char('.');
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
    const bool bounded = isBounded(minimum()) && isBounded(maximum());
    const bool unbounded = !isBounded(minimum()) && !isBounded(maximum());
    m_guard->setRefusalHint(bounded     ? QStringLiteral("Allowed: a number from %1.").arg(rangeText())
                            : unbounded ? QStringLiteral("Allowed: any number.")
                                        : QStringLiteral("Allowed: a number of %1.").arg(rangeText()));
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

QSize CheckedSpinBox::sizeHint() const
{
    return hints().first;
}

QSize CheckedSpinBox::minimumSizeHint() const
{
    return hints().second;
}

void CheckedSpinBox::changeEvent(QEvent* a_event)
{
    m_kept.follow(a_event);
    QDoubleSpinBox::changeEvent(a_event);
}

KeptSizeHints::Hints CheckedSpinBox::hints() const
{
    // What Qt measures a box by, besides its font and style: the texts of both bounds with the affixes
    // around them, the text shown at the minimum, and whether it has buttons and a frame.
    const QString measured = textFromValue(minimum()) + QChar(0) + textFromValue(maximum()) + QChar(0) +
                             prefix() + QChar(0) + suffix() + QChar(0) + specialValueText();
    return m_kept.of(*this, measured, int(buttonSymbols()) | (hasFrame() ? 4 : 0), [this] {
        return KeptSizeHints::Hints{QDoubleSpinBox::sizeHint(), QDoubleSpinBox::minimumSizeHint()};
    });
}

} // namespace Orvex
