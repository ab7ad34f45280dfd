#include "BenchFind.h"

#include "BenchCameraFiles.h"
#include "app/FindDock.h"
#include "elements/FeatureComparison.h"
#include "elements/FeatureSearch.h"
#include "fileio/CameraFileSession.h"

#include <QDir>
#include <QFileInfo>
#include <QList>

#include <cstdio>

namespace Orvex::Bench {

namespace {

constexpr double FirstResultsLimitMs = 50.0;
constexpr double AllResultsLimitMs = 200.0;
constexpr double CompareToLoadRatio = 2.0;

// A word that stands in names and values of every mode, so that the search has matches to collect all
// the way through.
const QString s_searched = QStringLiteral("Exposure");

} // namespace

int measureFind(const QString& a_schema, const QString& a_file)
{
    const QString clSchema = QDir(QFileInfo(a_schema).dir().filePath(QStringLiteral("..")))
                                 .filePath(QStringLiteral("Vrm/LUMEX-CL.xsd"));
    CameraFileSession left;
    CameraFileSession right;
    CpuStopwatch watch;
    left.load(a_file, a_schema, clSchema, nullptr);
    const double leftLoadMs = watch.lapMs();
    right.load(a_file, a_schema, clSchema, nullptr);
    const double rightLoadMs = watch.lapMs();
    if (!left.isLoaded() || !right.isLoaded())
        return 1;

    FeatureSearch::Options options;
    options.text = s_searched;
    watch.lapMs();
    FeatureSearch search(left.camera(), options);
    while (search.matches().isEmpty() && search.searchNext(FindDock::ScopesPerTurn)) {
    }
    const double firstMs = watch.lapMs();
    const int all = FeatureSearch::findAll(left.camera(), options).size();
    const double allMs = watch.lapMs();
    const int rows = FeatureComparison::compareCameras(left.camera(), right.camera(), true).size();
    const double compareMs = watch.lapMs();
    std::printf("FIND %f %f %f %f %f %d %d\n", firstMs, allMs, compareMs, leftLoadMs, rightLoadMs, all, rows);
    return all > 0 && rows > 0 ? 0 : 1;
}

int printFindRows(const QByteArray& a_output, bool a_timesJudged)
{
    const QList<QByteArray> fields = a_output.mid(a_output.indexOf("FIND ")).trimmed().split(' ');
    const double firstMs = fields.value(1).toDouble();
    const double allMs = fields.value(2).toDouble();
    const double compareMs = fields.value(3).toDouble();
    const double loadsMs = fields.value(4).toDouble() + fields.value(5).toDouble();
    const double ratio = compareMs / loadsMs;
    const auto verdict = [](bool a_met) { return a_met ? "ok" : "MISSED"; };
    const auto timeRow = [&](const char* a_label, double a_ms, const QString& a_what, double a_limitMs) {
        if (!a_timesJudged) {
            std::printf("  %-22s %10.2f ms   %s\n", a_label, a_ms, qPrintable(a_what));
            return;
        }
        std::printf("  %-22s %10.2f ms   %s (target <= %.0f ms)  %s\n", a_label, a_ms, qPrintable(a_what),
                    a_limitMs, verdict(a_ms <= a_limitMs));
    };
    timeRow("find, first results", firstMs, QStringLiteral("\"%1\"").arg(s_searched), FirstResultsLimitMs);
    timeRow("find, all results", allMs, QStringLiteral("%1 matches").arg(fields.value(6).toInt()),
            AllResultsLimitMs);
    std::printf("  %-22s %10.1f ms   %d rows, %.2fx loading both (%.1f ms) (target <= %.0fx)  %s\n",
                "compare two files", compareMs, fields.value(7).toInt(), ratio, loadsMs, CompareToLoadRatio,
                verdict(ratio <= CompareToLoadRatio));
    return (a_timesJudged && firstMs > FirstResultsLimitMs) + (a_timesJudged && allMs > AllResultsLimitMs) +
           (ratio > CompareToLoadRatio);
}

} // namespace Orvex::Bench
