// Small keep-alive requests through tarnd and the test adapter plug-in, with
// 1, 8 and 64 concurrent connections on loopback, against a minimal Beast
// server that answers the same bytes (the bound). Reports requests per
// second, the median latency and, for tarnd, the ratio to the bound.
//
// tarnd and the test adapter are taken from the build tree next to this
// program (../bin/tarnd, ../lib/libtarn_testadapter.so).
#include <benchmark/benchmark.h>
#include <limits.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include "../tests/support/HttpTestSupport.h"
#include "BenchSupport.h"

namespace {

using namespace tarntest;
using tarnbench::buildDir;
namespace asio = boost::asio;
namespace http = boost::beast::http;

constexpr int kRequestsPerRun = 20000;

// tarnd as a child process, with the test adapter and quiet logging.
struct Tarnd {
    TempDir dir;
    ChildProcess process;
    std::uint16_t port = 0;
    std::string request;
    Tarnd() {
        std::ofstream(dir.path() / "tarn.conf") << "[Log]\nLevel = 1\nTraceFile = stderr\n";
        port = freePort();
        process.start({(buildDir() / "bin" / "tarnd").string(), "--state-dir", dir.path().string(),
                       "--http-port", std::to_string(port), "--https-port", "0", "--adapter",
                       (buildDir() / "lib" / "libtarn_testadapter.so").string()});
        if (!process.waitForOutput("running;", in(30s))) {
            throw std::runtime_error("tarnd did not start: " + process.output());
        }
        std::string password = trimmed(readFile(dir.path() / "admin.password"));
        request =
            "POST /test HTTP/1.1\r\nHost: localhost\r\nTestOp: ping\r\nX-Framing: Full\r\n"
            "Authorization: " +
            basicAuth("admin", password) + "\r\nContent-Length: 0\r\n\r\n";
    }
    ~Tarnd() {
        process.signal(SIGTERM);
        process.waitExit(in(15s));
    }
};

// The bound: a thread per connection that reads each request with Beast and
// writes the bytes tarnd answered.
struct BeastBound {
    asio::io_context io;
    asio::ip::tcp::acceptor acceptor{io, {asio::ip::make_address("127.0.0.1"), 0}};
    std::string response;
    std::thread acceptThread;
    std::atomic<bool> stopping{false};
    std::vector<std::thread> connections;
    std::mutex m;

    explicit BeastBound(std::string bytes) : response(std::move(bytes)) {
        acceptThread = std::thread([this] {
            for (;;) {
                boost::system::error_code ec;
                asio::ip::tcp::socket s(io);
                acceptor.accept(s, ec);
                if (ec || stopping) {
                    return;
                }
                std::lock_guard<std::mutex> lock(m);
                connections.emplace_back([this, s = std::move(s)]() mutable { serve(s); });
            }
        });
    }
    void serve(asio::ip::tcp::socket& s) {
        s.set_option(asio::ip::tcp::no_delay(true));
        boost::beast::flat_buffer buffer;
        for (;;) {
            http::request<http::string_body> req;
            boost::system::error_code ec;
            http::read(s, buffer, req, ec);
            if (ec) {
                return;
            }
            asio::write(s, asio::buffer(response), ec);
            if (ec) {
                return;
            }
        }
    }
    std::uint16_t port() const { return acceptor.local_endpoint().port(); }
    ~BeastBound() {
        stopping = true;
        { Socket wake = Socket::connect(port()); }
        acceptThread.join();
        std::lock_guard<std::mutex> lock(m);
        for (auto& t : connections) {
            t.join();
        }
    }
};

Tarnd* g_tarnd = nullptr;
BeastBound* g_bound = nullptr;

Tarnd& tarnd() {
    if (!g_tarnd) {
        g_tarnd = new Tarnd;
    }
    return *g_tarnd;
}

std::string tarndResponseBytes() {
    Socket s = Socket::connect(tarnd().port);
    s.send(tarnd().request);
    std::string got;
    while (got.find("pong") == std::string::npos) {
        std::string more = s.readSome(in(10s));
        if (more.empty()) {
            break;
        }
        got += more;
    }
    return got;
}

BeastBound& bound() {
    if (!g_bound) {
        g_bound = new BeastBound(tarndResponseBytes());
    }
    return *g_bound;
}

struct Result {
    double rps;
    double medianUs;
};

// Closed-loop load: each connection sends its next request when the answer
// to the last one is complete.
Result load(std::uint16_t port, const std::string& request, int connections) {
    const int perConnection = kRequestsPerRun / connections;
    std::vector<std::vector<double>> latencies(static_cast<std::size_t>(connections));
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    auto begin = Clock::now();
    for (int c = 0; c < connections; ++c) {
        threads.emplace_back([&, c] {
            auto& lat = latencies[static_cast<std::size_t>(c)];
            lat.reserve(static_cast<std::size_t>(perConnection));
            Socket s = Socket::connect(port);
            ResponseReader reader(s);
            for (int i = 0; i < perConnection; ++i) {
                auto t0 = Clock::now();
                s.send(request);
                if (reader.read(in(30s)).status != 200) {
                    ++failures;
                }
                lat.push_back(std::chrono::duration<double, std::micro>(Clock::now() - t0).count());
            }
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    if (failures) {
        throw std::runtime_error("requests failed");
    }
    std::vector<double> all;
    for (auto& l : latencies) {
        all.insert(all.end(), l.begin(), l.end());
    }
    std::nth_element(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(all.size() / 2),
                     all.end());
    return {static_cast<double>(all.size()) / seconds, all[all.size() / 2]};
}

std::map<int, double> boundRps;

void BM_BeastBound(benchmark::State& state) {
    int connections = static_cast<int>(state.range(0));
    Result r{};
    for (auto _ : state) {
        r = load(bound().port(), tarnd().request, connections);
    }
    boundRps[connections] = r.rps;
    state.counters["req_per_s"] = r.rps;
    state.counters["median_us"] = r.medianUs;
}

void BM_Tarnd(benchmark::State& state) {
    int connections = static_cast<int>(state.range(0));
    Result r{};
    for (auto _ : state) {
        r = load(tarnd().port, tarnd().request, connections);
    }
    state.counters["req_per_s"] = r.rps;
    state.counters["median_us"] = r.medianUs;
    if (boundRps.count(connections)) {
        state.counters["ratio_to_bound"] = r.rps / boundRps[connections];
    }
}

BENCHMARK(BM_BeastBound)
    ->Arg(1)
    ->Arg(8)
    ->Arg(64)
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Tarnd)->Arg(1)->Arg(8)->Arg(64)->Iterations(1)->UseRealTime()->Unit(
    benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    ::benchmark::Initialize(&argc, argv);
    ::benchmark::RunSpecifiedBenchmarks();
    ::benchmark::Shutdown();
    delete g_bound;
    delete g_tarnd;
    return 0;
}
