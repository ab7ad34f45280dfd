#pragma once

#include <exception>

class QString;
class QWidget;

namespace Orvex {

// Tells the user that an operation failed: a_title, then a_intro followed by the message of
// a_exception when there is one to show. An intro that opens a rich-text document ("<html>") takes the
// message as rich text (the markup library's diagnostics are an HTML list) and is closed after it; any
// other intro is followed by the message as code.
void warnFailure(QWidget* a_parent, const QString& a_title, const QString& a_intro,
                 const std::exception* a_exception = nullptr);

} // namespace Orvex
