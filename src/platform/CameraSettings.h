#pragma once

#include "platform/QNDriver.h"

#include <string>
#include <utility>
#include <vector>

namespace BufferAcquisition {

// What became of one feature of a mode written to a camera.
struct FeatureOutcome
{
    enum class Kind
    {
        Applied,
        Clamped,
        Refused,
        Missing
    };

    std::string m_feature;
    // The name the camera knows the feature by; empty when it knows it by none.
    std::string m_cameraName;
    std::string m_requested;
    // The value taken (applied, clamped) or the camera's reason (refused).
    std::string m_detail;
    Kind m_kind = Kind::Missing;
};

// Moves a mode's features to and from a camera by the names of its GenICam description. A feature is
// known to the camera by its own name unless CameraFeatureNames.json in the configuration folder lists
// other names for it ({"FrameRate": ["AcquisitionFrameRate", "AcquisitionFrameRateAbs"]}); the first
// listed name the camera has is used.
class CameraSettings
{
public:
    using Features = std::vector<std::pair<std::string, std::string>>;

    CameraSettings() = delete;

    // Reads the name list of a_configDir (a local 8-bit path); no folder or no file: names as they are.
    // Throws QNExceptionBase for a list that is not what the comment above describes.
    static void setConfigDir(const std::string& a_configDir);
    static std::vector<std::string> candidateNames(const std::string& a_feature);

    // Writes a_features to the camera a_handle in an order cameras accept: the pixel format and binning
    // before the image size, the size and offsets retried once the others are in, triggering before
    // exposure and frame rate. Every feature gets one outcome, in a_features' order. Throws
    // QNExceptionBase when the handle is not open or the camera stops answering.
    static std::vector<FeatureOutcome> apply(HwBrdHandle a_handle, const Features& a_features);

    // The camera's current values of a_features, in their order; features the camera lacks are left out.
    static Features read(HwBrdHandle a_handle, const std::vector<std::string>& a_features);
};

} // namespace BufferAcquisition
