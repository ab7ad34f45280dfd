#include "platform/LogCategories.h"

Q_LOGGING_CATEGORY(orvexDriverLog, "orvex.driver")
Q_LOGGING_CATEGORY(orvexFilesLog, "orvex.files")

namespace Orvex {

void applyLoggingRules(bool a_verbose)
{
    QLoggingCategory::setFilterRules(a_verbose ? QStringLiteral("orvex.*=true")
                                               : QStringLiteral("orvex.*.debug=false\norvex.*.info=false"));
}

} // namespace Orvex
