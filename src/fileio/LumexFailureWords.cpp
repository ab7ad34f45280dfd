#include "fileio/LumexFailureWords.h"

#include "elements/BooleanFeature.h"
#include "elements/EnumerationFeature.h"
#include "elements/NumericFeature.h"
#include "elements/StringFeature.h"
#include "platform/Lumex.h"

#include <QRegularExpression>

namespace Orvex {

namespace {

// Values quoted to the user are cut short: a whole hostile file would bury the sentence.
QString quoted(const QString& a_text)
{
    constexpr int limit = 60;
    const QString shown = a_text.size() > limit ? a_text.left(limit) + QChar(0x2026) : a_text;
    return QLatin1Char('"') + shown + QLatin1Char('"');
}

QString utf8(const char* a_text)
{
    return QString::fromUtf8(a_text ? a_text : "");
}

} // namespace

QString LumexFailureWords::valueProblem(const ValueFeatureElementBase* a_feature, const QString& a_text)
{
    const QString value = a_text.trimmed();
    if (value.isEmpty())
        return QStringLiteral("the value is empty");
    bool ok = false;
    a_feature->valueFromText(value, &ok);
    if (ok && a_feature->fixedValue().isValid()) {
        return QStringLiteral("%1 differs from the fixed value %2")
            .arg(quoted(value), quoted(a_feature->textFromValue(a_feature->fixedValue())));
    }
    if (qobject_cast<const BooleanFeature*>(a_feature))
        return QStringLiteral("%1 is not a truth value (true, false, 1 or 0)").arg(quoted(value));
    if (const auto* enumeration = qobject_cast<const EnumerationFeature*>(a_feature)) {
        QStringList entries;
        for (const EnumerationFeature::Entry& entry : enumeration->entries())
            entries << entry.value;
        const QString listed =
            entries.size() <= 8 ? QStringLiteral(" (%1)").arg(entries.join(QStringLiteral(", "))) : QString();
        return QStringLiteral("%1 is not one of the choices%2").arg(quoted(value), listed);
    }
    if (qobject_cast<const NumericFeature*>(a_feature)) {
        bool number = false;
        value.toDouble(&number);
        return number ? QStringLiteral("%1 does not fit the feature's kind of number").arg(quoted(value))
                      : QStringLiteral("%1 is not a number").arg(quoted(value));
    }
    return QStringLiteral("%1 is not an allowed value").arg(quoted(value));
}

QString LumexFailureWords::loadProblem(const Lumex::Error& a_error, unsigned* a_line)
{
    *a_line = 0;
    const QString comment = utf8(a_error.comment());
    const QRegularExpressionMatch line = QRegularExpression(QStringLiteral("^line (\\d+)")).match(comment);
    if (line.hasMatch())
        *a_line = line.captured(1).toUInt();
    QString message = utf8(a_error.message());
    // The markup library reports a cut-off document as an element that never ends.
    for (Lumex::Error current = a_error; !current; current = current.skip_next(Lumex::Error::NextError)) {
        if (utf8(current.message()).startsWith(QLatin1String("Premature end of data")))
            return QStringLiteral("the file ends in the middle of its content; it may have been cut short");
    }
    if (message.isEmpty())
        return QStringLiteral("the file is not readable XML");
    message.remove(QRegularExpression(QStringLiteral("\\s*line \\d+$")));
    return QStringLiteral("the file is not readable XML (%1)").arg(message);
}

QString LumexFailureWords::standardProblem(const Lumex::ConstCamProperty& a_root, unsigned* a_line)
{
    *a_line = a_root.line();
    if (!a_root)
        return QStringLiteral("the file holds no XML element");
    const QString root = utf8(a_root.name());
    if (root != QLatin1String("quarnel_config")) {
        return QStringLiteral("the document element is <%1>, but a camera file starts with <quarnel_config>")
            .arg(root);
    }
    const Lumex::ConstCamProperty standard = a_root["camera"]["features"]["standard"];
    const char* value = nullptr;
    if (!standard || !standard.get(value))
        return QStringLiteral("camera/features/standard is missing, so the camera's standard is unknown");
    *a_line = standard.line();
    return QStringLiteral("the standard %1 is neither CoaXPress nor CameraLink")
        .arg(quoted(utf8(value).trimmed()));
}

QString LumexFailureWords::featurePath(const QStringList& a_path, bool a_inMode)
{
    // quarnel_config > camera > modes > mode > ... in a mode, quarnel_config > camera > ... outside.
    const int skipped = a_inMode ? 4 : 2;
    return a_path.mid(skipped).join(QLatin1Char('/'));
}

} // namespace Orvex
