#pragma once

#include <QObject>
#include <QString>

namespace Orvex {

// One reversible change. An action is made after its change has been done, so it starts applied;
// unapply() and reapply() flip it back and forth and report what happened as a Result code that
// the stacks use to decide whether to go on.
class ActionBase : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString description READ description WRITE setDescription)
    Q_PROPERTY(bool applied READ isApplied NOTIFY stateChanged)
    Q_PROPERTY(bool unapplied READ isUnapplied NOTIFY stateChanged)

public:
    enum Result : int
    {
        Nothing = 0,  // already in the asked state
        Done = 1,     // the state flipped
        DoneGoOn = 2, // done, and the stack goes straight on to the next action
        Failed = 3    // the stack stops where it is
    };
    Q_ENUM(Result)

    explicit ActionBase(QObject* a_parent = nullptr);
    ~ActionBase() override;

    QString description() const { return m_description; }
    void setDescription(const QString& a_description);

    bool isApplied() const { return m_applied; }
    bool isUnapplied() const { return !m_applied; }

    Q_INVOKABLE Orvex::ActionBase::Result unapply();
    Q_INVOKABLE Orvex::ActionBase::Result reapply();

signals:
    void stateChanged(bool a_applied);

protected:
    // Only Done flips the applied flag: DoneGoOn belongs to actions that are no step of their own, such
    // as markers that only carry the stack on to the next action.
    virtual Result onUnapply() = 0;
    virtual Result onReapply() = 0;

private:
    QString m_description;
    bool m_applied = true;
};

} // namespace Orvex
