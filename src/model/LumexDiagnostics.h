#pragma once

#include <QString>

namespace Lumex {
class Error;
}

namespace Orvex {

// Turns the diagnostics of a failed markup operation into the HTML list that load failures show.
class LumexDiagnostics
{
public:
    // "<ol>", one "<li>" per diagnostic from a_error's current one to the end of its chain (name in
    // bold, message, and the comment in a paragraph, cut after its first 256 escaped characters),
    // then "</ol>". Every text is HTML-escaped; a null text counts as empty. A successful result
    // has no diagnostic and gives an empty list.
    static QString toHtml(const Lumex::Error& a_error);
};

} // namespace Orvex
