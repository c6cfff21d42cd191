#include "service/metrics/ProcessMetrics.h"

#include "service/base/Clock.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/resource.h>
#include <unistd.h>

namespace kelvo::metrics {

namespace {

/** The pages of /proc/self/statm: 0 all, 1 resident. */
double memoryBytes(int field)
{
    std::ifstream statm("/proc/self/statm");
    double pages = 0;
    for (int i = 0; i <= field; ++i) {
        statm >> pages;
    }
    return pages * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

double cpuSeconds()
{
    rusage used{};
    ::getrusage(RUSAGE_SELF, &used);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

double openFiles()
{
    std::error_code none;
    const std::filesystem::directory_iterator entries("/proc/self/fd", none);
    return static_cast<double>(std::distance(begin(entries), end(entries)));
}

double mostFiles()
{
    rlimit files{};
    ::getrlimit(RLIMIT_NOFILE, &files);
    return static_cast<double>(files.rlim_cur);
}

} // namespace

void showProcess(Metrics& metrics)
{
    const auto startS = static_cast<double>(SystemClock().nowMs()) / 1000;
    metrics.show("process_cpu_seconds_total", "counter", "CPU time, in seconds.", cpuSeconds);
    metrics.show("process_resident_memory_bytes", "gauge", "Resident memory.",
                 [] { return memoryBytes(1); });
    metrics.show("process_virtual_memory_bytes", "gauge", "Virtual memory.",
                 [] { return memoryBytes(0); });
    metrics.show("process_open_fds", "gauge", "Open file descriptors.", openFiles);
    metrics.show("process_max_fds", "gauge", "Limit of open file descriptors.", mostFiles);
    metrics.show("process_start_time_seconds", "gauge", "Start, in seconds since 1970.",
                 [startS] { return startS; });
}

} // namespace kelvo::metrics
