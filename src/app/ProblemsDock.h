#pragma once

#include <QDockWidget>
#include <QLabel>
#include <QPointer>
#include <QString>

class QTreeWidget;
class QTreeWidgetItem;

namespace Orvex {

class FeatureNavigator;
class LumexTree;
class ProblemList;
class WindowElement;

// The "Problems" dock: every problem of the open document in a table, in document order, with the
// counts per severity in its title and in a status bar label. Double-click or Enter goes to the feature.
// The list is built when a document opens and follows every step of its undo/redo stack, checking
// again only what the step can have changed.
class ProblemsDock : public QDockWidget
{
    Q_OBJECT

public:
    enum Column
    {
        SeverityColumn,
        ModeColumn,
        PathColumn,
        LineColumn,
        MessageColumn,
    };

    ProblemsDock(FeatureNavigator* a_navigator, QWidget* a_parent);
    ~ProblemsDock() override;

    // Checks the document a_window holds, read from a_tree against the schema at a_schemaPath.
    void attach(WindowElement* a_window, const LumexTree* a_tree, const QString& a_schemaPath);
    void detach();

    ProblemList* problemList() const { return m_list; }
    QTreeWidget* table() const { return m_table; }
    // "2 errors, 1 warning", "No problems"; empty without a document.
    QString summary() const;
    // For the status bar, which the window owns.
    QLabel* statusLabel() const { return m_statusLabel; }

public slots:
    // Shows the dock with the keyboard on its first problem.
    void showProblems();
    // Goes to the feature of the problem in row a_row; false when it is gone.
    bool goToRow(int a_row);

private:
    void scheduleRefresh();
    void refresh();
    void fill();

    QPointer<FeatureNavigator> m_navigator;
    QPointer<WindowElement> m_window;
    ProblemList* m_list = nullptr;
    QTreeWidget* m_table = nullptr;
    // The status bar takes it; whichever of the two goes first, the label goes once.
    QPointer<QLabel> m_statusLabel;
    bool m_refreshPending = false;
};

} // namespace Orvex
