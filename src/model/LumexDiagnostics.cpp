#include "model/LumexDiagnostics.h"

#include "platform/Error.h"

namespace Orvex {

namespace {

constexpr int CommentLimit = 256;

QString escaped(const char* a_text)
{
    return QString::fromUtf8(a_text ? a_text : "").toHtmlEscaped();
}

} // namespace

QString LumexDiagnostics::toHtml(const Lumex::Error& a_error)
{
    QString html = QStringLiteral("<ol>");
    for (Lumex::Error current = a_error; !current; current = current.skip_next(Lumex::Error::NextError)) {
        QString comment = escaped(current.comment());
        if (comment.size() > CommentLimit) {
            comment.truncate(CommentLimit);
            comment += QLatin1String("&hellip;");
        }
        html += QLatin1String("<li><b>") + escaped(current.name()) +
                QLatin1String("</b>&nbsp;&mdash;&nbsp;") + escaped(current.message()) + QLatin1String("<p>") +
                comment + QLatin1String("</p></li>");
    }
    html += QLatin1String("</ol>");
    return html;
}

} // namespace Orvex
