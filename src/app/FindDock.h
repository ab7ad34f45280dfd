#pragma once

#include "elements/FeatureSearch.h"

#include <QDockWidget>
#include <QPointer>

#include <memory>

class QAction;
class QCheckBox;
class QLabel;
class QLineEdit;
class QMainWindow;
class QModelIndex;
class QTimer;
class QTreeView;

namespace Orvex {

class ElementBase;
class FindResultsModel;
class WindowElement;

// The find bar: a field with its options above the list of every match in the camera and all its modes.
// Searching goes a few modes at a time from the event loop, so the first matches show at once, and it
// starts again after every edit and every undo or redo, so that the list follows the document.
class FindDock : public QDockWidget
{
    Q_OBJECT

public:
    // Enough modes per turn of the event loop to fill a screen of matches, few enough to keep typing
    // smooth in files of thousands of modes.
    static constexpr int ScopesPerTurn = 16;

    // Adds its actions (Find, Find Next, Find Previous) to a_window, where their keys work everywhere.
    explicit FindDock(QMainWindow* a_window);
    ~FindDock() override;

    QAction* findAction() const { return m_findAction; }
    QAction* findNextAction() const { return m_nextAction; }
    QAction* findPreviousAction() const { return m_previousAction; }
    QLineEdit* field() const { return m_field; }
    QTreeView* resultsView() const { return m_view; }
    FindResultsModel* results() const { return m_results; }
    bool isSearching() const;

    // The document searched; null empties the list.
    void setWindowElement(WindowElement* a_element);

signals:
    // The user chose a match: instance a_instance of a_feature (FeatureIndex::NoInstance when it has
    // none) is to be shown.
    void featureRequested(Orvex::ElementBase* a_feature, size_t a_instance);

public slots:
    void showAndFocus();
    void findNext();
    void findPrevious();
    void restart();

private:
    FeatureSearch::Options options() const;
    void searchSome();
    void step(int a_delta);
    void request(const QModelIndex& a_index);
    void showStatus();

    QPointer<WindowElement> m_element;
    std::unique_ptr<FeatureSearch> m_search;
    FindResultsModel* m_results = nullptr;
    QLineEdit* m_field = nullptr;
    QCheckBox* m_names = nullptr;
    QCheckBox* m_values = nullptr;
    QCheckBox* m_documentation = nullptr;
    QCheckBox* m_case = nullptr;
    QCheckBox* m_wholeWord = nullptr;
    QCheckBox* m_expression = nullptr;
    QLabel* m_status = nullptr;
    QTreeView* m_view = nullptr;
    QTimer* m_chunks = nullptr;
    QAction* m_findAction = nullptr;
    QAction* m_nextAction = nullptr;
    QAction* m_previousAction = nullptr;
    // The row chosen before the list was rebuilt, chosen again once the rebuilt list reaches it.
    int m_keptRow = -1;
};

} // namespace Orvex
