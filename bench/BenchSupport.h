// What the benchmarks that start tarnd share.
#pragma once

#include <limits.h>
#include <unistd.h>

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace tarnbench {

// The build tree of the running benchmark (the parent of its bin/), where
// tarnd, the tools and the plug-ins are.
inline std::filesystem::path buildDir() {
    char exe[PATH_MAX] = {};
    ssize_t n = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
    return std::filesystem::path(std::string(exe, n > 0 ? static_cast<std::size_t>(n) : 0))
        .parent_path()
        .parent_path();
}

// CPU time of all threads of a process so far, in seconds (the scheduler's
// run time of each thread): what a request costs the server, which the other
// load of a shared machine does not change much.
inline double cpuSeconds(pid_t pid) {
    std::uint64_t ns = 0;
    std::error_code ec;
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task", ec)) {
        std::ifstream in(task.path() / "schedstat");
        std::uint64_t run = 0;
        if (in >> run) {
            ns += run;
        }
    }
    return static_cast<double>(ns) / 1e9;
}

}  // namespace tarnbench
