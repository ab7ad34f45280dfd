#pragma once

#include <QString>

#include <ctime>

class QMessageLogContext;

// What the benchmarks share: fully populated camera files of any number of modes, the xmllint
// reference, and processor-time and peak-memory readings.
namespace Orvex::Bench {

// The shipped CoaXPress schema, found beside the benchmark sources.
QString defaultSchema();

// Writes a file of a_modes modes with every feature of a_schema present, repeatable ones twice, with
// values the schema validates. Returns 0 on success, for use as a child process's exit code.
int generateCameraFile(const QString& a_schema, int a_modes, const QString& a_output);

// Processor time (user and system) of xmllint validating a_file against a_schema; negative when
// xmllint could not be run. a_valid tells whether it accepted the file.
double xmllintMs(const QString& a_schema, const QString& a_file, bool* a_valid);

// VmHWM of this process, -1 when unknown.
long peakResidentKiB();

// Keeps the benchmark output to its figures: the editor reports every step of a load in debug messages.
void dropDiagnostics(QtMsgType a_type, const QMessageLogContext& a_context, const QString& a_message);

// Processor time of this process, so that other work on a shared machine does not count.
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

} // namespace Orvex::Bench
