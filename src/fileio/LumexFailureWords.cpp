#include "fileio/LumexFailureWords.h"

#include "elements/BooleanFeature.h"
#include "elements/EnumerationFeature.h"
#include "elements/NumericFeature.h"
#include "elements/StringFeature.h"
#include "platform/Lumex.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <cstring>

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

// The nearest folder on the way to a_path that exists, or the first part of it that is not a folder.
QFileInfo nearestOnTheWay(const QString& a_path)
{
    QFileInfo info(QFileInfo(a_path).absolutePath());
    while (!info.exists() && !info.isRoot() && info.absolutePath() != info.absoluteFilePath())
        info = QFileInfo(info.absolutePath());
    return info;
}

// The system's own words for a_error, as the write's report quotes them (in the user's language).
bool reportSays(const QString& a_report, int a_error)
{
    return a_report.contains(QString::fromLocal8Bit(std::strerror(a_error)));
}

} // namespace

QString LumexFailureWords::saveProblem(const QString& a_path, const Lumex::Error& a_error)
{
    const QFileInfo target(a_path);
    const QFileInfo folder(target.absolutePath());
    const QString folderName = QDir::toNativeSeparators(folder.absoluteFilePath());
    const QString elsewhere = QStringLiteral("Save the file in another folder with Save As.");
    const QFileInfo nearest = nearestOnTheWay(a_path);
    if (nearest.exists() && !nearest.isDir()) {
        return QStringLiteral("\"%1\" is a file, not a folder, so nothing can be saved inside it. %2")
            .arg(QDir::toNativeSeparators(nearest.absoluteFilePath()), elsewhere);
    }
    if (!folder.exists()) {
        return QStringLiteral("The folder %1 does not exist (any more): it may have been moved, renamed or "
                              "deleted, or its disk removed. %2")
            .arg(folderName, elsewhere);
    }
    if (target.isDir()) {
        return QStringLiteral("\"%1\" is a folder; a file cannot take its place. Choose another name with "
                              "Save As.")
            .arg(target.fileName());
    }
    if (target.exists() && !target.isWritable()) {
        return QStringLiteral("The file is read-only. Allow changes to it in its properties, or save it "
                              "under another name with Save As.");
    }
    if (!folder.isWritable()) {
        return QStringLiteral("You have no permission to create files in the folder %1 (the file is "
                              "written beside itself first, so that a failure never leaves it half "
                              "written). %2")
            .arg(folderName, elsewhere);
    }
    QString report;
    for (Lumex::Error error = a_error; !bool(error); error = error.skip_next(Lumex::Error::NextError))
        report += utf8(error.message()) + QLatin1Char(' ') + utf8(error.comment()) + QLatin1Char('\n');
    if (reportSays(report, ENOSPC) || reportSays(report, EFBIG) || reportSays(report, EDQUOT)) {
        return QStringLiteral("The disk is full, or the file is larger than the disk allows. Free some "
                              "space, or save the file on another disk with Save As.");
    }
    if (reportSays(report, EACCES) || reportSays(report, EPERM))
        return QStringLiteral("You have no permission to write this file. %1").arg(elsewhere);
    return QStringLiteral("The system refused to write the file; the technical report under Show Details "
                          "says why. %1")
        .arg(elsewhere);
}

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
