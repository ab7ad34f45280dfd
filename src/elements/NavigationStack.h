#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

#include <cstddef>

class QMenu;

namespace Orvex {

class ElementBase;

// The back/forward history of the elements the user visited. An entry whose element has been destroyed,
// or whose mode is out of its camera (deleted, but kept by the undo history), stays in place but is
// skipped and cannot be selected; undoing the deletion makes it reachable again.
class NavigationStack : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int index READ index NOTIFY stateChanged)
    Q_PROPERTY(int maxDepth READ maxDepth WRITE setMaxDepth)

public:
    static constexpr int DefaultMaxDepth = 1000;

    explicit NavigationStack(QObject* a_parent = nullptr);
    ~NavigationStack() override;

    // Position of the current entry; -1 while nothing has been visited.
    int index() const { return m_index; }
    int count() const { return m_entries.size(); }
    // Null for a position out of range and for an entry whose element is gone.
    ElementBase* elementAt(int a_position) const;
    // The entry's element lives and, when it belongs to a mode, that mode is in its camera.
    bool isReachable(int a_position) const;

    int maxDepth() const { return m_maxDepth; }
    void setMaxDepth(int a_maxDepth);

    bool isBusy() const { return m_busy; }
    bool canGoBack() const { return liveBefore(m_index) >= 0; }
    bool canGoForward() const { return liveAfter(m_index) >= 0; }

    void recordVisit(ElementBase* a_element);

    // Appends the history entries to the menu; the caller clears it beforehand when refilling.
    void fillHistoryMenu(QMenu* a_menu);

signals:
    void stateChanged();
    void actionEnabled(bool a_backPossible, bool a_forwardPossible);

public slots:
    void emit_actionEnabled();
    void back();
    void forward();
    bool setIndex(size_t a_index);
    void onNavigateSelection();

private:
    int liveBefore(int a_position) const;
    int liveAfter(int a_position) const;
    void switchTo(int a_position);
    void trimToMaxDepth();

    QList<QPointer<ElementBase>> m_entries;
    int m_index = -1;
    int m_maxDepth = DefaultMaxDepth;
    bool m_busy = false;
};

} // namespace Orvex
