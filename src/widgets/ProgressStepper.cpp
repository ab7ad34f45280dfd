#include "widgets/ProgressStepper.h"

#include "model/OperationCanceledException.h"

#include <QCoreApplication>

#include <algorithm>

namespace Orvex {

namespace {

// Steps of unknown count after which half of a stage's range is covered.
constexpr qint64 s_unknownCountHalfWaySteps = 10;
// A detail line is read, not watched: changed faster than this it cannot be read, and each change lays
// out the dialog's rich text anew, which took a save of a large file several percent of its time.
constexpr qint64 s_detailIntervalMs = 100;

} // namespace

ProgressStepper::ProgressStepper(QProgressDialog* a_dialog, int a_minimum, int a_maximum, QObject* a_parent)
    : QObject(a_parent), m_dialog(a_dialog), m_minimum(std::min(a_minimum, a_maximum)),
      m_maximum(std::max(a_minimum, a_maximum)), m_from(m_minimum), m_to(m_minimum), m_value(m_minimum)
{
    if (!a_dialog)
        return;
    a_dialog->setRange(m_minimum, m_maximum);
    connect(a_dialog, &QProgressDialog::canceled, this, &ProgressStepper::cancel);
}

void ProgressStepper::beginStage(const QString& a_label, int a_from, int a_to, int a_stepCount)
{
    m_label = a_label;
    m_labelPending = true;
    m_detailPending = false;
    m_from = std::clamp(a_from, m_minimum, m_maximum);
    m_to = std::clamp(a_to, m_from, m_maximum);
    m_stepCount = std::max(a_stepCount, 0);
    m_stepsDone = 0;
    m_value = m_from;
    emit progress(m_value);
    // A stage that begins soon after another is shown with the next frame: the stages of a small
    // file's load follow each other faster than a screen shows them, and each one shown at once laid out
    // and painted the dialog anew.
    m_clockDue = true;
    breathe();
}

void ProgressStepper::step()
{
    ++m_stepsDone;
    m_value = stageValue();
    emit progress(m_value);
    breathe();
}

void ProgressStepper::addSteps(int a_count)
{
    m_stepCount += std::max(a_count, 0);
}

int ProgressStepper::stageValue() const
{
    const qint64 range = qint64(m_to) - m_from;
    const qint64 done = m_stepsDone;
    if (m_stepCount > 0)
        return int(m_from + range * std::min<qint64>(done, m_stepCount) / m_stepCount);
    return int(m_from + range * done / (done + s_unknownCountHalfWaySteps));
}

void ProgressStepper::setDetailText(const QString& a_detail)
{
    m_pendingDetail = a_detail;
    m_detailPending = true;
    if (detailDue())
        showPendingDetail();
}

bool ProgressStepper::detailDue() const
{
    return m_frameIntervalMs <= 0 || !m_sinceLabel.isValid() ||
           m_sinceLabel.hasExpired(std::max<qint64>(m_frameIntervalMs, s_detailIntervalMs));
}

bool ProgressStepper::frameDue(const QElapsedTimer& a_since) const
{
    return m_frameIntervalMs <= 0 || !a_since.isValid() || a_since.hasExpired(m_frameIntervalMs);
}

void ProgressStepper::showPendingDetail()
{
    m_detailPending = false;
    QString text = QStringLiteral("<html>");
    if (!m_label.isEmpty())
        text += QStringLiteral("<p><b>") + m_label + QStringLiteral("</b></p>");
    text += QStringLiteral("<p>") + m_pendingDetail + QStringLiteral("</p></html>");
    setLabelText(text);
}

void ProgressStepper::setLabelText(const QString& a_text)
{
    m_labelPending = false;
    m_sinceLabel.start();
    if (m_dialog)
        m_dialog->setLabelText(a_text);
}

void ProgressStepper::showValue()
{
    if (m_dialog && m_dialog->value() != m_value)
        m_dialog->setValue(m_value);
}

void ProgressStepper::breathe()
{
    // A load breathes once per feature, every few microseconds, and reading the clock each time was a
    // share of a large file's load of its own: it is read every few breaths, still many times a frame.
    const bool clockRead = m_clockDue || m_frameIntervalMs <= 0 || !m_sinceEvents.isValid() ||
                           ++m_breaths % s_breathsPerClockRead == 0;
    m_clockDue = false;
    if (clockRead)
        serveDialog();
    if (m_canceled)
        ORVEX_THROW(OperationCanceledException, "Operation canceled.");
}

void ProgressStepper::serveDialog()
{
    if (!frameDue(m_sinceEvents))
        return;
    if (m_detailPending && detailDue())
        showPendingDetail();
    else if (m_labelPending)
        setLabelText(QStringLiteral("<html><p><b>") + m_label + QStringLiteral("</b></p></html>"));
    showValue();
    QCoreApplication::processEvents();
    m_sinceEvents.start();
}

void ProgressStepper::cancel()
{
    m_canceled = true;
}

} // namespace Orvex
