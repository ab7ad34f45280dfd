#pragma once

#include <QObject>
#include <QPointer>

#include <cstddef>

class QAction;
class QMenu;

namespace Orvex {

class ElementBase;
class FeatureNavigator;
class FindDock;
class Window;
class WindowElement;

// What the main window offers to find and compare: the find bar, Compare Modes and Compare With File,
// with their actions, following the window's document.
class WindowFind : public QObject
{
    Q_OBJECT

public:
    // Matches are reached through a_navigator, as problems are, so that both arrive alike.
    WindowFind(Window* a_window, FeatureNavigator* a_navigator);
    ~WindowFind() override;

    FindDock* dock() const { return m_dock; }
    QAction* compareModesAction() const { return m_compareModes; }
    QAction* compareFileAction() const { return m_compareFile; }

    void addActionsTo(QMenu* a_menu) const;
    // The document the window holds now; null without one, which closes every comparison.
    void setWindowElement(WindowElement* a_element);

public slots:
    void compareModes();
    void compareWithFile();
    // Puts the focus into the filter field of the page shown.
    void focusPageFilter();
    // Shows instance a_instance of a_feature and puts the focus into its editor, as the Problems list does.
    void goToFeature(Orvex::ElementBase* a_feature, size_t a_instance);

private:
    Window* m_window;
    FeatureNavigator* m_navigator;
    QPointer<WindowElement> m_element;
    FindDock* m_dock = nullptr;
    QAction* m_filterPage = nullptr;
    QAction* m_compareModes = nullptr;
    QAction* m_compareFile = nullptr;
    QList<QPointer<QWidget>> m_comparisons;
};

} // namespace Orvex
