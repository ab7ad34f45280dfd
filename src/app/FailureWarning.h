#pragma once

#include <exception>

class QString;
class QWidget;

namespace Orvex {

struct FailurePlace;

// Tells the user that an operation failed: a_title, then a_intro followed by the message of
// a_exception when there is one to show. An intro that opens a rich-text document ("<html>") takes the
// message as rich text (the markup library's diagnostics are an HTML list) and is closed after it; any
// other intro is followed by the message as code.
void warnFailure(QWidget* a_parent, const QString& a_title, const QString& a_intro,
                 const std::exception* a_exception = nullptr);

// The text warnFailure shows.
QString failureText(const QString& a_intro, const std::exception* a_exception);

// The known parts of a_place as one line, the file by its name only:
// "Example.lumex, line 31, mode Fast, Sensor/Width: "abc" is not a number". Empty without a problem.
QString failureSentence(const FailurePlace& a_place);

// Tells the user that a camera file could not be opened. With a problem in a_place the message says
// what is wrong and where, and a_technical (the program's own text, rich or plain) goes under Details;
// without one, a_technical is the message, as warnFailure shows it.
void warnLoadFailure(QWidget* a_parent, const QString& a_title, const FailurePlace& a_place,
                     const QString& a_technical);

// Tells the user that a camera file could not be saved: which file (a_place's file), why and what to
// do (a_place's problem). The former message, a_title's a_formerText, and a_technical go under Details.
void warnSaveFailure(QWidget* a_parent, const QString& a_title, const QString& a_formerText,
                     const FailurePlace& a_place, const QString& a_technical);

} // namespace Orvex
