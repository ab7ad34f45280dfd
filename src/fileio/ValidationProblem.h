#pragma once

#include "elements/ElementLocator.h"

#include <QString>

#include <cstddef>
#include <limits>

namespace Orvex {

// One thing wrong in a camera file, as the validator reports it and the problem list shows it.
struct ValidationProblem
{
    enum Severity
    {
        // A value or structure the schema rejects.
        Error,
        // Content the schema rejects but the editor keeps, or a value it accepts that looks wrong.
        Warning,
        Note,
    };

    Severity severity = Error;
    // Empty for the camera's global features and the file as a whole.
    QString mode;
    // Where in the file, below the mode or the camera's features: "Sensor/Width", "quarnel_regs/reg[1]/data".
    QString path;
    // The file's line the content was read from; 0 when it was not read from the file.
    int line = 0;
    // What is wrong and what is allowed: "Width is 40960; allowed 16 to 16384".
    QString message;
    // The element to go to, from the camera element, and its instance (none: all of them).
    ElementLocator locator;
    size_t instance = std::numeric_limits<size_t>::max();

    static QString severityName(Severity a_severity)
    {
        return a_severity == Error     ? QStringLiteral("error")
               : a_severity == Warning ? QStringLiteral("warning")
                                       : QStringLiteral("note");
    }
};

} // namespace Orvex
