#include "platform/FrameSource.h"

namespace BufferAcquisition {

FrameSource::~FrameSource() = default;

} // namespace BufferAcquisition
