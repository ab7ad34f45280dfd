#pragma once

#include "elements/FeatureComparison.h"

#include <QDialog>
#include <QPointer>

#include <memory>

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace Orvex {

class CameraFileSession;
class WindowElement;

// Two modes of the open document, or the open document and another camera file, side by side: per
// category the values that differ (or, on request, all of them), with counts in the header. Copy to
// Left and Copy to Right carry the selected rows (a category row stands for all of its rows) into the
// other side as one undoable step; another file is never changed, only the open document. The view
// follows every edit, undo and redo of the document.
class ComparisonWindow : public QDialog
{
    Q_OBJECT

public:
    // Compares two modes of a_element's camera, chosen in the window; the current mode first.
    ComparisonWindow(WindowElement* a_element, QWidget* a_parent);
    // Compares a_element's camera with the one a_other loaded; takes a_other.
    ComparisonWindow(WindowElement* a_element, std::unique_ptr<CameraFileSession> a_other, QWidget* a_parent);
    ~ComparisonWindow() override;

    QTreeWidget* tree() const { return m_tree; }
    QComboBox* leftModes() const { return m_leftModes; }
    QComboBox* rightModes() const { return m_rightModes; }
    QCheckBox* showAllBox() const { return m_showAll; }
    QLabel* header() const { return m_header; }
    int differenceCount() const { return FeatureComparison::differenceCount(m_rows); }

public slots:
    void refresh();
    void copyToLeft();
    void copyToRight();

private:
    void build();
    void fillModes();
    QVector<FeatureComparison::Row> selectedRows() const;
    void copySelection(bool a_toLeft);

    QPointer<WindowElement> m_element;
    std::unique_ptr<CameraFileSession> m_other;
    QVector<FeatureComparison::Row> m_rows;
    QLabel* m_header = nullptr;
    QComboBox* m_leftModes = nullptr;
    QComboBox* m_rightModes = nullptr;
    QCheckBox* m_showAll = nullptr;
    QTreeWidget* m_tree = nullptr;
    QPushButton* m_copyLeft = nullptr;
    QPushButton* m_copyRight = nullptr;
};

} // namespace Orvex
