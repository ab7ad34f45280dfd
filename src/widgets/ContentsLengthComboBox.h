#pragma once

#include <QComboBox>

namespace Orvex {

// A combo box as wide as a fixed number of characters and an icon, whatever its entries, as
// QComboBox::AdjustToMinimumContentsLengthWithIcon sizes one. Asking QComboBox for that policy builds
// the box's popup list at once, which a page of enumerations pays for every box on its first visit;
// this box measures itself instead and leaves the popup to the first time it opens.
class ContentsLengthComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit ContentsLengthComboBox(int a_characters, QWidget* a_parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

private:
    int m_characters;
};

} // namespace Orvex
