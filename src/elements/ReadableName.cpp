#include "elements/ReadableName.h"

#include <QHash>
#include <QStringList>

namespace Orvex {

namespace {

// Short forms the shipped schemas use in element names, and acronyms that stay in capitals.
const QHash<QString, QString>& wordTable()
{
    static const QHash<QString, QString> table = {{QStringLiteral("regs"), QStringLiteral("registers")},
                                                  {QStringLiteral("reg"), QStringLiteral("register")},
                                                  {QStringLiteral("cfg"), QStringLiteral("configuration")},
                                                  {QStringLiteral("brd"), QStringLiteral("board")},
                                                  {QStringLiteral("addr"), QStringLiteral("address")},
                                                  {QStringLiteral("cxp"), QStringLiteral("CXP")},
                                                  {QStringLiteral("cl"), QStringLiteral("CL")},
                                                  {QStringLiteral("roi"), QStringLiteral("ROI")},
                                                  {QStringLiteral("lut"), QStringLiteral("LUT")},
                                                  {QStringLiteral("id"), QStringLiteral("ID")}};
    return table;
}

} // namespace

QString ReadableName::of(const QString& a_xmlName)
{
    const bool lowerCase = !a_xmlName.isEmpty() && a_xmlName == a_xmlName.toLower();
    if (!lowerCase || !a_xmlName.at(0).isLetter())
        return a_xmlName;
    QStringList words = a_xmlName.split(QLatin1Char('_'), Qt::SkipEmptyParts);
    if (words.isEmpty())
        return a_xmlName;
    for (QString& word : words)
        word = wordTable().value(word, word);
    words.first()[0] = words.first().at(0).toUpper();
    return words.join(QLatin1Char(' '));
}

QString ReadableName::toolTip(const QString& a_xmlName, const QString& a_documentation)
{
    if (of(a_xmlName) == a_xmlName)
        return a_documentation;
    const QString name = QStringLiteral("<p><code>%1</code></p>").arg(a_xmlName.toHtmlEscaped());
    return a_documentation.isEmpty()
               ? name
               : name + QStringLiteral("<p>") + a_documentation + QStringLiteral("</p>");
}

} // namespace Orvex
