#pragma once

#include "elements/WindowElement.h"
#include "model/LumexTree.h"

#include <QByteArray>
#include <QString>

#include <functional>

namespace Orvex {
class CameraElement;
class FeatureElementBase;
} // namespace Orvex

namespace OrvexTest {

QByteArray fileBytes(const QString& a_path);
// Returns a_path, so that a file can be written where it is passed on.
QString writtenFile(const QString& a_path, const QByteArray& a_bytes);

// One data row per folder under the source folder a_relative, named after it, with its path in the
// column "folder": the cases of a table test live on disk, input beside expected output.
void addFolderRows(const QString& a_relative);

// One data row per line of the table file a_relative (a source path): "tag | value | ...", blank lines
// and lines starting with "#" left out. A value is trimmed unless quoted ("  a  "); \n, \t, \xHH and
// a backslash before any other character stand for that byte. Every column is a QByteArray.
void addTableRows(const QString& a_relative, const QStringList& a_columns);

// The text of a_call's exception with line numbers cut to "[]", so that expectations survive edits of
// the throwing file; empty when nothing was thrown.
QString thrownText(const std::function<void()>& a_call);

// An open document as the editor holds it: a camera, and the tree of what the file held.
struct CameraDocument
{
    Orvex::WindowElement window{nullptr};
    Orvex::LumexTree tree{QString()};
    QString schema;

    Orvex::CameraElement* camera() { return window.camera(); }
    Orvex::FeatureElementBase* global(const QString& a_name);

    // As the editor opens a file: the file first, then the schema (without one, the shipped schema of
    // the file's standard), then the values; a_beforeValues runs once the camera has its features.
    void load(const QString& a_file, const QString& a_schema = QString(),
              const std::function<void()>& a_beforeValues = nullptr);
    bool save(const QString& a_file, bool a_extraData = true);
};

} // namespace OrvexTest
