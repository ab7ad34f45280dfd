#pragma once

class QString;
class QWidget;

namespace Orvex {

// Starts another process of the editor, which opens a window of its own: each window edits one file.
class NewWindowLauncher
{
public:
    // The new process is told the configuration folder and the schemas (those that are not empty) where
    // there is no registry to find them. Tells the user when it cannot be started.
    static void launch(QWidget* a_parent, const QString& a_configPath, const QString& a_cxpXsdPath,
                       const QString& a_clXsdPath);
};

} // namespace Orvex
