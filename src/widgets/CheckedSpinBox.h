#pragma once

#include "widgets/KeptSizeHints.h"

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
    // The box's range as the user reads it: "0 to 10000000", "1 or more", "0 or less" or "any number",
    // each bound as the box would show it, followed by a_unit. The largest double stands for no bound
    // (the unbounded integer types and the real ones): its 309 digits say nothing to anyone.
    static QString rangeText(const QDoubleSpinBox* a_box, const QString& a_unit = QString());
    QString rangeText() const { return rangeText(this); }
    // The same as a sentence: "From 0 to 10000000.", "1 or more.", "0 or less." or "Any number.".
    static QString rangeSentence(const QDoubleSpinBox* a_box, const QString& a_unit = QString());

    QValidator::State validate(QString& a_text, int& a_position) const override;
    void stepBy(int a_steps) override;
    // Measured once for each range, affixes, font and style, and shared by every box alike: measuring
    // shapes the texts of both bounds, on every page that shows a number.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* a_event) override;
    void focusOutEvent(QFocusEvent* a_event) override;
    void changeEvent(QEvent* a_event) override;

private:
    // False for the largest double either way, which stands for no bound.
    static bool isBounded(double a_bound);
    // The number a_text shows where it is one, whatever the range.
    bool readsAsNumber(const QString& a_text, double* a_number) const;
    void updateMark();
    KeptSizeHints::Hints hints() const;

    FieldGuard* m_guard = nullptr;
    mutable KeptSizeHints m_kept;
};

} // namespace Orvex
