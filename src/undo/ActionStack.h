#pragma once

#include "undo/ActionBase.h"

#include <QIcon>
#include <QList>
#include <QObject>
#include <QSharedPointer>

class QMenu;

namespace Orvex {

class ActionBatch;

// A bounded history of actions with a current position and a record of how far the current state lies
// from the saved one. Actions below index() are applied; the rest can be redone.
class ActionStack : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int index READ index WRITE setIndex NOTIFY stateChanged)
    Q_PROPERTY(int offsetFromInitial READ offsetFromInitial WRITE setOffsetFromInitial NOTIFY stateChanged)
    Q_PROPERTY(int maxDepth READ maxDepth WRITE setMaxDepth)
    Q_PROPERTY(bool isStateChanged READ isStateChanged NOTIFY stateChanged)

public:
    static constexpr int DefaultMaxDepth = 1000;

    explicit ActionStack(QObject* a_parent = nullptr);
    ~ActionStack() override;

    int index() const { return m_index; }
    int count() const { return m_actions.size(); }
    QSharedPointer<ActionBase> actionAt(int a_position) const { return m_actions.value(a_position); }

    int offsetFromInitial() const { return m_offsetFromInitial; }
    // Returns the previous offset. The owner sets 0 when the document has been saved.
    int setOffsetFromInitial(int a_offset);
    // The saved state can no longer be reached by any undo or redo; returns the previous offset.
    int markSavedStateUnreachable();
    bool isStateChanged() const { return m_offsetFromInitial != 0; }

    int maxDepth() const { return m_maxDepth; }
    void setMaxDepth(int a_maxDepth);

    bool isBusy() const { return m_busy; }
    bool isBatchOpen() const { return m_batchDepth > 0; }

    // Actions must have no Qt parent: the stack shares their ownership with whoever else holds them.
    void push(const QSharedPointer<ActionBase>& a_action);

    // Batches nest: only the outermost close pushes what was collected, and an optional description
    // of the outermost open names the whole batch.
    void openBatch(const QString& a_description = QString());
    void closeBatch();

    // Appends the history entries to the menu; the caller clears it beforehand when refilling.
    void fillHistoryMenu(QMenu* a_menu);

signals:
    void stateChanged();
    void actionEnabled(bool a_undoPossible, bool a_redoPossible);

public slots:
    void onApplySelection();
    void unapply();
    void reapply();
    void setIndex(int a_index);

protected:
    // Runs after each single step of a jump through the history, so that work the step queued (an
    // element's deferred raise, say) is done before the next step reads the same elements.
    virtual void afterStep() {}

private:
    void trimToMaxDepth();
    void emitActionEnabled();
    void stepOffset(int a_delta);

    QList<QSharedPointer<ActionBase>> m_actions;
    int m_index = 0;
    int m_offsetFromInitial = 0;
    int m_maxDepth = DefaultMaxDepth;
    QSharedPointer<ActionBatch> m_batch;
    int m_batchDepth = 0;
    bool m_busy = false;
    // Decoded from their image files once: the history menu is refilled after every edit, undo and redo.
    QIcon m_undoIcon;
    QIcon m_redoIcon;
};

} // namespace Orvex
