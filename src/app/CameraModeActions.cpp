#include "app/CameraModeActions.h"

#include "board/CameraModeTransfer.h"
#include "board/QNBrdDataSource.h"
#include "elements/ModeElement.h"
#include "widgets/DialogSeam.h"

#include <QAction>
#include <QMenu>

namespace Orvex {

namespace {

const QString ApplyTitle = QStringLiteral("Apply Mode to Camera");
const QString ReadTitle = QStringLiteral("Read Mode from Camera");

} // namespace

CameraModeActions::CameraModeActions(QWidget* a_window, QAction* a_after, QNBrdDataSource* a_dataSource,
                                     ModeFinder a_mode)
    : QObject(a_window), m_window(a_window), m_dataSource(a_dataSource), m_mode(std::move(a_mode))
{
    m_applyAction = new QAction(QStringLiteral("&Apply Mode to Camera"), a_window);
    m_applyAction->setStatusTip(
        QStringLiteral("Write the current mode's features to the camera of the board."));
    m_readAction = new QAction(QStringLiteral("R&ead Mode from Camera"), a_window);
    m_readAction->setStatusTip(QStringLiteral("Fill the current mode with the camera's current values."));
    a_window->addAction(m_applyAction);
    a_window->addAction(m_readAction);
    for (QWidget* widget : a_after->associatedWidgets()) {
        auto* menu = qobject_cast<QMenu*>(widget);
        if (!menu)
            continue;
        const QList<QAction*> actions = menu->actions();
        const int at = actions.indexOf(a_after);
        QAction* before = at + 1 < actions.size() ? actions.at(at + 1) : nullptr;
        menu->insertAction(before, m_applyAction);
        menu->insertAction(before, m_readAction);
    }
    connect(m_applyAction, &QAction::triggered, this, &CameraModeActions::applyMode);
    connect(m_readAction, &QAction::triggered, this, &CameraModeActions::readMode);
}

CameraModeActions::~CameraModeActions() = default;

bool CameraModeActions::prepare(const QString& a_title, ModeElement** a_mode)
{
    if (m_busy)
        return false;
    *a_mode = m_mode ? m_mode() : nullptr;
    if (!*a_mode) {
        DialogSeam::information(m_window, a_title, QStringLiteral("Choose a mode of the camera file first."));
        return false;
    }
    if (!m_dataSource || !m_dataSource->isBoardOpen()) {
        DialogSeam::information(m_window, a_title,
                                QStringLiteral("Choose the camera's board in the board list first."));
        return false;
    }
    return true;
}

void CameraModeActions::setBusy(bool a_busy)
{
    m_busy = a_busy;
    m_applyAction->setEnabled(!a_busy);
    m_readAction->setEnabled(!a_busy);
}

void CameraModeActions::fail(const QString& a_title, const QString& a_message)
{
    setBusy(false);
    DialogSeam::warning(m_window, a_title,
                        QStringLiteral("<p>The camera could not be reached:</p><pre>%1</pre>")
                            .arg(a_message.toHtmlEscaped()));
    emit transferDone();
}

void CameraModeActions::applyMode()
{
    ModeElement* mode = nullptr;
    if (!prepare(ApplyTitle, &mode))
        return;
    const QString modeName = mode->name();
    CameraModeTransfer* transfer =
        CameraModeTransfer::applying(m_dataSource->boardHandle(), CameraModeTransfer::modeFeatures(mode));
    connect(transfer, &CameraModeTransfer::appliedToCamera, this,
            [this, modeName](const CameraModeTransfer::Outcomes& a_outcomes) {
                setBusy(false);
                DialogSeam::information(
                    m_window, ApplyTitle,
                    QStringLiteral("<p>Mode \"%1\" on %2:</p>%3")
                        .arg(modeName.toHtmlEscaped(),
                             m_dataSource ? m_dataSource->currentText().toHtmlEscaped() : QString(),
                             CameraModeTransfer::reportText(a_outcomes)));
                emit transferDone();
            });
    connect(transfer, &CameraModeTransfer::failed, this,
            [this](const QString& a_message) { fail(ApplyTitle, a_message); });
    setBusy(true);
    transfer->start();
}

void CameraModeActions::readMode()
{
    ModeElement* mode = nullptr;
    if (!prepare(ReadTitle, &mode))
        return;
    std::vector<std::string> names;
    for (const auto& feature : CameraModeTransfer::modeFeatures(mode))
        names.push_back(feature.first);
    QPointer<ModeElement> target(mode);
    CameraModeTransfer* transfer = CameraModeTransfer::reading(m_dataSource->boardHandle(), names);
    connect(transfer, &CameraModeTransfer::readFromCamera, this,
            [this, target](const CameraModeTransfer::Features& a_values) {
                setBusy(false);
                // The mode may have gone while the camera answered; then there is nothing to fill.
                if (target) {
                    const QStringList changed = CameraModeTransfer::fillMode(target, a_values, ReadTitle);
                    DialogSeam::information(
                        m_window, ReadTitle,
                        changed.isEmpty() ? QStringLiteral("The mode already holds the camera's values.")
                                          : QStringLiteral("Read from the camera: %1.")
                                                .arg(changed.join(QStringLiteral(", "))));
                }
                emit transferDone();
            });
    connect(transfer, &CameraModeTransfer::failed, this,
            [this](const QString& a_message) { fail(ReadTitle, a_message); });
    setBusy(true);
    transfer->start();
}

} // namespace Orvex
