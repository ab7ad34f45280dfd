#pragma once

#include "widgets/KeptSizeHints.h"

#include <QCheckBox>

namespace Orvex {

// A check box whose size hint is kept by KeptSizeHints, as KeptSizeLabel's are. A box with an icon
// measures itself as any box does.
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
    mutable KeptSizeHints m_kept;
};

} // namespace Orvex
