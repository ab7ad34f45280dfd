#pragma once

#include <QString>
#include <QStringList>

namespace Lumex {
class ConstCamProperty;
class Error;
} // namespace Lumex

namespace Orvex {

class ValueFeatureElementBase;

// What is wrong with a camera file, said the way a user reads it, for the messages that name the
// place of a load failure. The parser's own texts stay for the details.
class LumexFailureWords
{
public:
    // Why the text a_text cannot be a value of a_feature: empty, not a number, not true or false, not
    // one of the entries, not the fixed value...
    static QString valueProblem(const ValueFeatureElementBase* a_feature, const QString& a_text);

    // Why the markup could not be read, from the first of its diagnostics; a_line receives the line
    // that diagnostic names (0 when none).
    static QString loadProblem(const Lumex::Error& a_error, unsigned* a_line);

    // Why the document is no camera file of a known standard: another root element, or a missing or
    // unknown "standard" feature. a_line receives the line of the node at fault.
    static QString standardProblem(const Lumex::ConstCamProperty& a_root, unsigned* a_line);

    // Why a_path could not be written, as a sentence with what the user can do about it: the folder
    // is gone, a folder on the way is a file, the name is a folder, the file is read-only, the folder
    // refuses new files, the disk is full. a_error is the markup library's report of the write.
    static QString saveProblem(const QString& a_path, const Lumex::Error& a_error);

    // a_path below the mode when a_inMode (it then starts with the mode's own path), else below the
    // camera, joined by "/".
    static QString featurePath(const QStringList& a_path, bool a_inMode);
};

} // namespace Orvex
