#pragma once

#include <QString>

namespace Orvex {

// The words a user reads for an XML name that is cryptic: one written in lower case with underscores
// ("cxp_regs_before" reads "CXP registers before"), or a single lower-case word ("address" reads
// "Address"). Names that already read as words ("LinkCount", "ROI") stay as they are; the XML name
// itself stays in tool tips, where a user who edits files by hand looks for it.
class ReadableName
{
public:
    static QString of(const QString& a_xmlName);
    // The tool tip for a readable name: the XML name when it differs, then the documentation.
    static QString toolTip(const QString& a_xmlName, const QString& a_documentation);
};

} // namespace Orvex
