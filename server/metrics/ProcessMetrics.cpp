#include "metrics/ProcessMetrics.h"

#include <dirent.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>

namespace tarn {

namespace {

// Resident pages from /proc/self/statm (its second field).
double residentBytes() {
    std::ifstream statm("/proc/self/statm");
    unsigned long long size = 0;
    unsigned long long resident = 0;
    if (!(statm >> size >> resident)) {
        return 0;
    }
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

double cpuSeconds() {
    struct rusage u {};
    if (::getrusage(RUSAGE_SELF, &u) != 0) {
        return 0;
    }
    auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    return seconds(u.ru_utime) + seconds(u.ru_stime);
}

std::uint64_t openDescriptors() {
    DIR* d = ::opendir("/proc/self/fd");
    if (!d) {
        return 0;
    }
    std::uint64_t n = 0;
    while (const dirent* e = ::readdir(d)) {
        if (e->d_name[0] != '.') {
            ++n;
        }
    }
    ::closedir(d);
    return n > 0 ? n - 1 : 0;  // less the one opendir holds
}

// The process's start, from its start tick in /proc/self/stat and the boot time.
double startTime() {
    static const double start = [] {
        std::ifstream stat("/proc/self/stat");
        std::string line;
        std::getline(stat, line);
        auto close = line.rfind(')');
        if (close == std::string::npos) {
            return 0.0;
        }
        std::istringstream fields(line.substr(close + 2));
        std::string field;
        unsigned long long ticks = 0;
        // Field 22 of the line; fields counts from field 3 (the state).
        for (int i = 3; i <= 22 && fields >> field; ++i) {
            if (i == 22) {
                ticks = std::stoull(field);
            }
        }
        std::ifstream procStat("/proc/stat");
        std::string key;
        double boot = 0;
        while (procStat >> key) {
            if (key == "btime") {
                procStat >> boot;
                break;
            }
        }
        return boot + static_cast<double>(ticks) / static_cast<double>(::sysconf(_SC_CLK_TCK));
    }();
    return start;
}

}  // namespace

void ProcessMetrics::collect(MetricsWriter& w) {
    using T = MetricsWriter::Type;
    w.family("process_resident_memory_bytes", T::Gauge, "Resident memory size in bytes.");
    w.sample({}, residentBytes());
    w.family("process_cpu_seconds_total", T::Counter, "User and system CPU time spent in seconds.");
    w.sample({}, cpuSeconds());
    w.family("process_open_fds", T::Gauge, "Number of open file descriptors.");
    w.sample({}, openDescriptors());
    w.family("process_start_time_seconds", T::Gauge,
             "Start time of the process since the epoch in seconds.");
    w.sample({}, startTime());
}

}  // namespace tarn
