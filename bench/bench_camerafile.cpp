#include "CameraElement.h"
#include "CameraGlobalCategory.h"
#include "FeatureListFeatureBase.h"
#include "GenericModeCategory.h"
#include "LumexParser.h"
#include "LumexPrinter.h"
#include "LumexTree.h"
#include "ModeElement.h"
#include "NumericFeature.h"
#include "SchemaParser.h"
#include "StringFeature.h"
#include "WindowElement.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

// Camera files of 10, 100 and 1,000 modes with every feature of the shipped CoaXPress schema present,
// each loaded, printed and written as the editor does, beside xmllint validating the same file.
//
//   bench_camerafile [--schema XSD] [--repeat N] [--sizes 10,100,1000]
//   bench_camerafile --generate MODES OUT [--schema XSD]
//   bench_camerafile --measure FILE [--schema XSD]
//
// Each file is generated and measured in a child process of its own, so that the peak resident size
// (VmHWM) of one measurement holds nothing of another nor of the generation. Times are processor time
// (user and system) of the process, and for xmllint of the child, so that other work on a shared
// machine does not count; they are the best of the repeats, and the peak is the largest.

namespace {

using Orvex::CameraElement;
using Orvex::FeatureElementBase;

struct Figures
{
    double schemaMs = std::numeric_limits<double>::max();
    double parseMs = std::numeric_limits<double>::max();
    double printMs = std::numeric_limits<double>::max();
    long peakKiB = 0;
    double xmllintMs = std::numeric_limits<double>::max();
    bool valid = false;
    qint64 bytes = 0;
};

void dropDiagnostics(QtMsgType a_type, const QMessageLogContext&, const QString& a_message)
{
    if (a_type == QtDebugMsg || a_type == QtInfoMsg)
        return;
    std::fprintf(stderr, "%s\n", qPrintable(a_message));
    if (a_type == QtFatalMsg)
        std::abort();
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

class CpuStopwatch
{
public:
    double lapMs()
    {
        const double now = processMs();
        const double elapsed = now - m_start;
        m_start = now;
        return elapsed;
    }

private:
    static double processMs()
    {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
    }

    double m_start = processMs();
};

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
QString stringValue(const Orvex::StringFeature* a_feature)
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
void fillValues(Orvex::ValueFeatureElementBase* a_feature, size_t a_row)
{
    if (a_feature->defaultValue().isValid() || a_feature->fixedValue().isValid())
        return;
    QVariant value;
    if (auto* numeric = qobject_cast<Orvex::NumericFeature*>(a_feature))
        value = numeric->boundedValue(1.0 + double(a_row));
    else if (auto* text = qobject_cast<Orvex::StringFeature*>(a_feature))
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
    if (auto* value = qobject_cast<Orvex::ValueFeatureElementBase*>(a_feature))
        fillValues(value, a_row);
    if (auto* list = qobject_cast<Orvex::FeatureListFeatureBase*>(a_feature)) {
        for (size_t instance = 0; instance < list->instanceCount(); ++instance) {
            for (FeatureElementBase* member : list->instanceMembers(instance))
                fill(member, instance);
        }
    }
}

int generate(const QString& a_schema, int a_modes, const QString& a_output)
{
    try {
        Orvex::WindowElement window(nullptr);
        Orvex::LumexTree tree(a_output);
        Orvex::SchemaParser schema(nullptr, &tree, nullptr, a_schema);
        CameraElement* camera = window.camera();
        schema.loadCamera(camera);
        for (FeatureElementBase* feature : camera->globalCategory()->features())
            fill(feature);
        Orvex::ModeElement* first = camera->mode(0);
        first->setName(QStringLiteral("Default"));
        for (Orvex::ModeCategoryElementBase* category : first->categories()) {
            if (auto* generic = qobject_cast<Orvex::GenericModeCategory*>(category))
                generic->categoryFeature()->setEnabled(true);
            for (FeatureElementBase* feature : category->features())
                fill(feature);
        }
        while (camera->modeCount() < a_modes)
            camera->appendMode(first->clone());

        Orvex::LumexPrinter printer(nullptr, &tree);
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

// The editor's load (file, schema, element tree, file into it), then its save.
int measure(const QString& a_schema, const QString& a_file)
{
    try {
        CpuStopwatch timer;
        Orvex::WindowElement window(nullptr);
        Orvex::LumexTree tree(a_file);
        Orvex::LumexParser parser(a_file, &tree, nullptr);
        double parseMs = timer.lapMs();
        Orvex::SchemaParser schema(nullptr, &tree, nullptr, a_schema);
        schema.loadCamera(window.camera());
        const double schemaMs = timer.lapMs();
        parser.parse(window.camera());
        parseMs += timer.lapMs();

        QTemporaryDir folder;
        Orvex::LumexPrinter printer(nullptr, &tree);
        printer.setSchemaPaths(a_schema, a_schema);
        printer.print(window.camera());
        if (!folder.isValid() || !printer.save(folder.filePath(QStringLiteral("written.lumex"))))
            return 1;
        const double printMs = timer.lapMs();
        std::printf("RESULT %f %f %f %ld\n", schemaMs, parseMs, printMs, peakResidentKiB());
        return 0;
    } catch (const std::exception& a_exception) {
        std::fprintf(stderr, "measurement failed: %s\n", a_exception.what());
        return 1;
    }
}

bool runChild(const QStringList& a_arguments, QByteArray* a_output)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), a_arguments);
    if (!child.waitForFinished(-1) || child.exitStatus() != QProcess::NormalExit || child.exitCode() != 0)
        return false;
    if (a_output)
        *a_output = child.readAllStandardOutput();
    return true;
}

bool timeXmllint(const QString& a_schema, const QString& a_file, Figures& a_figures)
{
    QProcess xmllint;
    xmllint.setProcessChannelMode(QProcess::MergedChannels);
    const double before = childrenMs();
    xmllint.start(QStringLiteral("xmllint"),
                  {QStringLiteral("--noout"), QStringLiteral("--schema"), a_schema, a_file});
    if (!xmllint.waitForFinished(-1) || xmllint.exitStatus() != QProcess::NormalExit)
        return false;
    a_figures.xmllintMs = std::min(a_figures.xmllintMs, childrenMs() - before);
    a_figures.valid = xmllint.exitCode() == 0;
    return true;
}

int runAll(const QString& a_schema, const QList<int>& a_sizes, int a_repeat)
{
    QTemporaryDir folder;
    if (!folder.isValid())
        return 1;
    std::printf("schema %s, processor time, best of %d\n\n", qPrintable(QDir::toNativeSeparators(a_schema)),
                a_repeat);
    std::printf("%6s %10s %14s %10s %14s %10s %11s %6s %13s %13s\n", "modes", "file KiB", "schema+tree ms",
                "parse ms", "print+write ms", "peak MiB", "xmllint ms", "valid", "load/xmllint",
                "save/xmllint");
    for (const int modes : a_sizes) {
        const QString file = folder.filePath(QStringLiteral("modes%1.lumex").arg(modes));
        if (!runChild({QStringLiteral("--generate"), QString::number(modes), file, QStringLiteral("--schema"),
                       a_schema},
                      nullptr)) {
            std::fprintf(stderr, "could not generate %d modes\n", modes);
            return 1;
        }
        Figures figures;
        figures.bytes = QFileInfo(file).size();
        for (int round = 0; round < a_repeat; ++round) {
            QByteArray output;
            if (!runChild({QStringLiteral("--measure"), file, QStringLiteral("--schema"), a_schema},
                          &output) ||
                !timeXmllint(a_schema, file, figures)) {
                std::fprintf(stderr, "could not measure %d modes\n", modes);
                return 1;
            }
            const QList<QByteArray> fields = output.mid(output.indexOf("RESULT ")).trimmed().split(' ');
            figures.schemaMs = std::min(figures.schemaMs, fields.value(1).toDouble());
            figures.parseMs = std::min(figures.parseMs, fields.value(2).toDouble());
            figures.printMs = std::min(figures.printMs, fields.value(3).toDouble());
            figures.peakKiB = std::max(figures.peakKiB, fields.value(4).toLong());
        }
        const double load = figures.schemaMs + figures.parseMs;
        std::printf("%6d %10.0f %14.1f %10.1f %14.1f %10.1f %11.1f %6s %12.2fx %12.2fx\n", modes,
                    double(figures.bytes) / 1024.0, figures.schemaMs, figures.parseMs, figures.printMs,
                    double(figures.peakKiB) / 1024.0, figures.xmllintMs, figures.valid ? "yes" : "no",
                    load / figures.xmllintMs, figures.printMs / figures.xmllintMs);
        std::fflush(stdout);
    }
    std::printf("\nload = schema+tree + parse; the ratios divide by the xmllint time of the same file.\n");
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(dropDiagnostics);
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    const auto option = [&arguments](const char* a_name, int a_offset = 1) {
        const int index = arguments.indexOf(QLatin1String(a_name));
        return index < 0 ? QString() : arguments.value(index + a_offset);
    };

    QString schema = option("--schema");
    if (schema.isEmpty())
        schema =
            QFileInfo(QStringLiteral(__FILE__)).dir().filePath(QStringLiteral("../config/Pld/LUMEX-CXP.xsd"));
    schema = QFileInfo(schema).absoluteFilePath();

    if (arguments.contains(QLatin1String("--generate")))
        return generate(schema, option("--generate").toInt(), option("--generate", 2));
    if (arguments.contains(QLatin1String("--measure")))
        return measure(schema, option("--measure"));

    QList<int> sizes;
    for (const QString& size :
         (option("--sizes").isEmpty() ? QStringLiteral("10,100,1000") : option("--sizes"))
             .split(QLatin1Char(','), Qt::SkipEmptyParts))
        sizes << size.toInt();
    const int repeat = std::max(1, option("--repeat").isEmpty() ? 3 : option("--repeat").toInt());
    return runAll(schema, sizes, repeat);
}
