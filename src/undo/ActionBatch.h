#pragma once

#include "undo/ActionBase.h"

#include <QList>
#include <QSharedPointer>

namespace Orvex {

// Several actions that are undone and redone as one step.
class ActionBatch : public ActionBase
{
    Q_OBJECT

public:
    explicit ActionBatch(QObject* a_parent = nullptr);
    ~ActionBatch() override;

    void append(const QSharedPointer<ActionBase>& a_action);
    int count() const { return m_actions.size(); }
    bool isEmpty() const { return m_actions.isEmpty(); }
    QList<QSharedPointer<ActionBase>> actions() const { return m_actions; }

protected:
    Result onUnapply() override;
    Result onReapply() override;

private:
    QList<QSharedPointer<ActionBase>> m_actions;
};

} // namespace Orvex
