#pragma once

#include <QString>
#include <QStringList>

namespace Orvex {

class CameraElement;

// The values of a camera as the printer would write them, one line per instance of every present value
// feature, in the order they stand in the written file: the scope ("camera" for the global features,
// "mode=NAME" for a mode's), a tab, the path below the scope's own element, a tab, the value.
//
// A path joins element names with "/"; an attribute is "@name"; a repeated feature and each instance of
// a repeated list carry "[i]" after their name, from 0. A feature without a name of its own (the text of
// an element that also has attributes) stands under its element's path. Within one element its
// attributes come first, then its own text, then its child elements, as in the file.
//
// Values are written on one line: backslash, tab, line feed and carriage return become "\\", "\t",
// "\n" and "\r".
class CameraFileDump
{
public:
    static QStringList lines(const CameraElement* a_camera);
    // Sets the value a line of lines() names by its scope and path; why it cannot, empty when it did.
    static QString setValue(CameraElement* a_camera, const QString& a_scope, const QString& a_path,
                            const QString& a_text);

    static QString escapedValue(const QString& a_value);
};

} // namespace Orvex
