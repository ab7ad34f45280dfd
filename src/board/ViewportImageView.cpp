#include "board/ViewportImageView.h"

#include <QPainter>

namespace Viewport {

ImageView::ImageView(QWidget* a_parent) : QWidget(a_parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(64, 48);
}

void ImageView::setImage(const QImage& a_image)
{
    const bool resized = a_image.size() != m_image.size();
    m_image = a_image;
    if (resized) {
        updateGeometry();
        if (!m_fit)
            resize(sizeHint());
    }
    update();
}

void ImageView::setFitToWindow(bool a_fit)
{
    if (m_fit == a_fit)
        return;
    m_fit = a_fit;
    if (!m_fit)
        resize(sizeHint());
    updateGeometry();
    update();
}

QSize ImageView::sizeHint() const
{
    return m_image.isNull() ? QSize(640, 480) : m_image.size();
}

void ImageView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    if (m_image.isNull())
        return;
    if (!m_fit) {
        painter.drawImage(QPoint(0, 0), m_image);
        return;
    }
    const QSize scaled = m_image.size().scaled(size(), Qt::KeepAspectRatio);
    const QRect target(QPoint((width() - scaled.width()) / 2, (height() - scaled.height()) / 2), scaled);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, scaled.width() < m_image.width());
    painter.drawImage(target, m_image);
}

} // namespace Viewport
