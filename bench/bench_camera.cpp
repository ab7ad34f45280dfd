// The preview on a camera reached through Aravis: a continuous run of a 512x512 Mono8 mode for a fixed
// time, then the frame rate the preview held, the counters and the processor time the whole process
// spent. ORVEX_CAMERAS chooses the links (default "Fake", the in-process camera; "GigEVision" finds
// arv-fake-gv-camera-0.8 -i 127.0.0.1 when it runs). Argument: seconds to run (default 10).
#include "board/PreviewAcqIf.h"
#include "platform/CameraSettings.h"
#include "platform/QNDriver.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace {

double processorSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

} // namespace

int main(int a_argc, char** a_argv)
{
    QCoreApplication application(a_argc, a_argv);
    const double seconds = a_argc > 1 ? std::atof(a_argv[1]) : 10.0;
    const char* interfaces = std::getenv("ORVEX_CAMERAS");
    QNCamSetInterfaces(interfaces ? interfaces : "Fake");
    QTemporaryDir dir;
    QFile file(dir.filePath("bench.lumex"));
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(
            R"(<quarnel_config><camera><modes><mode name="Full"><Sensor><Width>512</Width><Height>512</Height>
<PixelFormat>Mono8</PixelFormat></Sensor><Timing><FrameRate>1000</FrameRate></Timing></mode></modes></camera></quarnel_config>)") <
            0)
        return 1;
    file.close();
    QNSimSetConfigDir(QFile::encodeName(dir.path()).constData());

    HwBrdEntry entry;
    HwBrdHandle handle = HwNoBoard;
    unsigned board = 0;
    while (HwSysBrdFind(HwSelectorFrameGrabber, board, &entry) == 0) {
        if (HwBrdOpen(&entry, &handle, HwOpenDataSource) == 0 && QNIsCamera(handle))
            break;
        HwBrdClose(handle);
        handle = HwNoBoard;
        ++board;
    }
    if (handle == HwNoBoard) {
        std::fprintf(stderr, "no camera found\n");
        return 1;
    }
    Orvex::PreviewAcqIf acquisition(board, file.fileName(), QStringLiteral("Full"));
    if (!acquisition.setupMode(QStringLiteral("Full")) || !acquisition.start()) {
        std::fprintf(stderr, "the preview did not start: %s\n", acquisition.lastFailure().m_text.c_str());
        return 1;
    }
    const double processorBefore = processorSeconds();
    QElapsedTimer timer;
    timer.start();
    double rateSum = 0;
    int rateSamples = 0;
    while (timer.elapsed() < seconds * 1000) {
        QThread::msleep(250);
        rateSum += acquisition.frameRate();
        ++rateSamples;
    }
    const quint64 delivered = acquisition.framesDelivered();
    const double wall = timer.elapsed() / 1000.0;
    const double processor = processorSeconds() - processorBefore;
    acquisition.stop();
    QNInterruptCounters counters;
    QNInterruptGetCounters(handle, &counters);
    std::printf("camera board %u, 512x512 Mono8, %.1f s\n", board, wall);
    std::printf("delivered %llu frames: %.1f frames/s; shown rate (mean) %.1f fps\n",
                static_cast<unsigned long long>(delivered), delivered / wall,
                rateSamples ? rateSum / rateSamples : 0.0);
    std::printf("dropped %llu, failed %llu\n", static_cast<unsigned long long>(counters.m_framesDropped),
                static_cast<unsigned long long>(counters.m_errors));
    std::printf("processor time %.2f s (%.1f %% of one core)\n", processor, 100.0 * processor / wall);
    HwBrdClose(handle);
    return 0;
}
