#pragma once

#include <QLoggingCategory>

// The program's diagnostic lines, grouped by where they come from so that QT_LOGGING_RULES can pick
// them: "orvex.driver" for the board driver's debug strings, "orvex.files" for the progress of reading
// schemas and camera files and of writing camera files.
Q_DECLARE_LOGGING_CATEGORY(orvexDriverLog)
Q_DECLARE_LOGGING_CATEGORY(orvexFilesLog)

namespace Orvex {

// A desktop program keeps its terminal quiet: the debug and info lines of the categories above are off
// unless a_verbose. Warnings always show. Rules from QT_LOGGING_RULES or a QT_LOGGING_CONF file still
// win over these, so a user can pick one category without the option.
void applyLoggingRules(bool a_verbose);

} // namespace Orvex
