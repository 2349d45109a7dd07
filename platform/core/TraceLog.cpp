#include "tarn/TraceLog.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <vector>

#include "tarn/LogCapture.h"
#include "vela/TARNConfigManager.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

struct State {
    std::mutex m;
    std::FILE* file = nullptr;  // null: stderr
    VELString path;
    std::uint64_t maxSize = TraceLog::DEFAULT_MAX_FILE_SIZE;
    std::uint64_t written = 0;
    std::vector<LogCapture*> captures;
};

State& state() {
    static State* s = new State;  // never destroyed: logging may run during static destruction
    return *s;
}

std::atomic<int> g_level{TraceLog::DEFAULT_LEVEL};
std::atomic<int> g_captureCount{0};

long threadId() {
    thread_local long tid = static_cast<long>(::syscall(SYS_gettid));
    return tid;
}

void rotateLocked(State& s) {
    if (!s.file) {
        return;
    }
    std::fclose(s.file);
    std::error_code ec;
    std::filesystem::rename(s.path.str(), s.path.str() + ".1", ec);
    s.file = std::fopen(s.path.c_str(), "a");
    s.written = 0;
}

}  // namespace

void TraceLog::setLevel(int level) {
    g_level.store(level, std::memory_order_relaxed);
}

int TraceLog::getLevel() {
    return g_level.load(std::memory_order_relaxed);
}

void TraceLog::openFile(const VELString& path, std::uint64_t maxFileSize) {
    if (path.isNull()) {
        useStderr();
        return;
    }
    std::FILE* f = std::fopen(path.c_str(), "a");
    if (!f) {
        throw VelaBaseException("IO", "tarn::TraceLog", "openFile",
                                "cannot open trace file '" + path + "' for appending", 1);
    }
    State& s = state();
    std::lock_guard<std::mutex> lock(s.m);
    if (s.file) {
        std::fclose(s.file);
    }
    s.file = f;
    s.path = path;
    s.maxSize = maxFileSize;
    std::fseek(f, 0, SEEK_END);
    long pos = std::ftell(f);
    s.written = pos > 0 ? static_cast<std::uint64_t>(pos) : 0;
}

void TraceLog::useStderr() {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.m);
    if (s.file) {
        std::fclose(s.file);
    }
    s.file = nullptr;
    s.path.clear();
}

void TraceLog::configure(const VELString& stateDir) {
    ::TARNConfigManager& cfg = ::TARNConfigManager::getInstance();
    std::uint32_t level = 0;
    if (cfg.getUint32("Log", "Level", level)) {
        setLevel(static_cast<int>(level));
    }
    std::uint32_t maxMb = 0;
    std::uint64_t maxSize = DEFAULT_MAX_FILE_SIZE;
    if (cfg.getUint32("Log", "MaxFileSizeMB", maxMb) && maxMb > 0) {
        maxSize = static_cast<std::uint64_t>(maxMb) * 1024 * 1024;
    }
    VELString file;
    if (!cfg.getString("Log", "TraceFile", file)) {
        file = "trace.log";
    }
    if (file.equalsIgnoreCase("stderr")) {
        useStderr();
        return;
    }
    std::filesystem::path p(file.str());
    if (p.is_relative()) {
        p = std::filesystem::path(stateDir.str()) / p;
    }
    openFile(VELString(p.string()), maxSize);
}

bool TraceLog::wouldWrite(int severity) {
    return severity <= g_level.load(std::memory_order_relaxed) ||
           g_captureCount.load(std::memory_order_relaxed) > 0;
}

VELString TraceLog::formatLine(std::string_view source, std::string_view message, int severity) {
    auto now = std::chrono::system_clock::now();
    auto us = std::chrono::duration_cast<std::chrono::microseconds>(now.time_since_epoch()).count();
    std::time_t secs = static_cast<std::time_t>(us / 1000000);
    std::tm tm{};
    gmtime_r(&secs, &tm);
    char head[96];
    int n = std::snprintf(head, sizeof head, "%04d-%02d-%02dT%02d:%02d:%02d.%06lldZ [%ld] <%d> ",
                          tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min,
                          tm.tm_sec, static_cast<long long>(us % 1000000), threadId(), severity);
    VELString line;
    line.reserve(static_cast<std::size_t>(n) + source.size() + message.size() + 2);
    line.append(std::string_view(head, static_cast<std::size_t>(n)));
    line.append(source);
    line.append(": ");
    line.append(message);
    return line;
}

void TraceLog::write(std::string_view source, std::string_view message, int severity) {
    bool toOutput = severity <= g_level.load(std::memory_order_relaxed);
    bool toCaptures = g_captureCount.load(std::memory_order_relaxed) > 0;
    if (!toOutput && !toCaptures) {
        return;
    }
    VELString line;
    if (toOutput) {
        line = formatLine(source, message, severity);
        line += '\n';
    }
    State& s = state();
    std::lock_guard<std::mutex> lock(s.m);
    if (toOutput) {
        std::FILE* out = s.file ? s.file : stderr;
        std::fwrite(line.c_str(), 1, line.length(), out);
        std::fflush(out);
        if (s.file) {
            s.written += line.length();
            if (s.written > s.maxSize) {
                rotateLocked(s);
            }
        }
    }
    for (LogCapture* c : s.captures) {
        c->receive(source, message, severity);
    }
}

void TraceLog::attach(LogCapture* capture) {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.m);
    s.captures.push_back(capture);
    g_captureCount.fetch_add(1);
}

void TraceLog::detach(LogCapture* capture) {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.m);
    std::erase(s.captures, capture);
    g_captureCount.fetch_sub(1);
}

}  // namespace tarn
