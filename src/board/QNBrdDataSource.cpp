#include "board/QNBrdDataSource.h"

#include "board/CameraSearch.h"
#include "board/QNBrdDisplayName.h"

#include <QSettings>

namespace Orvex {

QNBrdDataSource::QNBrdDataSource(QWidget* a_parent) : QNBrdDataSource(BoardType::AnyBoardType, a_parent)
{
}

QNBrdDataSource::QNBrdDataSource(BoardTypes a_filter, QWidget* a_parent)
    : QComboBox(a_parent), m_filter(a_filter)
{
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
    // activated() comes only from the user; the selection changes made here go through currentIndex.
    connect(this, QOverload<int>::of(&QComboBox::activated), this, &QNBrdDataSource::userSetBoard);
    if (CameraSearch* search = CameraSearch::instance())
        connect(search, &CameraSearch::camerasListed, this, &QNBrdDataSource::camerasListed);
    populate();
}

QNBrdDataSource::~QNBrdDataSource()
{
    closeBoard();
}

quint32 QNBrdDataSource::board() const
{
    return isBoardOpen() ? static_cast<quint32>(m_boardNumber) : noBoard;
}

void QNBrdDataSource::setBoard(quint32 a_board)
{
    openBoard(a_board == noBoard ? -1 : static_cast<int>(a_board));
}

void QNBrdDataSource::setFilter(BoardTypes a_filter)
{
    if (a_filter == m_filter)
        return;
    m_filter = a_filter;
    populate();
}

QString QNBrdDataSource::recentBoardsKey(BoardTypes a_filter)
{
    // Cameras join every list of frame grabbers, so the grabber kinds alone name the key and the keys
    // stay those of the lists before cameras came.
    static const char* const names[] = {"null", "cl", "cxp", "any"};
    const int grabbers = static_cast<int>(a_filter & (BoardType::CameraLink | BoardType::CoaXPress));
    if (grabbers == 0 && (a_filter & BoardType::Camera))
        return QStringLiteral("data_source/recent_boards_cam");
    return QStringLiteral("data_source/recent_boards_") + QLatin1String(names[grabbers]);
}

QStringList QNBrdDataSource::recentBoards() const
{
    return QSettings().value(recentBoardsKey(m_filter)).toStringList();
}

bool QNBrdDataSource::openBoard(int a_boardNumber)
{
    const HwBrdHandle before = m_handle;
    const bool opened = switchTo(a_boardNumber);
    if (m_handle != before)
        emit sourceChanged();
    return opened;
}

void QNBrdDataSource::populate()
{
    const HwBrdHandle before = m_handle;
    closeBoard();
    clear();
    addItem(QStringLiteral("No Source"), -1);
    for (const QNBrdDisplayName::Board& entry : QNBrdDisplayName::boards(m_filter))
        addItem(entry.name, entry.boardNumber);

    bool opened = false;
    for (const QString& name : recentBoards()) {
        const int index = findText(name, Qt::MatchExactly | Qt::MatchCaseSensitive);
        if (index > 0 && switchTo(itemData(index).toInt())) {
            opened = true;
            break;
        }
    }
    // Without a remembered board the first board the filter admits stands in for board 0, which may
    // be of another kind.
    if (!opened)
        switchTo(count() > 1 ? itemData(1).toInt() : -1);
    if (m_handle != before)
        emit sourceChanged();
}

void QNBrdDataSource::camerasListed()
{
    const QVector<QNBrdDisplayName::Board> boards = QNBrdDisplayName::boards(m_filter);
    bool same = boards.size() == count() - 1;
    for (int i = 0; same && i < boards.size(); ++i)
        same = itemText(i + 1) == boards[i].name && itemData(i + 1).toInt() == boards[i].boardNumber;
    // Filling again closes and opens the board, which the register views read anew.
    if (!same)
        populate();
}

void QNBrdDataSource::userSetBoard(int a_index)
{
    if (a_index < 0 || a_index >= count())
        return;
    const int boardNumber = itemData(a_index).toInt();
    // Picking the board that is already open confirms the choice, so it is remembered as well.
    if (openBoard(boardNumber) && boardNumber >= 0)
        rememberBoard(itemText(a_index));
}

bool QNBrdDataSource::switchTo(int a_boardNumber)
{
    if (a_boardNumber < 0) {
        closeBoard();
        setCurrentIndex(0);
        return true;
    }
    const int index = findData(a_boardNumber);
    // A reload of the driver's boards leaves the handle dead while its number stays; the board may be
    // gone, so it is looked up again.
    const bool alive = QNIsCL(m_handle) || QNIsCXP(m_handle) || QNIsCamera(m_handle);
    if (isBoardOpen() && alive && a_boardNumber == m_boardNumber) {
        setCurrentIndex(index);
        return true;
    }

    HwBrdEntry entry;
    HwBrdHandle handle = HwNoBoard;
    // A board the filter leaves out is never held open: the list must show what the views read.
    if (index <= 0 ||
        HwSysBrdFind(HwSelectorFrameGrabber, static_cast<unsigned>(a_boardNumber), &entry) != 0 ||
        HwBrdOpen(&entry, &handle, HwOpenDataSource) != 0) {
        closeBoard();
        setCurrentIndex(0);
        return false;
    }
    closeBoard();
    m_handle = handle;
    m_boardNumber = a_boardNumber;
    setCurrentIndex(index);
    return true;
}

void QNBrdDataSource::closeBoard()
{
    if (m_handle != HwNoBoard)
        HwBrdClose(m_handle);
    m_handle = HwNoBoard;
    m_boardNumber = -1;
}

void QNBrdDataSource::rememberBoard(const QString& a_name)
{
    QStringList names = recentBoards();
    names.removeAll(a_name);
    names.prepend(a_name);
    QSettings().setValue(recentBoardsKey(m_filter), names);
}

} // namespace Orvex
