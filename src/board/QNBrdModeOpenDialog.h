#pragma once

#include "board/BoardTypes.h"

#include <QDialog>
#include <QList>
#include <QPointer>
#include <QStringList>

class QListWidget;
class QListWidgetItem;
class QPushButton;

namespace Orvex {

// Asks for the board and the mode to acquire with. The boards are those installed that the filter
// admits, named as in the board source; the modes are whatever the caller lists. A list holding a
// single entry has it selected from the start.
class QNBrdModeOpenDialog : public QDialog
{
    Q_OBJECT
    Q_PROPERTY(Orvex::BoardType::Kinds boardTypeFilter READ boardTypeFilter WRITE setBoardTypeFilter)
    Q_PROPERTY(QList<int> boardNumbers READ boardNumbers)
    Q_PROPERTY(QStringList boardNames READ boardNames)
    Q_PROPERTY(int boardCount READ boardCount)
    Q_PROPERTY(QStringList modes READ modes WRITE setModes)
    Q_PROPERTY(int currentBoardNumber READ currentBoardNumber WRITE setCurrentBoardNumber)
    Q_PROPERTY(QString currentMode READ currentMode WRITE setCurrentMode)

public:
    explicit QNBrdModeOpenDialog(QWidget* a_parent = nullptr);

    BoardTypes boardTypeFilter() const { return m_filter; }
    // Lists the boards again; the selected board stays selected if the filter still admits it.
    void setBoardTypeFilter(BoardTypes a_filter);

    QList<int> boardNumbers() const;
    QStringList boardNames() const;
    int boardCount() const;

    QStringList modes() const;
    // The selected mode stays selected if it is still listed.
    void setModes(const QStringList& a_modes);

    // -1 while no board is selected. Setting a board that is not listed clears the selection.
    int currentBoardNumber() const;
    void setCurrentBoardNumber(int a_boardNumber);

    // Empty while no mode is selected. Setting a mode that is not listed clears the selection.
    QString currentMode() const;
    void setCurrentMode(const QString& a_mode);

public slots:
    // Open is offered only once both a board and a mode are chosen.
    void validateSelection();

private:
    void listBoards();
    void acceptIfComplete();
    static void selectItem(QListWidget* a_list, QListWidgetItem* a_item);

    BoardTypes m_filter = BoardType::AnyBoardType;
    QPointer<QListWidget> m_boardList;
    QPointer<QListWidget> m_modeList;
    QPointer<QPushButton> m_openButton;
};

} // namespace Orvex
