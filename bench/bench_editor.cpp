#include "BenchCameraFiles.h"
#include "BenchFind.h"
#include "app/Startup.h"
#include "app/Window.h"
#include "elements/CameraElement.h"
#include "elements/CategoryElementBase.h"
#include "elements/ModeCategoryElementBase.h"
#include "elements/ModeElement.h"
#include "elements/NumericFeature.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"
#include "fileio/ProblemList.h"
#include "widgets/DialogSeam.h"
#include "widgets/KeptDrawingStyle.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMessageBox>
#include <QProcess>
#include <QTabWidget>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <limits>

// The editor as a user meets it, on camera files of 100, 1,000 and 10,000 fully populated modes: opening
// a file until the window shows its first page laid out, the first visit of every category page and a
// return to the slowest of them, the switch to the last mode (its first showing, the tree of modes opened to
// it), one value edit with its undo and redo, saving and closing, beside xmllint validating the same file;
// the problem check after open against the open itself, and its update after one edit; then finding across
// the file and comparing it with a second copy of itself.
//
//   bench_editor [--schema XSD] [--repeat N] [--sizes 100,1000,10000]
//   bench_editor --measure FILE [--schema XSD]
//
// Each file is measured in a child process of its own, so that the peak resident size (VmHWM) holds
// nothing of another measurement nor of the generation. Times are processor time of the process, the
// best of the repeats; wall-clock times, which other work on a shared machine inflates, are printed
// beside the latencies a user waits for.

namespace {

using Orvex::Bench::CpuStopwatch;

constexpr double OpenRatio = 3.0;
// The peak is judged at this size, against the file's own size.
constexpr int PeakModes = 1000;
constexpr double PeakPerFileByte = 30.0;
constexpr double VisitLimitMs = 2.0;
constexpr double EditLimitMs = 2.0;
constexpr double SaveRatio = 2.0;
// Closing is judged at this size.
constexpr int CloseModes = 1000;
// The search's first and all results are judged at this size.
constexpr int FindModes = 1000;
constexpr double CloseLimitMs = 100.0;
// The problem check after open, against the open itself; the update after one edit.
constexpr double CheckShareOfOpen = 0.25;
constexpr double UpdateLimitMs = 1.0;

struct Lap
{
    double cpuMs = std::numeric_limits<double>::max();
    double wallMs = std::numeric_limits<double>::max();

    void keepBest(const Lap& a_other)
    {
        cpuMs = std::min(cpuMs, a_other.cpuMs);
        wallMs = std::min(wallMs, a_other.wallMs);
    }
};

// Hands the event loop everything queued, layouts and deferred deletions included, until a pass finds
// nothing left to do.
void settle()
{
    QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    int quietPasses = 0;
    for (int pass = 0; pass < 10000 && quietPasses < 2; ++pass) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        quietPasses = dispatcher->processEvents(QEventLoop::AllEvents) ? 0 : quietPasses + 1;
    }
}

template <typename Step>
Lap timed(Step a_step)
{
    QElapsedTimer wall;
    wall.start();
    CpuStopwatch cpu;
    a_step();
    settle();
    Lap lap;
    lap.cpuMs = cpu.lapMs();
    lap.wallMs = double(wall.nsecsElapsed()) / 1e6;
    return lap;
}

bool laidOut(const Orvex::CategoryElementBase* a_category)
{
    const QWidget* page = a_category ? a_category->widget() : nullptr;
    return page && page->isVisible() && page->width() > 0 && page->height() > 0;
}

// Visits every tab of the page shown, each for the first time; returns the slowest visit.
bool visitTabs(Orvex::Window& a_window, Lap* a_slowest, QString* a_slowestName, int* a_visits)
{
    QTabWidget* tabs = a_window.categoryTabs();
    const int start = tabs->currentIndex();
    for (int offset = 1; offset < tabs->count(); ++offset) {
        const int tab = (start + offset) % tabs->count();
        const Lap lap = timed([&] { tabs->setCurrentIndex(tab); });
        if (!laidOut(a_window.tabCategory(tab)))
            return false;
        ++*a_visits;
        if (a_slowest->cpuMs == std::numeric_limits<double>::max() || lap.cpuMs > a_slowest->cpuMs) {
            *a_slowest = lap;
            *a_slowestName = tabs->tabText(tab);
        }
    }
    return true;
}

// A number of the shown category that the user may change, with a value other than its own that its
// range allows.
Orvex::NumericFeature* editableNumber(Orvex::CategoryElementBase* a_category, QVariant* a_newValue)
{
    for (Orvex::FeatureElementBase* feature : a_category->features()) {
        auto* number = qobject_cast<Orvex::NumericFeature*>(feature);
        if (!number || !number->isEnabled() || number->fixedValue().isValid() || !number->widget())
            continue;
        const double current = number->value(0).toDouble();
        for (const double step : {1.0, -1.0}) {
            const QVariant candidate = number->boundedValue(current + step);
            if (candidate.isValid() && candidate.toDouble() != current) {
                *a_newValue = candidate;
                return number;
            }
        }
    }
    return nullptr;
}

int measure(const QString& a_schema, const QString& a_file)
{
    Orvex::DialogSeam::setTestMode(true);
    const QString config = QFileInfo(a_schema).dir().filePath(QStringLiteral(".."));
    Orvex::Window window;
    window.setConfigPath(config);
    window.setCxpXsdPath(a_schema);
    window.setClXsdPath(QDir(config).filePath(QStringLiteral("Vrm/LUMEX-CL.xsd")));
    window.show();
    settle();

    bool opened = false;
    const Lap open = timed([&] { opened = window.openFile(a_file); });
    QTabWidget* tabs = window.categoryTabs();
    if (!opened || !window.isVisible() || tabs->count() == 0 ||
        !laidOut(window.tabCategory(tabs->currentIndex()))) {
        std::fprintf(stderr, "the file did not open onto a laid out page\n");
        return 1;
    }

    // The global page first, then the last mode's, whose categories come from the far end of the file.
    Lap visit;
    QString visitName;
    int visits = 0;
    Orvex::CameraElement* camera = window.windowElement()->camera();
    Orvex::ModeElement* mode = camera->mode(camera->modeCount() - 1);
    bool visited = visitTabs(window, &visit, &visitName, &visits);
    const Lap switchMode = timed([&] { camera->activateMode(mode); });
    visited = visited && visitTabs(window, &visit, &visitName, &visits);
    if (!visited || visits == 0) {
        std::fprintf(stderr, "a category page was not laid out on its first visit\n");
        return 1;
    }

    // Back to the slowest page, built and seen before: what every later switch of tab costs.
    int slowestTab = 0;
    for (int tab = 0; tab < tabs->count(); ++tab) {
        if (tabs->tabText(tab) == visitName)
            slowestTab = tab;
    }
    tabs->setCurrentIndex(slowestTab == 0 ? 1 : 0);
    settle();
    const Lap revisit = timed([&] { tabs->setCurrentIndex(slowestTab); });

    // The check the window runs after every open, again on its own, and its update after one edit below.
    Orvex::ProblemList problems;
    const Lap check = timed([&] {
        problems.attach(camera, window.documentTree(), Orvex::CameraValidator::readSchema(a_schema));
    });

    Orvex::NumericFeature* number = nullptr;
    QVariant edited;
    for (int tab = 0; !number && tab < tabs->count(); ++tab) {
        tabs->setCurrentIndex(tab);
        settle();
        if (Orvex::CategoryElementBase* category = window.tabCategory(tab))
            number = editableNumber(category, &edited);
    }
    if (!number) {
        std::fprintf(stderr, "no number to edit on the last mode's pages\n");
        return 1;
    }
    const QVariant original = number->value(0);
    Orvex::UndoRedoStack* history = window.windowElement()->undoRedoStack();
    const Lap edit = timed([&] { number->userSetValue(0, edited); });
    const bool editApplied = number->value(0) == edited && history->index() > 0;
    const Lap undo = timed([&] { history->unapply(); });
    const bool undoApplied = number->value(0) == original;
    const Lap redo = timed([&] { history->reapply(); });
    if (!editApplied || !undoApplied || number->value(0) != edited) {
        std::fprintf(stderr, "the edit, its undo or its redo did not take effect\n");
        return 1;
    }

    number->userSetValue(0, original);
    settle();
    number->userSetValue(0, edited);
    settle();
    const Lap update = timed([&] { problems.refresh(number->windowElement()->camera()->currentMode()); });
    settle();

    QTemporaryDir folder;
    bool saved = false;
    const QString written = folder.filePath(QStringLiteral("saved.lumex"));
    const Lap save = timed([&] { saved = folder.isValid() && window.saveTo(written); });
    if (!saved) {
        std::fprintf(stderr, "saving failed\n");
        return 1;
    }
    // Any question about unsaved changes is answered with Discard, which is what closing costs most.
    Orvex::DialogSeam::queueAnswer(QMessageBox::Discard);
    bool closed = false;
    const Lap close = timed([&] { closed = window.closeDocument(); });
    if (!closed || window.windowElement()) {
        std::fprintf(stderr, "closing failed\n");
        return 1;
    }
    std::printf("RESULT %f %f %f %f %f %f %f %f %f %f %f %f %ld %d %s %f %f %f %f %f %f %f %f %f %f\n",
                open.cpuMs, open.wallMs, visit.cpuMs, visit.wallMs, edit.cpuMs, edit.wallMs, undo.cpuMs,
                undo.wallMs, redo.cpuMs, redo.wallMs, save.cpuMs, save.wallMs,
                Orvex::Bench::peakResidentKiB(), visits,
                qPrintable(QString(visitName).replace(QLatin1Char(' '), QLatin1Char('_'))), check.cpuMs,
                check.wallMs, update.cpuMs, update.wallMs, close.cpuMs, close.wallMs, switchMode.cpuMs,
                switchMode.wallMs, revisit.cpuMs, revisit.wallMs);
    return 0;
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

const char* verdict(bool a_met)
{
    return a_met ? "ok" : "MISSED";
}

void printRatioRow(const char* a_what, const Lap& a_lap, double a_xmllintMs, double a_limit)
{
    const double ratio = a_lap.cpuMs / a_xmllintMs;
    std::printf("  %-22s %10.1f ms %10.1f ms wall   %6.2fx xmllint (target <= %.0fx)  %s\n", a_what,
                a_lap.cpuMs, a_lap.wallMs, ratio, a_limit, verdict(ratio <= a_limit));
}

void printLatencyRow(const char* a_what, const Lap& a_lap, double a_limitMs)
{
    std::printf("  %-22s %10.2f ms %10.2f ms wall   (target <= %.0f ms)  %s\n", a_what, a_lap.cpuMs,
                a_lap.wallMs, a_limitMs, verdict(a_lap.cpuMs <= a_limitMs));
}

int runAll(const QString& a_schema, const QList<int>& a_sizes, int a_repeat)
{
    QTemporaryDir folder;
    if (!folder.isValid())
        return 1;
    std::printf("schema %s, processor time (targets judged on it), best of %d\n",
                qPrintable(QDir::toNativeSeparators(a_schema)), a_repeat);
    int missed = 0;
    for (const int modes : a_sizes) {
        const QString file = folder.filePath(QStringLiteral("modes%1.lumex").arg(modes));
        if (!runChild({QStringLiteral("--generate"), QString::number(modes), file, QStringLiteral("--schema"),
                       a_schema},
                      nullptr)) {
            std::fprintf(stderr, "could not generate %d modes\n", modes);
            return 1;
        }
        Lap open, visit, revisit, switchMode, edit, undo, redo, save, check, update, close;
        long peakKiB = 0;
        int visits = 0;
        QString visitName;
        double xmllint = std::numeric_limits<double>::max();
        bool valid = false;
        for (int round = 0; round < a_repeat; ++round) {
            QByteArray output;
            if (!runChild({QStringLiteral("--measure"), file, QStringLiteral("--schema"), a_schema},
                          &output)) {
                std::fprintf(stderr, "could not measure %d modes\n", modes);
                return 1;
            }
            const double reference = Orvex::Bench::xmllintMs(a_schema, file, &valid);
            if (reference < 0) {
                std::fprintf(stderr, "could not run xmllint\n");
                return 1;
            }
            xmllint = std::min(xmllint, reference);
            const QList<QByteArray> fields = output.mid(output.indexOf("RESULT ")).trimmed().split(' ');
            const auto lap = [&fields](int a_first) {
                Lap read;
                read.cpuMs = fields.value(a_first).toDouble();
                read.wallMs = fields.value(a_first + 1).toDouble();
                return read;
            };
            open.keepBest(lap(1));
            // The slowest page of a round counts; of the rounds, the best.
            if (lap(3).cpuMs < visit.cpuMs)
                visitName = QString::fromUtf8(fields.value(15));
            visit.keepBest(lap(3));
            edit.keepBest(lap(5));
            undo.keepBest(lap(7));
            redo.keepBest(lap(9));
            save.keepBest(lap(11));
            check.keepBest(lap(16));
            update.keepBest(lap(18));
            close.keepBest(lap(20));
            switchMode.keepBest(lap(22));
            revisit.keepBest(lap(24));
            peakKiB = std::max(peakKiB, fields.value(13).toLong());
            visits = fields.value(14).toInt();
        }
        const double fileKiB = double(QFileInfo(file).size()) / 1024.0;
        const bool peakJudged = modes == PeakModes;
        const bool peakMet = double(peakKiB) <= PeakPerFileByte * fileKiB;
        std::printf("\n%d modes, file %.0f KiB, xmllint %.1f ms (%s)\n", modes, fileKiB, xmllint,
                    valid ? "valid" : "INVALID");
        printRatioRow("open to first page", open, xmllint, OpenRatio);
        std::printf("  %-22s %10.1f MiB %10.1fx file size%s\n", "peak memory", double(peakKiB) / 1024.0,
                    double(peakKiB) / fileKiB,
                    peakJudged
                        ? qPrintable(QStringLiteral("             (target <= %1x)  ").arg(PeakPerFileByte) +
                                     QLatin1String(verdict(peakMet)))
                        : "");
        printLatencyRow("first category visit", visit, VisitLimitMs);
        std::printf("  %-22s slowest of %d pages: %s\n", "", visits, qPrintable(visitName));
        std::printf("  %-22s %10.2f ms %10.2f ms wall\n", "return to that page", revisit.cpuMs,
                    revisit.wallMs);
        std::printf("  %-22s %10.2f ms %10.2f ms wall\n", "switch to last mode", switchMode.cpuMs,
                    switchMode.wallMs);
        printLatencyRow("value edit", edit, EditLimitMs);
        printLatencyRow("undo", undo, EditLimitMs);
        printLatencyRow("redo", redo, EditLimitMs);
        printRatioRow("save", save, xmllint, SaveRatio);
        std::printf("  %-22s %10.1f ms %10.1f ms wall   %6.2fx open (target <= %.2fx)  %s\n", "problem check",
                    check.cpuMs, check.wallMs, check.cpuMs / open.cpuMs, CheckShareOfOpen,
                    verdict(check.cpuMs <= CheckShareOfOpen * open.cpuMs));
        printLatencyRow("problem update", update, UpdateLimitMs);
        if (modes == CloseModes)
            printLatencyRow("close", close, CloseLimitMs);
        else
            std::printf("  %-22s %10.2f ms %10.2f ms wall\n", "close", close.cpuMs, close.wallMs);
        QByteArray found;
        if (!runChild({QStringLiteral("--find"), file, QStringLiteral("--schema"), a_schema}, &found)) {
            std::fprintf(stderr, "could not find in %d modes\n", modes);
            return 1;
        }
        missed += Orvex::Bench::printFindRows(found, modes == FindModes);
        missed += (open.cpuMs / xmllint > OpenRatio) + (peakJudged && !peakMet) +
                  (visit.cpuMs > VisitLimitMs) + (edit.cpuMs > EditLimitMs) + (undo.cpuMs > EditLimitMs) +
                  (redo.cpuMs > EditLimitMs) + (save.cpuMs / xmllint > SaveRatio) +
                  (check.cpuMs > CheckShareOfOpen * open.cpuMs) + (update.cpuMs > UpdateLimitMs) +
                  (modes == CloseModes && close.cpuMs > CloseLimitMs);
        std::fflush(stdout);
    }
    std::printf(
        "\n%d target(s) missed. Open runs from openFile() until the event loop is idle with the first "
        "page laid out, close from closeDocument() until it is idle with the document gone; every step "
        "includes the event processing it causes.\n",
        missed);
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    // The editor's own start-up settings, so that the figures are the editor's.
    Orvex::Startup::tunePainting(argv);
    Orvex::Startup::tuneAllocator();
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(Orvex::Bench::dropDiagnostics);
    QApplication application(argc, argv);
    Orvex::KeptDrawingStyle::install();
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
    if (arguments.contains(QLatin1String("--find")))
        return Orvex::Bench::measureFind(schema, option("--find"));
    if (arguments.contains(QLatin1String("--measure")))
        return measure(schema, option("--measure"));

    QList<int> sizes;
    for (const QString& size :
         (option("--sizes").isEmpty() ? QStringLiteral("100,1000,10000") : option("--sizes"))
             .split(QLatin1Char(','), Qt::SkipEmptyParts))
        sizes << size.toInt();
    const int repeat = std::max(1, option("--repeat").isEmpty() ? 1 : option("--repeat").toInt());
    return runAll(schema, sizes, repeat);
}
