#pragma once

#include <cstdint>
#include <string>

namespace QNCam {

struct Camera;

// The driver's camera calls on one camera, made with the camera's lock held: features by GenICam name,
// registers by address and the registers the description names. Results are the driver's statuses.
class CameraNodes
{
public:
    CameraNodes() = delete;

    static int getFeature(Camera& a_camera, const std::string& a_name, std::string* a_value);
    static int setFeature(Camera& a_camera, const std::string& a_name, const std::string& a_value,
                          std::string* a_result);
    static int registerInfo(Camera& a_camera, unsigned a_index, std::string* a_name, std::uint64_t* a_address,
                            std::uint32_t* a_length);
    static int readRegister(Camera& a_camera, std::uint32_t a_address, std::uint32_t* a_value);
    static int writeRegister(Camera& a_camera, std::uint32_t a_address, std::uint32_t a_value);
};

} // namespace QNCam
