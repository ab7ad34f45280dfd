#include "BenchCameraFiles.h"
#include "elements/CameraElement.h"
#include "elements/WindowElement.h"
#include "fileio/LumexParser.h"
#include "fileio/LumexPrinter.h"
#include "fileio/SchemaParser.h"
#include "model/LumexTree.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

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

using Orvex::Bench::CpuStopwatch;
using Orvex::Bench::peakResidentKiB;

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
    bool valid = false;
    const double ms = Orvex::Bench::xmllintMs(a_schema, a_file, &valid);
    if (ms < 0)
        return false;
    a_figures.xmllintMs = std::min(a_figures.xmllintMs, ms);
    a_figures.valid = valid;
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
    qInstallMessageHandler(Orvex::Bench::dropDiagnostics);
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    const auto option = [&arguments](const char* a_name, int a_offset = 1) {
        const int index = arguments.indexOf(QLatin1String(a_name));
        return index < 0 ? QString() : arguments.value(index + a_offset);
    };

    QString schema = option("--schema");
    schema = schema.isEmpty() ? Orvex::Bench::defaultSchema() : QFileInfo(schema).absoluteFilePath();

    if (arguments.contains(QLatin1String("--generate")))
        return Orvex::Bench::generateCameraFile(schema, option("--generate").toInt(),
                                                option("--generate", 2));
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
