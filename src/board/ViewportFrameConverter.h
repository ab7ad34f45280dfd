#pragma once

#include "board/ViewportAcquisitionInterface.h"

#include <QImage>

namespace Viewport {

// Turns a frame into an image to draw. Grey samples of 16 bits are scaled by the smallest power of
// two that brings the frame's brightest sample into 8 bits, so 10-, 12- and 14-bit cameras all show
// their full range. Bayer mosaics are demosaiced over 2x2 neighbourhoods: each pixel takes the red,
// the blue and the mean of the two greens of the 2x2 block at its position (moved in at the right and
// bottom edges).
class FrameConverter
{
public:
    // A null image for a null or inconsistent frame.
    static QImage toImage(const Frame& a_frame);
};

} // namespace Viewport
