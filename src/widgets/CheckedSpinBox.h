#pragma once

#include <QDoubleSpinBox>

namespace Orvex {

class FieldGuard;

// A double spin box that never turns what the user typed into another number. A number outside the
// range stays on screen, marked as not taken with the allowed range in its tool tip, until the user
// corrects it; Enter then leaves it as it is, and leaving the field puts the value it holds back.
// Keystrokes that could never make a number show a hint; the wheel turns only a focused box.
class CheckedSpinBox : public QDoubleSpinBox
{
    Q_OBJECT

public:
    explicit CheckedSpinBox(QWidget* a_parent = nullptr);

    FieldGuard* guard() const { return m_guard; }
    // "0 to 10000000", as the box would show its bounds.
    QString rangeText() const;

    QValidator::State validate(QString& a_text, int& a_position) const override;

protected:
    void keyPressEvent(QKeyEvent* a_event) override;

private:
    // The number a_text shows where it is one, whatever the range.
    bool readsAsNumber(const QString& a_text, double* a_number) const;
    void updateMark();

    FieldGuard* m_guard = nullptr;
};

} // namespace Orvex
