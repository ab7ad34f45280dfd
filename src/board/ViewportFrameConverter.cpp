#include "board/ViewportFrameConverter.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>

namespace Viewport {

namespace {

struct LayoutInfo
{
    int m_bytesPerSample = 1;
    int m_samplesPerPixel = 1;
    // The colours of the mosaic's top-left 2x2 cell in row order (0 red, 1 green, 2 blue); empty for
    // no mosaic.
    std::array<int, 4> m_mosaic{-1, -1, -1, -1};

    bool isMosaic() const { return m_mosaic[0] >= 0; }
};

LayoutInfo infoOf(PixelLayout a_layout)
{
    constexpr std::array<int, 4> rg{0, 1, 1, 2}, gr{1, 0, 2, 1}, gb{1, 2, 0, 1}, bg{2, 1, 1, 0};
    switch (a_layout) {
    case PixelLayout::Mono8:
        return {1, 1, {-1, -1, -1, -1}};
    case PixelLayout::Mono16:
        return {2, 1, {-1, -1, -1, -1}};
    case PixelLayout::Rgb8:
        return {1, 3, {-1, -1, -1, -1}};
    case PixelLayout::BayerRG8:
        return {1, 1, rg};
    case PixelLayout::BayerGR8:
        return {1, 1, gr};
    case PixelLayout::BayerGB8:
        return {1, 1, gb};
    case PixelLayout::BayerBG8:
        return {1, 1, bg};
    case PixelLayout::BayerRG16:
        return {2, 1, rg};
    case PixelLayout::BayerGR16:
        return {2, 1, gr};
    case PixelLayout::BayerGB16:
        return {2, 1, gb};
    case PixelLayout::BayerBG16:
        return {2, 1, bg};
    }
    return {};
}

// Reads 8-bit samples, or 16-bit ones scaled down to 8 bits.
class SampleReader
{
public:
    SampleReader(const Frame& a_frame, const LayoutInfo& a_info)
        : m_data(reinterpret_cast<const uchar*>(a_frame.m_data.constData())), m_stride(a_frame.m_stride),
          m_wide(a_info.m_bytesPerSample == 2)
    {
        if (!m_wide)
            return;
        const int samples = a_frame.m_width * a_info.m_samplesPerPixel;
        quint16 brightest = 0;
        for (int y = 0; y < a_frame.m_height; ++y) {
            for (int x = 0; x < samples; ++x)
                brightest = std::max(brightest, raw(x, y));
        }
        while ((brightest >> m_shift) > 255)
            ++m_shift;
    }

    int operator()(int a_sample, int a_y) const
    {
        return m_wide ? raw(a_sample, a_y) >> m_shift : m_data[std::size_t(a_y) * m_stride + a_sample];
    }

private:
    quint16 raw(int a_sample, int a_y) const
    {
        return qFromLittleEndian<quint16>(m_data + std::size_t(a_y) * m_stride + std::size_t(a_sample) * 2);
    }

    const uchar* m_data;
    int m_stride;
    bool m_wide;
    int m_shift = 0;
};

QImage demosaic(const Frame& a_frame, const LayoutInfo& a_info, const SampleReader& a_sample)
{
    QImage image(a_frame.m_width, a_frame.m_height, QImage::Format_RGB32);
    for (int y = 0; y < a_frame.m_height; ++y) {
        const int top = std::min(y, a_frame.m_height - 2);
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < a_frame.m_width; ++x) {
            const int left = std::min(x, a_frame.m_width - 2);
            int sums[3] = {0, 0, 0};
            for (int dy = 0; dy < 2; ++dy) {
                for (int dx = 0; dx < 2; ++dx) {
                    const int colour = a_info.m_mosaic[((top + dy) % 2) * 2 + (left + dx) % 2];
                    sums[colour] += a_sample(left + dx, top + dy);
                }
            }
            line[x] = qRgb(sums[0], sums[1] / 2, sums[2]);
        }
    }
    return image;
}

} // namespace

QImage FrameConverter::toImage(const Frame& a_frame)
{
    const LayoutInfo info = infoOf(a_frame.m_layout);
    const qint64 rowBytes = qint64(a_frame.m_width) * info.m_bytesPerSample * info.m_samplesPerPixel;
    if (a_frame.isNull() || a_frame.m_width <= 0 || a_frame.m_height <= 0 || a_frame.m_stride < rowBytes ||
        a_frame.m_data.size() < qint64(a_frame.m_stride) * (a_frame.m_height - 1) + rowBytes)
        return {};
    const SampleReader sample(a_frame, info);
    if (info.isMosaic() && a_frame.m_width >= 2 && a_frame.m_height >= 2)
        return demosaic(a_frame, info, sample);
    const bool colour = info.m_samplesPerPixel == 3;
    QImage image(a_frame.m_width, a_frame.m_height,
                 colour ? QImage::Format_RGB888 : QImage::Format_Grayscale8);
    const int samples = a_frame.m_width * info.m_samplesPerPixel;
    for (int y = 0; y < a_frame.m_height; ++y) {
        uchar* line = image.scanLine(y);
        if (info.m_bytesPerSample == 1) {
            std::memcpy(line, a_frame.m_data.constData() + std::size_t(y) * a_frame.m_stride,
                        std::size_t(samples));
            continue;
        }
        for (int x = 0; x < samples; ++x)
            line[x] = static_cast<uchar>(sample(x, y));
    }
    return image;
}

} // namespace Viewport
