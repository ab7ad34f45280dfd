#pragma once

#include <functional>

class QString;
class QWidget;

namespace Orvex {

class CameraElement;

// Opens an acquisition preview of a saved camera file on a frame grabber, in a window of its own.
class PreviewLauncher
{
public:
    // Asks for the board and the mode when there is more than one of either to choose from, offering
    // a_preferredBoard and the camera's current mode first; only boards of the camera's standard are
    // offered. Failures are told to the user; a cancelled choice opens nothing and gives null. The
    // preview is a top-level window of its own, deleted when closed.
    static QWidget* launch(QWidget* a_parent, CameraElement* a_camera, const QString& a_filePath,
                           int a_preferredBoard);
    // Stops the preview's acquisition when it runs, then closes (and so deletes) the preview.
    static void close(QWidget* a_preview);

    // What opens the preview once board and mode are chosen; tests put their own in place to raise
    // the failures a real driver raises only on broken hardware. Null restores the driver's.
    using Opener = std::function<QWidget*(unsigned a_board, const QString& a_file, const QString& a_mode)>;
    static void setOpener(Opener a_opener);
};

} // namespace Orvex
