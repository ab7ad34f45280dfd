#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

class QAction;
class QTemporaryDir;
class QWidget;

namespace Orvex {
class Window;
}

// Window set-up shared by the window tests; settings and files: BoardFixtures.h.
namespace OrvexTest {

// Message boxes and choosers answered from DialogSeam's queues from here on; a new temporary folder.
std::unique_ptr<QTemporaryDir> startWindowTest();
// A window that finds the shipped schemas, and a_configPath (default: the shipped config folder).
std::unique_ptr<Orvex::Window> makeWindow(const QString& a_configPath = QString());
// The window's action whose text (with its "&") is a_text; null without one.
QAction* windowAction(const QWidget& a_window, const QString& a_text);
// "title: text" (or the titles alone) of every message box shown so far; file choosers left out.
QStringList messages(bool a_titlesOnly = false);
QStringList modeNames(const Orvex::Window& a_window);
// Moves the second mode to the top in the tree; true when the document shows it, then modified.
bool moveSecondModeUp(Orvex::Window& a_window);

// The Camera Link example copied to a_path, writable, its folder made; empty on failure.
QString copyExample(const QString& a_path);
// What a path holds: the bytes of a file, "<folder>" for a folder, "<none>" for nothing.
QByteArray diskState(const QString& a_path);

} // namespace OrvexTest
