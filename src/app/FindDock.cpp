#include "app/FindDock.h"

#include "app/FindResultsModel.h"
#include "elements/CameraElement.h"
#include "elements/UndoRedoStack.h"
#include "elements/ValueFeatureElementBase.h"
#include "elements/WindowElement.h"

#include <QAction>
#include <QCheckBox>
#include <QGridLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

namespace Orvex {

namespace {

QAction* makeAction(QMainWindow* a_window, const QString& a_text, const QList<QKeySequence>& a_keys)
{
    auto* action = new QAction(a_text, a_window);
    action->setShortcuts(a_keys);
    action->setShortcutContext(Qt::WindowShortcut);
    a_window->addAction(action);
    return action;
}

} // namespace

FindDock::FindDock(QMainWindow* a_window) : QDockWidget(QStringLiteral("Find"), a_window)
{
    setObjectName(QStringLiteral("FindDock"));
    auto* content = new QWidget(this);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(4, 4, 4, 4);

    m_field = new QLineEdit(content);
    m_field->setObjectName(QStringLiteral("FindField"));
    m_field->setPlaceholderText(QStringLiteral("Find in names, values or documentation"));
    m_field->setClearButtonEnabled(true);
    layout->addWidget(m_field);

    auto* optionsLayout = new QGridLayout;
    const auto option = [&](const QString& a_text, bool a_checked, int a_row, int a_column) {
        auto* box = new QCheckBox(a_text, content);
        box->setChecked(a_checked);
        optionsLayout->addWidget(box, a_row, a_column);
        connect(box, &QCheckBox::toggled, this, &FindDock::restart);
        return box;
    };
    m_names = option(QStringLiteral("&Names"), true, 0, 0);
    m_values = option(QStringLiteral("&Values"), true, 0, 1);
    m_documentation = option(QStringLiteral("Doc&umentation"), false, 0, 2);
    m_case = option(QStringLiteral("Matc&h case"), false, 1, 0);
    m_wholeWord = option(QStringLiteral("Whole wor&d"), false, 1, 1);
    m_expression = option(QStringLiteral("Regular e&xpression"), false, 1, 2);
    layout->addLayout(optionsLayout);

    m_status = new QLabel(content);
    m_status->setObjectName(QStringLiteral("FindStatus"));
    layout->addWidget(m_status);

    m_results = new FindResultsModel(this);
    m_view = new QTreeView(content);
    m_view->setObjectName(QStringLiteral("FindResults"));
    m_view->setModel(m_results);
    m_view->setRootIsDecorated(false);
    m_view->setUniformRowHeights(true);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->header()->setSectionResizeMode(QHeaderView::Interactive);
    layout->addWidget(m_view, 1);
    setWidget(content);

    m_chunks = new QTimer(this);
    m_chunks->setInterval(0);
    connect(m_chunks, &QTimer::timeout, this, &FindDock::searchSome);
    connect(m_field, &QLineEdit::textChanged, this, &FindDock::restart);
    connect(m_field, &QLineEdit::returnPressed, this, &FindDock::findNext);
    // Enter, or a double click, on a match.
    connect(m_view, &QTreeView::activated, this, &FindDock::request);

    m_findAction = makeAction(a_window, QStringLiteral("&Find..."), {QKeySequence(QStringLiteral("Ctrl+F"))});
    m_nextAction = makeAction(a_window, QStringLiteral("Find &Next"), {QKeySequence(QStringLiteral("F3"))});
    m_previousAction =
        makeAction(a_window, QStringLiteral("Find &Previous"), {QKeySequence(QStringLiteral("Shift+F3"))});
    connect(m_findAction, &QAction::triggered, this, &FindDock::showAndFocus);
    connect(m_nextAction, &QAction::triggered, this, &FindDock::findNext);
    connect(m_previousAction, &QAction::triggered, this, &FindDock::findPrevious);
    a_window->addDockWidget(Qt::BottomDockWidgetArea, this);
    hide();
}

FindDock::~FindDock() = default;

bool FindDock::isSearching() const
{
    return m_chunks->isActive();
}

void FindDock::setWindowElement(WindowElement* a_element)
{
    if (m_element)
        disconnect(m_element->undoRedoStack(), nullptr, this, nullptr);
    m_element = a_element;
    if (a_element)
        connect(a_element->undoRedoStack(), &ActionStack::stateChanged, this, &FindDock::restart);
    restart();
}

void FindDock::showAndFocus()
{
    show();
    raise();
    m_field->setFocus(Qt::ShortcutFocusReason);
    m_field->selectAll();
}

FeatureSearch::Options FindDock::options() const
{
    return {
        m_field->text(),     m_names->isChecked(),     m_values->isChecked(),    m_documentation->isChecked(),
        m_case->isChecked(), m_wholeWord->isChecked(), m_expression->isChecked()};
}

void FindDock::restart()
{
    m_keptRow = m_view->currentIndex().row();
    m_results->clear();
    m_search.reset(m_element ? new FeatureSearch(m_element->camera(), options()) : nullptr);
    if (m_search && m_search->isValid())
        m_chunks->start();
    else
        m_chunks->stop();
    showStatus();
}

void FindDock::searchSome()
{
    const bool shownBefore = m_results->rowCount() > 0;
    if (!m_search || !m_search->searchNext(ScopesPerTurn))
        m_chunks->stop();
    if (m_search)
        m_results->follow(m_search->matches());
    // Sized once on the first matches: resizing on every turn would measure every row each time.
    if (!shownBefore && m_results->rowCount() > 0) {
        for (int column = 0; column < 3; ++column)
            m_view->resizeColumnToContents(column);
    }
    if (m_keptRow >= 0 && m_keptRow < m_results->rowCount()) {
        m_view->setCurrentIndex(m_results->index(m_keptRow, 0));
        m_keptRow = -1;
    }
    showStatus();
}

void FindDock::showStatus()
{
    if (!m_search || m_field->text().isEmpty()) {
        m_status->setText(QStringLiteral("Type what to find."));
        return;
    }
    if (!m_search->isValid()) {
        m_status->setText(QStringLiteral("Not a regular expression: %1").arg(m_search->errorText()));
        return;
    }
    const int count = m_results->rowCount();
    m_status->setText((count == 1 ? QStringLiteral("1 match") : QStringLiteral("%1 matches").arg(count)) +
                      (isSearching() ? QStringLiteral(", searching...") : QString()));
}

void FindDock::findNext()
{
    step(1);
}

void FindDock::findPrevious()
{
    step(-1);
}

void FindDock::step(int a_delta)
{
    // F3 right after typing must not miss the matches still being looked for.
    while (isSearching())
        searchSome();
    const int count = m_results->rowCount();
    if (count == 0) {
        showAndFocus();
        return;
    }
    show();
    const int current = m_view->currentIndex().row();
    const int next = current < 0 ? (a_delta > 0 ? 0 : count - 1) : (current + a_delta + count) % count;
    const QModelIndex index = m_results->index(next, 0);
    m_view->setCurrentIndex(index);
    m_view->scrollTo(index);
    request(index);
}

void FindDock::request(const QModelIndex& a_index)
{
    const FeatureSearch::Match* match = m_results->match(a_index.row());
    if (!match)
        return;
    // A match found before its mode was built leads there by its locator, which builds the mode.
    ElementBase* feature = match->feature;
    if (!feature && m_element)
        feature = match->locator.resolve(m_element->camera());
    if (feature)
        emit featureRequested(feature, match->instance);
}

} // namespace Orvex
