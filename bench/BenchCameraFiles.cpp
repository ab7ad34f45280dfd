#include "BenchCameraFiles.h"

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/NumericFeature.h"
#include "elements/StringFeature.h"
#include "elements/WindowElement.h"
#include "fileio/LumexPrinter.h"
#include "fileio/SchemaParser.h"
#include "model/LumexTree.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace Orvex::Bench {

namespace {

// Of every child waited for so far.
double childrenMs()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto ms = [](const timeval& a_time) {
        return double(a_time.tv_sec) * 1e3 + double(a_time.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

// A text the feature accepts and the schema validates: the shipped patterns are hexadecimal numbers,
// versions, dates and identifiers.
QString stringValue(const StringFeature* a_feature)
{
    static const QStringList candidates{QStringLiteral("Value"), QStringLiteral("0x1F"),
                                        QStringLiteral("1.0"), QStringLiteral("2024-06-04"),
                                        QStringLiteral("1")};
    const QRegExp pattern = a_feature->stringPattern();
    const int maxLength = a_feature->stringLengthMax();
    for (const QString& candidate : candidates) {
        if ((pattern.isEmpty() || pattern.exactMatch(candidate)) &&
            (maxLength <= 0 || candidate.size() <= maxLength))
            return candidate;
    }
    return candidates.last();
}

// Every instance a value the schema allows, where the schema gives neither a default nor a fixed one.
// Numbers differ between the rows of a table (a_row), which may have to be unique.
void fillValues(ValueFeatureElementBase* a_feature, size_t a_row)
{
    if (a_feature->defaultValue().isValid() || a_feature->fixedValue().isValid())
        return;
    QVariant value;
    if (auto* numeric = qobject_cast<NumericFeature*>(a_feature))
        value = numeric->boundedValue(1.0 + double(a_row));
    else if (auto* text = qobject_cast<StringFeature*>(a_feature))
        value = stringValue(text);
    for (size_t instance = 0; value.isValid() && instance < a_feature->instanceCount(); ++instance)
        a_feature->setValue(instance, value);
}

// Present, with two instances wherever the feature may repeat, and so on through every list.
void fill(FeatureElementBase* a_feature, size_t a_row = 0)
{
    const size_t wanted =
        a_feature->maxOccurs() == 1
            ? 1
            : std::min<size_t>(a_feature->maxOccurs(), std::max<size_t>(a_feature->minOccurs(), 2));
    while (a_feature->instanceCount() < wanted && a_feature->insertInstance(a_feature->instanceCount())) {
    }
    if (auto* value = qobject_cast<ValueFeatureElementBase*>(a_feature))
        fillValues(value, a_row);
    if (auto* list = qobject_cast<FeatureListFeatureBase*>(a_feature)) {
        for (size_t instance = 0; instance < list->instanceCount(); ++instance) {
            for (FeatureElementBase* member : list->instanceMembers(instance))
                fill(member, instance);
        }
    }
}

} // namespace

QString defaultSchema()
{
    // The source tree's copy: benchmarks run from any build folder, and a compiler cache may hand
    // out relative source names.
    return QStringLiteral(ORVEX_SOURCE_DIR "/config/Pld/LUMEX-CXP.xsd");
}

int generateCameraFile(const QString& a_schema, int a_modes, const QString& a_output)
{
    try {
        WindowElement window(nullptr);
        LumexTree tree(a_output);
        SchemaParser schema(nullptr, &tree, nullptr, a_schema);
        CameraElement* camera = window.camera();
        schema.loadCamera(camera);
        for (FeatureElementBase* feature : camera->globalCategory()->features())
            fill(feature);
        ModeElement* first = camera->mode(0);
        first->setName(QStringLiteral("Default"));
        for (ModeCategoryElementBase* category : first->categories()) {
            if (auto* generic = qobject_cast<GenericModeCategory*>(category))
                generic->categoryFeature()->setEnabled(true);
            for (FeatureElementBase* feature : category->features())
                fill(feature);
        }
        while (camera->modeCount() < a_modes)
            camera->appendMode(first->clone());

        LumexPrinter printer(nullptr, &tree);
        printer.setSchemaPaths(a_schema, a_schema);
        // Without extra data the printer names the camera's standard itself, as the schema asks.
        printer.setPreserveExtraData(false);
        printer.print(camera);
        return printer.save(a_output) ? 0 : 1;
    } catch (const std::exception& a_exception) {
        std::fprintf(stderr, "generation failed: %s\n", a_exception.what());
        return 1;
    }
}

double xmllintMs(const QString& a_schema, const QString& a_file, bool* a_valid)
{
    QProcess xmllint;
    xmllint.setProcessChannelMode(QProcess::MergedChannels);
    const double before = childrenMs();
    xmllint.start(QStringLiteral("xmllint"),
                  {QStringLiteral("--noout"), QStringLiteral("--schema"), a_schema, a_file});
    if (!xmllint.waitForFinished(-1) || xmllint.exitStatus() != QProcess::NormalExit)
        return -1.0;
    if (a_valid)
        *a_valid = xmllint.exitCode() == 0;
    return childrenMs() - before;
}

long peakResidentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

void dropDiagnostics(QtMsgType a_type, const QMessageLogContext&, const QString& a_message)
{
    if (a_type == QtDebugMsg || a_type == QtInfoMsg)
        return;
    std::fprintf(stderr, "%s\n", qPrintable(a_message));
    if (a_type == QtFatalMsg)
        std::abort();
}

} // namespace Orvex::Bench
