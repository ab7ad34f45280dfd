#include "platform/Lumex.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <string>

namespace {

constexpr int ModeCount = 1000;
constexpr int CategoriesPerMode = 10;
constexpr int FeaturesPerCategory = 30;

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

class Stopwatch
{
public:
    double lapMs()
    {
        const auto now = std::chrono::steady_clock::now();
        const double elapsed = std::chrono::duration<double, std::milli>(now - m_start).count();
        m_start = now;
        return elapsed;
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

void report(const char* a_phase, double a_ms)
{
    std::printf("%-8s %10.1f ms   peak RSS %8ld KiB\n", a_phase, a_ms, peakResidentKiB());
}

// Indents like a hand-edited camera file, so that white-space text nodes are part of the load.
void indent(Lumex::CamProperty& a_parent, int a_depth)
{
    a_parent.push_back(Lumex::CamProperty::TextNode)
        .set(("\n" + std::string(std::size_t(a_depth) * 2, ' ')).c_str());
}

void build(Lumex::CamFile& a_file)
{
    Lumex::CamProperty root = a_file.root();
    root.set("xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance");
    root.set("xsi:noNamespaceSchemaLocation", "camera.xsd");
    indent(root, 1);
    Lumex::CamProperty camera = root.push_back("camera");
    indent(camera, 2);
    camera.push_back("features").push_back("standard").set("CameraLink");
    indent(camera, 2);
    Lumex::CamProperty modes = camera.push_back("modes");
    for (int m = 0; m < ModeCount; ++m) {
        indent(modes, 3);
        Lumex::CamProperty mode = modes.push_back("mode");
        mode.set("name", ("Mode " + std::to_string(m)).c_str());
        for (int c = 0; c < CategoriesPerMode; ++c) {
            indent(mode, 4);
            Lumex::CamProperty category = mode.push_back(("category" + std::to_string(c)).c_str());
            for (int f = 0; f < FeaturesPerCategory; ++f) {
                indent(category, 5);
                Lumex::CamProperty feature = category.push_back(("feature" + std::to_string(f)).c_str());
                feature.set("index", std::to_string(f).c_str());
                feature.set(std::to_string(m * 1000 + c * 100 + f).c_str());
            }
            indent(category, 4);
        }
        indent(mode, 3);
    }
    indent(modes, 2);
    indent(camera, 1);
    indent(root, 0);
}

// Reads every feature the way the camera file parser does; the sum keeps the work observable.
long long walk(const Lumex::CamFile& a_file, long long& a_features)
{
    long long sum = 0;
    const Lumex::ConstCamProperty modes = a_file.root()["camera"]["modes"];
    for (auto mode = modes.begin("mode"); mode != modes.end("mode"); ++mode) {
        for (const Lumex::ConstCamProperty& category : mode->property()) {
            if (category.is(Lumex::CamProperty::TextNode | Lumex::CamProperty::CommentNode |
                            Lumex::CamProperty::OtherNode))
                continue;
            for (const Lumex::ConstCamProperty& feature : category.property()) {
                if (feature.is(Lumex::CamProperty::TextNode))
                    continue;
                int index = 0;
                if (feature.get("index", index))
                    sum += index;
                sum += std::atoll(feature.get());
                ++a_features;
            }
        }
    }
    return sum;
}

} // namespace

int main()
{
    QTemporaryDir folder;
    if (!folder.isValid()) {
        std::fprintf(stderr, "no temporary folder\n");
        return 1;
    }
    const QByteArray path = QFile::encodeName(folder.filePath(QStringLiteral("bench.lumex")));
    std::printf("%d modes x %d features\n", ModeCount, CategoriesPerMode * FeaturesPerCategory);
    report("start", 0.0);

    Stopwatch watch;
    {
        Lumex::CamFile built("quarnel_config", 2);
        build(built);
        report("build", watch.lapMs());
        const Lumex::Error written = built.write(path.constData());
        if (!written) {
            std::fprintf(stderr, "write failed: %s\n", written.message());
            return 1;
        }
        report("write", watch.lapMs());
    }
    std::printf("file size %lld bytes\n", static_cast<long long>(QFileInfo(QFile::decodeName(path)).size()));
    watch.lapMs();

    Lumex::CamFile loaded;
    const Lumex::Error result = loaded.load(path.constData(), Lumex::CamFile::SourcePath);
    if (!result) {
        std::fprintf(stderr, "load failed: %s\n", result.message());
        return 1;
    }
    report("load", watch.lapMs());

    long long features = 0;
    const long long sum = walk(loaded, features);
    report("walk", watch.lapMs());
    std::printf("features read %lld (checksum %lld)\n", features, sum);
    return features == static_cast<long long>(ModeCount) * CategoriesPerMode * FeaturesPerCategory ? 0 : 1;
}
