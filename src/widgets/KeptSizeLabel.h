#pragma once

#include <QLabel>

namespace Orvex {

// A one-line label whose size hints are measured once per text, font and style and shared by every label
// of that text: a page's feature names are the same in every mode, and a label measures its text three
// times over for its hints, shaping it each time. A label set up otherwise (rich text, wrapping, a
// picture, margins) measures itself as any label does.
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
    // Both hints, from the labels measured before or from this one's own measure; held for the text
    // they were looked up for until the font or style changes, as a label holds its own.
    std::pair<QSize, QSize> hints() const;

    mutable QString m_hintsText;
    mutable std::pair<QSize, QSize> m_hints;
    mutable bool m_hintsValid = false;
};

} // namespace Orvex
