#include "app/FailureWarning.h"

#include "model/ExceptionBase.h"
#include "widgets/DialogSeam.h"

#include <QDir>
#include <QFileInfo>
#include <QString>
#include <QTextDocument>

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

// Details are plain text: the message box shows them in a plain text field.
QString plainText(const QString& a_text)
{
    if (!a_text.startsWith(QLatin1Char('<')))
        return a_text;
    QTextDocument document;
    document.setHtml(a_text);
    return document.toPlainText().trimmed();
}

} // namespace

QString failureText(const QString& a_intro, const std::exception* a_exception)
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
    return text;
}

void warnFailure(QWidget* a_parent, const QString& a_title, const QString& a_intro,
                 const std::exception* a_exception)
{
    DialogSeam::warning(a_parent, a_title, failureText(a_intro, a_exception));
}

QString failureSentence(const FailurePlace& a_place)
{
    if (a_place.m_problem.isEmpty())
        return QString();
    QStringList parts;
    if (!a_place.m_file.isEmpty())
        parts << QFileInfo(a_place.m_file).fileName();
    if (a_place.m_line > 0)
        parts << QStringLiteral("line %1").arg(a_place.m_line);
    if (!a_place.m_mode.isEmpty())
        parts << QStringLiteral("mode %1").arg(a_place.m_mode);
    if (!a_place.m_featurePath.isEmpty())
        parts << a_place.m_featurePath;
    const QString where = parts.join(QStringLiteral(", "));
    return where.isEmpty() ? a_place.m_problem : where + QStringLiteral(": ") + a_place.m_problem;
}

void warnLoadFailure(QWidget* a_parent, const QString& a_title, const FailurePlace& a_place,
                     const QString& a_technical)
{
    const QString sentence = failureSentence(a_place);
    if (sentence.isEmpty()) {
        DialogSeam::warning(a_parent, a_title, a_technical);
        return;
    }
    const QString path = QDir::toNativeSeparators(a_place.m_file);
    const QString text =
        QStringLiteral(
            "<html><p>Could not open <b>%1</b>.</p><p>%2.</p><p>Correct the file in a text editor, "
            "or open another one. The technical report is under Show Details.</p></html>")
            .arg(path.toHtmlEscaped(), sentence.toHtmlEscaped());
    DialogSeam::warningWithDetails(a_parent, a_title, text, plainText(a_technical));
}

void warnSaveFailure(QWidget* a_parent, const QString& a_title, const QString& a_formerText,
                     const FailurePlace& a_place, const QString& a_technical)
{
    const QString text =
        QStringLiteral("<html><p>Could not save <b>%1</b>.</p><p>%2</p><p>Nothing was written: the file "
                       "on disk is as it was, and the changes are still here. The technical report is "
                       "under Show Details.</p></html>")
            .arg(QDir::toNativeSeparators(a_place.m_file).toHtmlEscaped(), a_place.m_problem.toHtmlEscaped());
    const QString technical = plainText(a_technical);
    DialogSeam::warningWithDetails(a_parent, a_title, text,
                                   technical.isEmpty() ? a_formerText
                                                       : a_formerText + QStringLiteral("\n\n") + technical);
}

} // namespace Orvex
