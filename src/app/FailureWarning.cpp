#include "app/FailureWarning.h"

#include "widgets/DialogSeam.h"

#include <QString>

namespace Orvex {

namespace {

// The exception text for a rich-text message: HTML as it comes, anything else escaped.
QString messageHtml(const std::exception& a_exception)
{
    const QString text = QString::fromUtf8(a_exception.what());
    if (text.contains(QLatin1String("<ol>")) || text.contains(QLatin1String("<p>")))
        return text;
    return QStringLiteral("<p>") + text.toHtmlEscaped() + QStringLiteral("</p>");
}

} // namespace

void warnFailure(QWidget* a_parent, const QString& a_title, const QString& a_intro,
                 const std::exception* a_exception)
{
    QString text = a_intro;
    if (a_intro.startsWith(QLatin1String("<html>"))) {
        if (a_exception)
            text += messageHtml(*a_exception);
        text += QStringLiteral("</html>");
    } else if (a_exception) {
        text += QStringLiteral("<p><code>") + QString::fromUtf8(a_exception->what()).toHtmlEscaped() +
                QStringLiteral("</code></p>");
    }
    DialogSeam::warning(a_parent, a_title, text);
}

} // namespace Orvex
