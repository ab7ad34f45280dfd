#pragma once

#include "widgets/KeptSizeHints.h"

#include <QLabel>

namespace Orvex {

// A one-line label whose size hints are kept by KeptSizeHints: a label measures its text three times
// over for its hints, shaping it each time. A label set up otherwise (rich text, wrapping, a picture,
// margins, a frame) measures itself as any label does.
class KeptSizeLabel : public QLabel
{
    Q_OBJECT

public:
    explicit KeptSizeLabel(const QString& a_text, QWidget* a_parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent* a_event) override;

private:
    KeptSizeHints::Hints hints() const;

    mutable KeptSizeHints m_kept;
};

} // namespace Orvex
