#pragma once

#include "board/BoardTypes.h"
#include "platform/QNDriver.h"

#include <QString>
#include <QVector>

#include <functional>

namespace Orvex {

// How an installed board is named and found wherever the user picks one, so that the board menu, the
// board source and the board-and-mode dialog name the same board alike, and a remembered name finds
// the board again.
class QNBrdDisplayName
{
public:
    struct Board
    {
        int boardNumber = -1;
        QString name;
    };

    // "Bd (n)", then " - " and the model text, " - " and the variant text, and " (SN " serial ")", each
    // part only when the board reports it (non-empty texts, a serial number other than 0). A camera is
    // "Cam (n) - vendor model (serial)", likewise without the parts it does not report.
    static QString of(int a_boardNumber, HwBrdHandle a_handle);

    // The kinds of the open board a_handle, as the driver reports them.
    static BoardTypes typesOf(HwBrdHandle a_handle);

    // Opens every installed board in turn with a_openFlags and hands it to a_visit, which returns false
    // to stop; the board is closed again after the visit. Boards that cannot be opened are passed over.
    static void forEachBoard(unsigned a_openFlags, const std::function<bool(int, HwBrdHandle)>& a_visit);

    // Every installed board of a kind a_filter admits, in board number order. Boards that cannot be
    // opened are left out.
    static QVector<Board> boards(BoardTypes a_filter);
};

} // namespace Orvex
