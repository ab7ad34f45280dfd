#include "app/PreviewLauncher.h"

#include "app/FailureWarning.h"
#include "board/PreviewAcqIf.h"
#include "board/QNBrdModeOpenDialog.h"
#include "board/ViewportWindowQt.h"
#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "model/ExceptionBase.h"
#include "platform/QNExceptionBase.h"

#include <QFileInfo>
#include <QStringList>

namespace Orvex {

namespace {

PreviewLauncher::Opener& opener()
{
    static PreviewLauncher::Opener s_opener;
    return s_opener;
}

} // namespace

void PreviewLauncher::setOpener(Opener a_opener)
{
    opener() = std::move(a_opener);
}

QWidget* PreviewLauncher::launch(QWidget* a_parent, CameraElement* a_camera, const QString& a_filePath,
                                 int a_preferredBoard)
{
    QStringList modes;
    for (const ModeElement* mode : a_camera->modes())
        modes << mode->name();
    QNBrdModeOpenDialog chooser(a_parent);
    // A camera reached directly runs any camera file's mode: it takes the features it has.
    chooser.setBoardTypeFilter((a_camera->standard() == CameraElement::StandardCoaXPress
                                    ? BoardTypes(BoardType::CoaXPress)
                                    : BoardTypes(BoardType::CameraLink)) |
                               BoardType::Camera);
    chooser.setModes(modes);
    int boardNumber = chooser.boardNumbers().value(0, -1);
    QString modeName = modes.value(0);
    if (chooser.boardCount() > 1 || modes.size() > 1) {
        chooser.setCurrentBoardNumber(a_preferredBoard);
        if (ModeElement* current = a_camera->currentMode())
            chooser.setCurrentMode(current->name());
        if (chooser.exec() != QDialog::Accepted)
            return nullptr;
        boardNumber = chooser.currentBoardNumber();
        modeName = chooser.currentMode();
    }
    const QString boardName = chooser.boardNames().value(chooser.boardNumbers().indexOf(boardNumber));

    try {
        if (boardNumber < 0)
            throw QNExceptionBase("No frame grabber board that can run this camera file is installed.", 0);
        QWidget* preview = opener() ? opener()(unsigned(boardNumber), a_filePath, modeName)
                                    : PreviewAcqIf::openPreview(unsigned(boardNumber), a_filePath, modeName);
        preview->setWindowTitle(QFileInfo(a_filePath).fileName() + QStringLiteral(" on ") + boardName);
        preview->show();
        return preview;
    } catch (const QNExceptionBase& a_exception) {
        warnFailure(a_parent, QStringLiteral("Quarnel Error"),
                    QStringLiteral("<p>Caught a Quarnel exception during acquisition preview:</p>"),
                    &a_exception);
    } catch (const ExceptionBase& a_exception) {
        warnFailure(a_parent, QStringLiteral("Application Error"),
                    QStringLiteral("<p>Caught an application exception during acquisition preview:</p>"),
                    &a_exception);
    } catch (...) {
        warnFailure(a_parent, QStringLiteral("Unknown Error"),
                    QStringLiteral("<p>Caught an unknown exception during acquisition preview.</p>"));
    }
    return nullptr;
}

void PreviewLauncher::close(QWidget* a_preview)
{
    // Stopped first, so that the board is not left running while the viewer goes.
    if (auto* viewer = qobject_cast<Viewport::WindowQt*>(a_preview)) {
        using State = Viewport::ImperativeAcquisitionInterface::State;
        Viewport::ImperativeAcquisitionInterface* acquisition = viewer->acquisition();
        const State state = acquisition ? acquisition->acquisitionState() : State::NotSetUp;
        if (state == State::Running || state == State::Paused)
            acquisition->stop();
    }
    a_preview->close();
}

} // namespace Orvex
