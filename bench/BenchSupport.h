// What the benchmarks that start tarnd share.
#pragma once

#include <limits.h>
#include <unistd.h>

#include <filesystem>
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

}  // namespace tarnbench
