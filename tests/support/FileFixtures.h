#pragma once

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/WindowElement.h"
#include "model/LumexTree.h"

#include <functional>

namespace OrvexTest {

QByteArray fileBytes(const QString& a_path);
QString writtenFile(const QString& a_path, const QByteArray& a_bytes);

// One data row per folder under the source folder a_relative, named after it, its path in "folder".
void addFolderRows(const QString& a_relative);

// One QByteArray row per line "tag | value | ..." of the table file a_relative, but blank and "#" lines.
// Values are trimmed unless quoted; \n, \t, \xHH and a backslash before any other character are bytes.
void addTableRows(const QString& a_relative, const QStringList& a_columns);

// a_call's exception text, its line numbers cut to "[]" so that edits of the thrower do not matter.
QString thrownText(const std::function<void()>& a_call);

// An open document as the editor holds it: a camera, and the tree of what the file held.
struct CameraDocument
{
    Orvex::WindowElement window{nullptr};
    Orvex::LumexTree tree{QString()};
    QString schema;

    Orvex::CameraElement* camera() { return window.camera(); }
    Orvex::FeatureElementBase* global(const QString& a_name)
    {
        return camera()->globalCategory()->feature(a_name);
    }

    // As the editor opens a file: the schema (by default the one shipped for the file's standard),
    // a_beforeValues once the camera has its features, then the values.
    void load(const QString& a_file, const QString& a_schema = QString(),
              const std::function<void()>& a_beforeValues = nullptr);
    bool save(const QString& a_file, bool a_extraData = true);
};

} // namespace OrvexTest
