#include "app/ProblemsDock.h"

#include "app/FeatureNavigator.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"
#include "fileio/ProblemList.h"
#include "widgets/StandardIcons.h"

#include <QHeaderView>
#include <QLabel>
#include <QStyle>
#include <QTimer>
#include <QTreeWidget>

namespace Orvex {

namespace {

const QString s_title = QStringLiteral("Problems");

QString counted(int a_count, const QString& a_noun)
{
    return QStringLiteral("%1 %2%3").arg(a_count).arg(a_noun).arg(a_count == 1 ? QString()
                                                                               : QStringLiteral("s"));
}

} // namespace

ProblemsDock::ProblemsDock(FeatureNavigator* a_navigator, QWidget* a_parent)
    : QDockWidget(s_title, a_parent), m_navigator(a_navigator), m_list(new ProblemList(this)),
      m_table(new QTreeWidget(this)), m_statusLabel(new QLabel)
{
    setObjectName(QStringLiteral("ProblemsDock"));
    m_table->setObjectName(QStringLiteral("ProblemsTable"));
    m_table->setRootIsDecorated(false);
    m_table->setUniformRowHeights(true);
    m_table->setAlternatingRowColors(true);
    m_table->setHeaderLabels({QStringLiteral("Severity"), QStringLiteral("Mode"), QStringLiteral("Feature"),
                              QStringLiteral("Line"), QStringLiteral("Problem")});
    m_table->header()->setStretchLastSection(true);
    setWidget(m_table);
    m_statusLabel->setObjectName(QStringLiteral("ProblemsStatus"));

    connect(m_list, &ProblemList::changed, this, &ProblemsDock::fill);
    // Double-click, and Enter or Return on the current row.
    connect(m_table, &QTreeWidget::itemActivated, this,
            [this](QTreeWidgetItem* a_item) { goToRow(m_table->indexOfTopLevelItem(a_item)); });
}

ProblemsDock::~ProblemsDock()
{
    delete m_statusLabel;
}

void ProblemsDock::attach(WindowElement* a_window, const LumexTree* a_tree, const QString& a_schemaPath)
{
    detach();
    if (!a_window)
        return;
    m_window = a_window;
    connect(a_window->undoRedoStack(), &ActionStack::stateChanged, this, &ProblemsDock::scheduleRefresh);
    m_list->attach(a_window->camera(), a_tree, CameraValidator::readSchema(a_schemaPath));
    // The short columns fit what the file holds; the message takes the rest. Once per document, as
    // measuring every row after every edit would cost more than the check.
    for (int column = SeverityColumn; column < MessageColumn; ++column)
        m_table->resizeColumnToContents(column);
}

void ProblemsDock::detach()
{
    if (m_window)
        disconnect(m_window->undoRedoStack(), nullptr, this, nullptr);
    m_window = nullptr;
    m_list->detach();
}

QString ProblemsDock::summary() const
{
    if (!m_list->isAttached())
        return QString();
    const int errors = m_list->count(ValidationProblem::Error);
    const int warnings = m_list->count(ValidationProblem::Warning);
    const int notes = m_list->count(ValidationProblem::Note);
    if (errors + warnings + notes == 0)
        return QStringLiteral("No problems");
    QStringList parts{counted(errors, QStringLiteral("error")), counted(warnings, QStringLiteral("warning"))};
    if (notes > 0)
        parts << counted(notes, QStringLiteral("note"));
    return parts.join(QStringLiteral(", "));
}

void ProblemsDock::showProblems()
{
    show();
    raise();
    m_table->setFocus(Qt::OtherFocusReason);
    if (m_table->topLevelItemCount() > 0 && !m_table->currentItem())
        m_table->setCurrentItem(m_table->topLevelItem(0));
}

bool ProblemsDock::goToRow(int a_row)
{
    const QVector<ValidationProblem> problems = m_list->problems();
    if (!m_navigator || a_row < 0 || a_row >= problems.size())
        return false;
    const ValidationProblem& problem = problems.at(a_row);
    return m_navigator->goTo(problem.locator, problem.instance);
}

void ProblemsDock::scheduleRefresh()
{
    // A step's raises are queued; the check waits for them so that the mode it shows is the one edited.
    if (m_refreshPending)
        return;
    m_refreshPending = true;
    QTimer::singleShot(0, this, &ProblemsDock::refresh);
}

void ProblemsDock::refresh()
{
    m_refreshPending = false;
    if (!m_window)
        return;
    ElementBaseDelayQueue::instance()->flush();
    m_list->refresh();
}

void ProblemsDock::fill()
{
    const QVector<ValidationProblem> problems = m_list->problems();
    m_table->clear();
    QList<QTreeWidgetItem*> items;
    items.reserve(problems.size());
    const QIcon icons[] = {StandardIcons::of(style(), QStyle::SP_MessageBoxCritical),
                           StandardIcons::of(style(), QStyle::SP_MessageBoxWarning),
                           StandardIcons::of(style(), QStyle::SP_MessageBoxInformation)};
    for (const ValidationProblem& problem : problems) {
        auto* item = new QTreeWidgetItem(
            {ValidationProblem::severityName(problem.severity),
             problem.mode.isEmpty() ? QStringLiteral("(camera)") : problem.mode, problem.path,
             problem.line > 0 ? QString::number(problem.line) : QString(), problem.message});
        item->setIcon(SeverityColumn, icons[qBound(0, int(problem.severity), 2)]);
        item->setToolTip(MessageColumn, problem.message);
        items << item;
    }
    m_table->addTopLevelItems(items);
    const QString counts = summary();
    setWindowTitle(counts.isEmpty() ? s_title : QStringLiteral("%1 (%2)").arg(s_title, counts));
    m_statusLabel->setText(counts);
}

} // namespace Orvex
