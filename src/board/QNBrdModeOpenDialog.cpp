#include "board/QNBrdModeOpenDialog.h"

#include "board/CameraSearch.h"
#include "board/QNBrdDisplayName.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

namespace Orvex {

namespace {

constexpr int boardNumberRole = Qt::UserRole;
constexpr int minimumListWidth = 160;

// Entries are shown whole: board names are long and differ at their ends, where a clipped list hides them.
void fitWidth(QListWidget* a_list)
{
    const int contents = a_list->sizeHintForColumn(0) + 2 * a_list->frameWidth() +
                         a_list->verticalScrollBar()->sizeHint().width();
    a_list->setMinimumWidth(qMax(contents, minimumListWidth));
}

} // namespace

QNBrdModeOpenDialog::QNBrdModeOpenDialog(QWidget* a_parent) : QDialog(a_parent)
{
    setObjectName(QStringLiteral("qnBrdModeOpenDialog"));
    setWindowTitle(QStringLiteral("Select Board and Mode"));

    m_boardList = new QListWidget(this);
    m_boardList->setObjectName(QStringLiteral("boardList"));
    m_modeList = new QListWidget(this);
    m_modeList->setObjectName(QStringLiteral("modeList"));
    auto* lists = new QGridLayout;
    lists->addWidget(new QLabel(QStringLiteral("Board"), this), 0, 0);
    lists->addWidget(new QLabel(QStringLiteral("Mode"), this), 0, 1);
    lists->addWidget(m_boardList, 1, 0);
    lists->addWidget(m_modeList, 1, 1);

    auto* buttons = new QDialogButtonBox(this);
    m_openButton = buttons->addButton(QStringLiteral("Open"), QDialogButtonBox::AcceptRole);
    m_openButton->setDefault(true);
    buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(lists);
    layout->addWidget(buttons);

    for (QListWidget* list : {m_boardList.data(), m_modeList.data()}) {
        list->setSelectionMode(QAbstractItemView::SingleSelection);
        connect(list, &QListWidget::itemSelectionChanged, this, &QNBrdModeOpenDialog::validateSelection);
        connect(list, &QListWidget::itemDoubleClicked, this, &QNBrdModeOpenDialog::acceptIfComplete);
    }

    fitWidth(m_modeList);
    if (CameraSearch* search = CameraSearch::instance())
        connect(search, &CameraSearch::camerasListed, this, &QNBrdModeOpenDialog::listBoards);
    listBoards();
    validateSelection();
}

void QNBrdModeOpenDialog::setBoardTypeFilter(BoardTypes a_filter)
{
    if (a_filter == m_filter)
        return;
    m_filter = a_filter;
    listBoards();
}

QList<int> QNBrdModeOpenDialog::boardNumbers() const
{
    QList<int> numbers;
    for (int row = 0; row < m_boardList->count(); ++row)
        numbers << m_boardList->item(row)->data(boardNumberRole).toInt();
    return numbers;
}

QStringList QNBrdModeOpenDialog::boardNames() const
{
    QStringList names;
    for (int row = 0; row < m_boardList->count(); ++row)
        names << m_boardList->item(row)->text();
    return names;
}

int QNBrdModeOpenDialog::boardCount() const
{
    return m_boardList->count();
}

QStringList QNBrdModeOpenDialog::modes() const
{
    QStringList names;
    for (int row = 0; row < m_modeList->count(); ++row)
        names << m_modeList->item(row)->text();
    return names;
}

void QNBrdModeOpenDialog::setModes(const QStringList& a_modes)
{
    const QString selected = currentMode();
    m_modeList->clear();
    m_modeList->addItems(a_modes);
    fitWidth(m_modeList);
    if (m_modeList->count() == 1)
        selectItem(m_modeList, m_modeList->item(0));
    else if (!selected.isEmpty())
        setCurrentMode(selected);
    validateSelection();
}

int QNBrdModeOpenDialog::currentBoardNumber() const
{
    const QList<QListWidgetItem*> selected = m_boardList->selectedItems();
    return selected.isEmpty() ? -1 : selected.first()->data(boardNumberRole).toInt();
}

void QNBrdModeOpenDialog::setCurrentBoardNumber(int a_boardNumber)
{
    QListWidgetItem* match = nullptr;
    for (int row = 0; row < m_boardList->count() && !match; ++row) {
        if (m_boardList->item(row)->data(boardNumberRole).toInt() == a_boardNumber)
            match = m_boardList->item(row);
    }
    selectItem(m_boardList, match);
}

QString QNBrdModeOpenDialog::currentMode() const
{
    const QList<QListWidgetItem*> selected = m_modeList->selectedItems();
    return selected.isEmpty() ? QString() : selected.first()->text();
}

void QNBrdModeOpenDialog::setCurrentMode(const QString& a_mode)
{
    const QList<QListWidgetItem*> matches =
        m_modeList->findItems(a_mode, Qt::MatchExactly | Qt::MatchCaseSensitive);
    selectItem(m_modeList, matches.value(0));
}

void QNBrdModeOpenDialog::validateSelection()
{
    m_openButton->setEnabled(!m_boardList->selectedItems().isEmpty() &&
                             !m_modeList->selectedItems().isEmpty());
}

void QNBrdModeOpenDialog::listBoards()
{
    const int selected = currentBoardNumber();
    m_boardList->clear();
    for (const QNBrdDisplayName::Board& board : QNBrdDisplayName::boards(m_filter)) {
        auto* item = new QListWidgetItem(board.name, m_boardList);
        item->setData(boardNumberRole, board.boardNumber);
    }
    fitWidth(m_boardList);
    if (m_boardList->count() == 1)
        selectItem(m_boardList, m_boardList->item(0));
    else if (selected >= 0)
        setCurrentBoardNumber(selected);
    validateSelection();
}

void QNBrdModeOpenDialog::acceptIfComplete()
{
    // A double-click on one list while the other has nothing chosen would accept no usable answer.
    if (m_openButton->isEnabled())
        accept();
}

void QNBrdModeOpenDialog::selectItem(QListWidget* a_list, QListWidgetItem* a_item)
{
    if (a_item) {
        a_list->setCurrentItem(a_item, QItemSelectionModel::ClearAndSelect);
        a_list->scrollToItem(a_item);
    } else {
        a_list->clearSelection();
        a_list->setCurrentItem(nullptr);
    }
}

} // namespace Orvex
