#pragma once

#include "board/BoardTypes.h"
#include "platform/QNDriver.h"

#include <QComboBox>
#include <QStringList>

namespace Orvex {

// Chooses and holds open the one board that the register views read. The first item, "No Source",
// leaves every board closed; the others are the installed boards the filter admits. The boards the
// user picked are remembered per filter, most recent first, by display name, and the first of them
// that still opens is opened again when the list is filled.
class QNBrdDataSource : public QComboBox
{
    Q_OBJECT
    Q_PROPERTY(quint32 board READ board WRITE setBoard NOTIFY sourceChanged)
    Q_PROPERTY(Orvex::BoardType::Kinds filter READ filter WRITE setFilter)

public:
    // The board property while no board is open.
    static constexpr quint32 noBoard = 0xFFFFFFFFu;

    explicit QNBrdDataSource(QWidget* a_parent = nullptr);
    explicit QNBrdDataSource(BoardTypes a_filter, QWidget* a_parent = nullptr);
    ~QNBrdDataSource() override;

    // The open board's number, or noBoard.
    quint32 board() const;
    // Opens that board (noBoard closes) without remembering it as the user's choice.
    void setBoard(quint32 a_board);

    // The handle of the open board, HwNoBoard while none is open. It stays valid until sourceChanged().
    HwBrdHandle boardHandle() const { return m_handle; }
    bool isBoardOpen() const { return m_handle != HwNoBoard; }

    BoardTypes filter() const { return m_filter; }
    // Fills the list anew for another filter.
    void setFilter(BoardTypes a_filter);

    // Opens board a_boardNumber if it is listed, and selects it; a negative number closes the board.
    // On failure "No Source" is selected and no board stays open.
    bool openBoard(int a_boardNumber);

    // The settings key of the boards remembered for a_filter.
    static QString recentBoardsKey(BoardTypes a_filter);
    QStringList recentBoards() const;

signals:
    // The open board changed, closed, or was opened anew: handles held elsewhere are stale.
    void sourceChanged();

public slots:
    // Lists the installed boards again and opens the most recently chosen one that still opens, else
    // the first listed.
    void populate();
    // The user picked the item at a_index.
    void userSetBoard(int a_index);

private:
    // A search of the camera links ended: the list fills again if what it would list changed.
    void camerasListed();
    bool switchTo(int a_boardNumber);
    void closeBoard();
    void rememberBoard(const QString& a_name);

    BoardTypes m_filter = BoardType::AnyBoardType;
    HwBrdHandle m_handle = HwNoBoard;
    int m_boardNumber = -1;
};

} // namespace Orvex
