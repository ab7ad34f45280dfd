#include "app/ComparisonWindow.h"

#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"
#include "fileio/CameraFileSession.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace Orvex {

namespace {

constexpr int RowRole = Qt::UserRole + 1;

} // namespace

ComparisonWindow::ComparisonWindow(WindowElement* a_element, QWidget* a_parent)
    : QDialog(a_parent), m_element(a_element)
{
    build();
    setWindowTitle(QStringLiteral("Compare Modes"));
    fillModes();
    refresh();
}

ComparisonWindow::ComparisonWindow(WindowElement* a_element, std::unique_ptr<CameraFileSession> a_other,
                                   QWidget* a_parent)
    : QDialog(a_parent), m_element(a_element), m_other(std::move(a_other))
{
    build();
    setWindowTitle(QStringLiteral("Compare With %1").arg(QFileInfo(m_other->filePath()).fileName()));
    m_leftModes->hide();
    m_rightModes->hide();
    // The other file is only read: nothing is copied into it.
    m_copyRight->setEnabled(false);
    refresh();
}

ComparisonWindow::~ComparisonWindow() = default;

void ComparisonWindow::build()
{
    setObjectName(QStringLiteral("ComparisonWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowFlag(Qt::Window);
    auto* layout = new QVBoxLayout(this);

    auto* choices = new QHBoxLayout;
    m_leftModes = new QComboBox(this);
    m_rightModes = new QComboBox(this);
    m_showAll = new QCheckBox(QStringLiteral("Show &all features"), this);
    choices->addWidget(m_leftModes, 1);
    choices->addWidget(m_rightModes, 1);
    choices->addWidget(m_showAll);
    layout->addLayout(choices);

    m_header = new QLabel(this);
    m_header->setObjectName(QStringLiteral("ComparisonHeader"));
    layout->addWidget(m_header);

    m_tree = new QTreeWidget(this);
    m_tree->setObjectName(QStringLiteral("ComparisonTree"));
    m_tree->setColumnCount(3);
    m_tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tree->setUniformRowHeights(true);
    m_tree->header()->setSectionResizeMode(QHeaderView::Interactive);
    layout->addWidget(m_tree, 1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    m_copyLeft = buttons->addButton(QStringLiteral("Copy to &Left"), QDialogButtonBox::ActionRole);
    m_copyRight = buttons->addButton(QStringLiteral("Copy to &Right"), QDialogButtonBox::ActionRole);
    m_copyLeft->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+Left")));
    m_copyRight->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+Right")));
    m_copyLeft->setToolTip(QStringLiteral("Copy the selected values to the left (Ctrl+Shift+Left)"));
    m_copyRight->setToolTip(QStringLiteral("Copy the selected values to the right (Ctrl+Shift+Right)"));
    m_copyLeft->setAutoDefault(false);
    m_copyRight->setAutoDefault(false);
    layout->addWidget(buttons);
    resize(900, 600);

    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    connect(m_copyLeft, &QPushButton::clicked, this, &ComparisonWindow::copyToLeft);
    connect(m_copyRight, &QPushButton::clicked, this, &ComparisonWindow::copyToRight);
    connect(m_showAll, &QCheckBox::toggled, this, &ComparisonWindow::refresh);
    connect(m_leftModes, QOverload<int>::of(&QComboBox::activated), this, &ComparisonWindow::refresh);
    connect(m_rightModes, QOverload<int>::of(&QComboBox::activated), this, &ComparisonWindow::refresh);
    if (m_element)
        connect(m_element->undoRedoStack(), &ActionStack::stateChanged, this, &ComparisonWindow::refresh);
}

void ComparisonWindow::fillModes()
{
    CameraElement* camera = m_element ? m_element->camera() : nullptr;
    if (!camera)
        return;
    for (const ModeElement* mode : camera->modes()) {
        m_leftModes->addItem(mode->name());
        m_rightModes->addItem(mode->name());
    }
    const int current = qMax(0, camera->indexOfMode(camera->currentMode()));
    m_leftModes->setCurrentIndex(current);
    m_rightModes->setCurrentIndex(camera->modeCount() > 1 ? (current + 1) % camera->modeCount() : current);
}

void ComparisonWindow::refresh()
{
    CameraElement* camera = m_element ? m_element->camera() : nullptr;
    QString leftName;
    QString rightName;
    if (!camera) {
        m_rows.clear();
    } else if (m_other) {
        m_rows = FeatureComparison::compareCameras(camera, m_other->camera(), m_showAll->isChecked());
        leftName = QStringLiteral("this file");
        rightName = QFileInfo(m_other->filePath()).fileName();
    } else {
        // Names, not positions: modes may have been renamed, added or moved meanwhile.
        ModeElement* left = camera->modeByName(m_leftModes->currentText());
        ModeElement* right = camera->modeByName(m_rightModes->currentText());
        m_rows = FeatureComparison::compareModes(left, right, m_showAll->isChecked());
        leftName = m_leftModes->currentText();
        rightName = m_rightModes->currentText();
    }
    m_tree->setHeaderLabels({QStringLiteral("Feature"), leftName, rightName});

    QSet<QString> expanded;
    for (int top = 0; top < m_tree->topLevelItemCount(); ++top) {
        if (m_tree->topLevelItem(top)->isExpanded())
            expanded.insert(m_tree->topLevelItem(top)->data(0, RowRole + 1).toString());
    }
    m_tree->clear();
    QTreeWidgetItem* group = nullptr;
    QString groupKey;
    int groupDifferences = 0;
    int categories = 0;
    const auto closeGroup = [&] {
        if (group)
            group->setText(0, group->text(0) + QStringLiteral(" (%1)").arg(groupDifferences));
    };
    for (int position = 0; position < m_rows.size(); ++position) {
        const FeatureComparison::Row& row = m_rows.at(position);
        const QString key = row.scope + QLatin1Char('\t') + row.category;
        if (!group || key != groupKey) {
            closeGroup();
            group = new QTreeWidgetItem(m_tree);
            const QString title =
                row.scope.isEmpty() ? row.category : row.scope + QStringLiteral(" ") + row.category;
            group->setText(0, title.trimmed());
            group->setData(0, RowRole, -1);
            group->setData(0, RowRole + 1, key);
            group->setFirstColumnSpanned(false);
            group->setExpanded(expanded.isEmpty() || expanded.contains(key));
            groupKey = key;
            groupDifferences = 0;
            ++categories;
        }
        auto* item =
            new QTreeWidgetItem(group, {row.path.isEmpty() ? row.scope : row.path, row.left, row.right});
        item->setData(0, RowRole, position);
        if (row.differs) {
            ++groupDifferences;
            QFont font = item->font(1);
            font.setBold(true);
            item->setFont(1, font);
            item->setFont(2, font);
        }
    }
    closeGroup();
    const int differences = differenceCount();
    m_header->setText(
        differences == 0
            ? QStringLiteral("No differences.")
            : QStringLiteral("%1 differences in %2 categories.").arg(differences).arg(categories));
    m_tree->resizeColumnToContents(0);
}

QVector<FeatureComparison::Row> ComparisonWindow::selectedRows() const
{
    QVector<FeatureComparison::Row> rows;
    QSet<int> taken;
    const auto take = [&](const QTreeWidgetItem* a_item) {
        const int position = a_item->data(0, RowRole).toInt();
        if (position >= 0 && position < m_rows.size() && !taken.contains(position)) {
            taken.insert(position);
            rows << m_rows.at(position);
        }
    };
    for (const QTreeWidgetItem* item : m_tree->selectedItems()) {
        take(item);
        for (int child = 0; child < item->childCount(); ++child)
            take(item->child(child));
    }
    return rows;
}

void ComparisonWindow::copySelection(bool a_toLeft)
{
    // The copy changes the document, and the document's change rebuilds the list.
    FeatureComparison::copy(selectedRows(), a_toLeft, m_element);
}

void ComparisonWindow::copyToLeft()
{
    copySelection(true);
}

void ComparisonWindow::copyToRight()
{
    copySelection(false);
}

} // namespace Orvex
