#pragma once

#include <QCheckBox>

namespace Orvex {

// A check box whose size hint is measured once per text, font and style and shared by every box of that
// text, as KeptSizeLabel does for labels. A box with an icon measures itself as any box does.
class KeptSizeCheckBox : public QCheckBox
{
    Q_OBJECT

public:
    explicit KeptSizeCheckBox(const QString& a_text, QWidget* a_parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent* a_event) override;

private:
    // Held for the text it was looked up for until the font or style changes.
    mutable QString m_hintText;
    mutable QSize m_hint;
};

} // namespace Orvex
