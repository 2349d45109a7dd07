// The long hostile run: each attack of tests/support/HostileSupport.h runs
// against a fresh tarnd for a while (60 s by default) while the normal client
// reads a class twenty times a second; prints, per attack, the normal
// client's latency and failures, tarnd's CPU use and peak memory, the load
// average, and what the attackers saw.
//
//   bench_soak [--bin DIR] [--seconds N] [--only NAME]... [--conf TEXT]
//
// --bin: the directory of the tarnd to attack (default: this program's own,
// the build's bin/); its CIM-XML adapter is taken from ../lib. To measure
// another build, put its lib/ first in LD_LIBRARY_PATH. --conf: lines added
// to the [HTTP] section of tarn.conf.
#include <limits.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "HostileSupport.h"

using namespace tarntest;
using namespace tarntest::hostile;

namespace {

std::string ownDirectory() {
    char exe[PATH_MAX] = {};
    ssize_t n = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
    return std::filesystem::path(std::string(exe, n > 0 ? static_cast<std::size_t>(n) : 0))
        .parent_path()
        .string();
}

struct Scenario {
    const char* name;
    std::function<std::unique_ptr<Attack>(const Target&)> make;
};

std::vector<Scenario> scenarios() {
    return {
        {"quiet", [](const Target&) { return std::unique_ptr<Attack>(); }},
        {"slow-bodies",
         [](const Target& t) {
             auto a = std::make_unique<SlowBodies>();
             a->port = t.port;
             a->connections = 32;
             a->interval = std::chrono::milliseconds(5000);
             return std::unique_ptr<Attack>(std::move(a));
         }},
        {"slow-chunked-bodies",
         [](const Target& t) {
             auto a = std::make_unique<SlowBodies>();
             a->port = t.port;
             a->connections = 32;
             a->chunked = true;
             a->interval = std::chrono::milliseconds(1000);
             return std::unique_ptr<Attack>(std::move(a));
         }},
        {"slow-large-bodies",
         [](const Target& t) {
             auto a = std::make_unique<SlowBodies>();
             a->port = t.port;
             a->connections = 32;
             a->contentLength = 1u << 20;
             a->fast = 65536;
             a->interval = std::chrono::milliseconds(1000);
             return std::unique_ptr<Attack>(std::move(a));
         }},
        {"login-flood",
         [](const Target& t) {
             auto a = std::make_unique<LoginFlood>();
             a->port = t.port;
             return std::unique_ptr<Attack>(std::move(a));
         }},
        {"login-flood-many-users",
         [](const Target& t) {
             auto a = std::make_unique<LoginFlood>();
             a->port = t.port;
             a->sources = 8;
             a->randomUsers = true;
             return std::unique_ptr<Attack>(std::move(a));
         }},
        {"idle-connections",
         [](const Target& t) {
             auto a = std::make_unique<IdleConnections>();
             a->port = t.port;
             return std::unique_ptr<Attack>(std::move(a));
         }},
        {"large-chunked-bodies",
         [](const Target& t) {
             auto a = std::make_unique<LargeChunkedBodies>();
             a->port = t.port;
             a->authorization = t.auth();
             return std::unique_ptr<Attack>(std::move(a));
         }},
        {"unauthenticated-bodies",
         [](const Target& t) {
             auto a = std::make_unique<UnauthenticatedBodies>();
             a->port = t.port;
             return std::unique_ptr<Attack>(std::move(a));
         }},
    };
}

}  // namespace

int main(int argc, char** argv) {
    std::string bin = ownDirectory();
    int seconds = 60;
    std::vector<std::string> only;
    std::string conf;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string option = argv[i];
        if (option == "--bin") {
            bin = argv[i + 1];
        } else if (option == "--seconds") {
            seconds = std::atoi(argv[i + 1]);
        } else if (option == "--only") {
            only.emplace_back(argv[i + 1]);
        } else if (option == "--conf") {
            conf += std::string(argv[i + 1]) + "\n";
        } else {
            std::cerr << "usage: bench_soak [--bin DIR] [--seconds N] [--only NAME]... "
                         "[--conf TEXT]\n";
            return 2;
        }
    }
    std::printf("%-24s %6s %6s %8s %8s %8s %7s %9s %6s  %s\n", "attack", "reqs", "fails", "p50 ms",
                "p99 ms", "max ms", "cpu %", "peak MB", "load", "attackers saw");
    int failed = 0;
    for (const Scenario& scenario : scenarios()) {
        if (!only.empty() && std::find(only.begin(), only.end(), scenario.name) == only.end()) {
            continue;
        }
        Target target;
        target.start(bin, "[Log]\nLevel = 2\nTraceFile = trace.log\n[HTTP]\n" + conf);
        auto attack = scenario.make(target);
        Probe probe(target.port, target.auth());
        ProcessStats before = statsOf(target.pid());
        auto begin = Clock::now();
        probe.start();
        if (attack) {
            attack->start();
        }
        Stopper clock;
        clock.waitUntil(Clock::now() + std::chrono::seconds(seconds));
        Probe::Result r = probe.stop();
        ProcessStats after = statsOf(target.pid());
        double elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
        double load = loadAverage();
        std::string saw;
        if (attack) {
            attack->stop();
            saw = attack->summary();
        }
        target.stop();
        if (std::getenv("TARN_SOAK_TRACE")) {
            std::ofstream(std::string(std::getenv("TARN_SOAK_TRACE")) + "." + scenario.name)
                << target.trace();
        }
        std::printf("%-24s %6zu %6zu %8.1f %8.1f %8.1f %7.0f %9.1f %6.2f  %s\n", scenario.name,
                    r.requests, r.failures, r.p50Ms, r.p99Ms, r.maxMs,
                    100.0 * (after.cpuSeconds - before.cpuSeconds) / elapsed,
                    static_cast<double>(after.peakRssKb) / 1024.0, load, saw.c_str());
        if (r.failures > 0) {
            std::printf("%-24s first failure: %s\n", "", r.firstFailure.c_str());
        }
        std::fflush(stdout);
        failed += r.failures > 0 || r.p99Ms >= 100.0;
    }
    return failed == 0 ? 0 : 1;
}
