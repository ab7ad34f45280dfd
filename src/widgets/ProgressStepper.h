#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QProgressDialog>
#include <QString>

namespace Orvex {

// Drives a progress dialog through the stages of a long operation and turns the user's cancel into
// an OperationCanceledException at the operation's next breathe(), so that the work stops at a point
// where it can be abandoned cleanly.
//
// A stage owns the sub-range [from, to] of the overall range. Within a stage the value only rises and
// never passes `to`. With a known step count the stage's range is split proportionally: after k of n
// steps the value is from + (to - from) * k / n, so the last step lands exactly on `to`. Without a
// count every step closes part of the remaining gap (half of it after ten steps), so the bar keeps
// moving but only the next stage takes it further.
//
// A screen shows a new picture at most every frame interval, so the dialog (its label and bar) and the
// event loop are served at most that often, the detail line at most every tenth of a second (and never
// more often than the frame interval): a stage, a value or a detail that comes sooner is kept and shown
// when the work next begins a stage or breathes after the interval has passed. A modal dialog repaints
// its bar and processes events whenever its value changes, which cost a save of a small file a fifth of
// its time. The progress() signal and cancellation are never held back.
class ProgressStepper : public QObject
{
    Q_OBJECT

public:
    // a_dialog may be null for work without a window; progress() is emitted all the same.
    ProgressStepper(QProgressDialog* a_dialog, int a_minimum, int a_maximum, QObject* a_parent = nullptr);

    // Stages are expected in ascending order; a stage's bounds are kept inside the overall range.
    // A step count of 0 means the number of steps is not known. Breathes, so it may throw.
    void beginStage(const QString& a_label, int a_from, int a_to, int a_stepCount = 0);

    // Advances one step and breathes, so it may throw.
    void step();

    // Adds a_count steps to those the current stage expects: a stage begun without a count learns it
    // from the work once the work knows it.
    void addSteps(int a_count);

    // Shows a line about the current step below the stage label, at once when the dialog's text has not
    // changed for the detail interval, otherwise at a later breathe; does not breathe.
    void setDetailText(const QString& a_detail);

    // Processes the pending events once when a frame interval has passed since it last did, then throws
    // OperationCanceledException if cancel() was called.
    void breathe();

    // 0 serves the dialog and the event loop at every call.
    void setFrameIntervalMs(int a_milliseconds) { m_frameIntervalMs = a_milliseconds; }

    bool isCanceled() const { return m_canceled; }
    int value() const { return m_value; }
    QString stageLabel() const { return m_label; }

signals:
    void progress(int value);

public slots:
    // Only marks the operation; the work is interrupted at its next breathe.
    void cancel();

private:
    int stageValue() const;
    void setLabelText(const QString& a_text);
    bool frameDue(const QElapsedTimer& a_since) const;
    bool detailDue() const;
    void showPendingDetail();
    void showValue();
    // Shows what is pending and processes the events, when a frame interval has passed since it last did.
    void serveDialog();

    QPointer<QProgressDialog> m_dialog;
    int m_minimum = 0;
    int m_maximum = 0;
    bool m_canceled = false;
    QString m_label;
    bool m_labelPending = false;
    int m_from = 0;
    int m_to = 0;
    int m_stepCount = 0;
    int m_stepsDone = 0;
    int m_value = 0;
    int m_frameIntervalMs = 16;
    static constexpr unsigned s_breathsPerClockRead = 16;
    unsigned m_breaths = 0;
    // A stage's beginning reads the clock, whatever the count of breaths.
    bool m_clockDue = false;
    QElapsedTimer m_sinceEvents;
    QElapsedTimer m_sinceLabel;
    QString m_pendingDetail;
    bool m_detailPending = false;
};

} // namespace Orvex
