#pragma once

#include <QFlags>
#include <QObject>

namespace Orvex {

// Which kinds of board a board list admits. The values name settings keys and are compared with what
// the driver reports, so they never change. Declare Qt properties as Orvex::BoardType::Kinds: under
// that name the meta-object system knows the type as flags.
class BoardType
{
    Q_GADGET

public:
    enum Kind
    {
        NoBoardType = 0,
        CameraLink = 1,
        CoaXPress = 2,
        // A camera reached over its own link (GigE Vision, USB3 Vision), no frame grabber between.
        Camera = 4,
        AnyBoardType = CameraLink | CoaXPress | Camera
    };
    Q_DECLARE_FLAGS(Kinds, Kind)
    Q_FLAG(Kinds)
};

using BoardTypes = BoardType::Kinds;

Q_DECLARE_OPERATORS_FOR_FLAGS(BoardType::Kinds)

} // namespace Orvex
