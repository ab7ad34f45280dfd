#pragma once

#include <optional>
#include <string>

namespace BufferAcquisition {

class Streamer;

// The camera behind an open board, reached by node names in the GenICam manner. The camera is set up
// from the board's camera file, so its nodes answer with the features of the board's current mode
// (then of the camera as a whole), and follow the board when its mode changes.
//
// A device must not outlive the streamer it was opened on.
class Device
{
public:
    // Whether devices can be opened on this machine at all.
    static bool isAvailable();

    // Throws QNExceptionBase when the streamer has no board open.
    explicit Device(const Streamer& a_streamer);

    bool hasNode(const std::string& a_name) const;
    // The symbolic value of an enumeration node, such as "BayerRG8" for "PixelFormat"; throws
    // QNExceptionBase when there is no such node.
    std::string enumerationValue(const std::string& a_name) const;
    std::optional<std::string> findNode(const std::string& a_name) const;

private:
    const Streamer& m_streamer;
};

} // namespace BufferAcquisition
