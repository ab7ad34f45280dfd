#pragma once

#include <QImage>
#include <QWidget>

namespace Viewport {

// Draws one image, either scaled to fit the widget with its aspect kept, or pixel for pixel from the
// top-left corner (the widget then asks for the image's size, for a scroll area to use).
class ImageView : public QWidget
{
    Q_OBJECT

public:
    explicit ImageView(QWidget* a_parent = nullptr);

    const QImage& image() const { return m_image; }
    void setImage(const QImage& a_image);

    bool fitToWindow() const { return m_fit; }
    void setFitToWindow(bool a_fit);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* a_event) override;

private:
    QImage m_image;
    bool m_fit = true;
};

} // namespace Viewport
