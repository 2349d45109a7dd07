// Small keep-alive requests through tarnd with 1, 8 and 64 concurrent
// connections on loopback, each beside a minimal Beast server that answers
// the same bytes (the bound), measured in the same run:
//
//  - a ping of the test adapter plug-in (the HTTP server alone);
//  - GetInstance of the interop namespace's CIM_ObjectManager through the
//    CIM-XML adapter, in tarnd's default configuration (but for the cap on
//    one client's connections), with Basic authentication.
//
// Reports requests per second, the median and 99th percentile latency and,
// for tarnd, the ratio to the bound and its CPU time per request.
//
// tarnd and the plug-ins are taken from the build tree next to this program
// (../bin/tarnd, ../lib).
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
using tarnbench::cpuSeconds;
namespace asio = boost::asio;
namespace http = boost::beast::http;

constexpr int kRequestsPerRun = 20000;

// The length of the first complete HTTP response in bytes (Content-Length
// or chunked, trailers included), or npos while it is incomplete.
std::size_t responseLength(std::string_view data) {
    std::size_t end = data.find("\r\n\r\n");
    if (end == std::string_view::npos) {
        return std::string_view::npos;
    }
    std::string_view head = data.substr(0, end + 2);
    std::size_t at = end + 4;
    auto header = [&](std::string_view name) -> std::string_view {
        for (std::size_t line = head.find("\r\n") + 2; line < head.size();) {
            std::size_t eol = head.find("\r\n", line);
            std::string_view l = head.substr(line, eol - line);
            if (l.size() > name.size() && l[name.size()] == ':' &&
                std::equal(name.begin(), name.end(), l.begin(),
                           [](char a, char b) { return std::tolower(a) == std::tolower(b); })) {
                std::string_view v = l.substr(name.size() + 1);
                v.remove_prefix(std::min(v.find_first_not_of(' '), v.size()));
                return v;
            }
            line = eol + 2;
        }
        return {};
    };
    if (!header("Transfer-Encoding").empty()) {
        for (;;) {
            std::size_t eol = data.find("\r\n", at);
            if (eol == std::string_view::npos) {
                return std::string_view::npos;
            }
            std::size_t size = std::stoul(std::string(data.substr(at, eol - at)), nullptr, 16);
            at = eol + 2;
            if (size == 0) {
                break;
            }
            at += size + 2;
            if (at > data.size()) {
                return std::string_view::npos;
            }
        }
        for (;;) {  // trailers, up to an empty line
            std::size_t eol = data.find("\r\n", at);
            if (eol == std::string_view::npos) {
                return std::string_view::npos;
            }
            bool empty = eol == at;
            at = eol + 2;
            if (empty) {
                return at;
            }
        }
    }
    std::string_view length = header("Content-Length");
    std::size_t n = length.empty() ? 0 : std::stoul(std::string(length));
    return data.size() >= at + n ? at + n : std::string_view::npos;
}

// Reads one response from fd into data (which keeps what follows it) and
// returns its bytes; throws unless it is a 200.
std::string readResponse(Socket& s, std::string& data) {
    std::size_t n;
    while ((n = responseLength(data)) == std::string::npos) {
        std::string more = s.readSome(in(30s));
        if (more.empty()) {
            throw std::runtime_error("connection closed within a response");
        }
        data += more;
    }
    if (data.compare(0, 13, "HTTP/1.1 200 ") != 0) {
        throw std::runtime_error("answer: " + data.substr(0, data.find("\r\n\r\n")));
    }
    std::string response = data.substr(0, n);
    data.erase(0, n);
    return response;
}

// tarnd as a child process with quiet logging; with adapter, that protocol
// adapter plug-in instead of the CIM-XML one.
struct Tarnd {
    TempDir dir;
    ChildProcess process;
    std::uint16_t port = 0;
    std::string password;
    explicit Tarnd(const std::string& adapter) {
        // The defaults, but for the cap on one client's connections: all 64
        // come from one address here.
        std::ofstream(dir.path() / "tarn.conf")
            << "[Log]\nLevel = 1\nTraceFile = stderr\n[HTTP]\nMaxConnectionsPerClient = 128\n";
        port = freePort();
        std::vector<std::string> args{(buildDir() / "bin" / "tarnd").string(),
                                      "--state-dir",
                                      dir.path().string(),
                                      "--http-port",
                                      std::to_string(port),
                                      "--https-port",
                                      "0"};
        if (!adapter.empty()) {
            args.push_back("--adapter");
            args.push_back((buildDir() / "lib" / adapter).string());
        }
        process.start(args);
        if (!process.waitForOutput("running;", in(30s))) {
            throw std::runtime_error("tarnd did not start: " + process.output());
        }
        password = trimmed(readFile(dir.path() / "admin.password"));
    }
    ~Tarnd() {
        process.signal(SIGTERM);
        process.waitExit(in(15s));
    }
    // One request on a new connection; its whole response.
    std::string ask(const std::string& request) const {
        Socket s = Socket::connect(port);
        s.send(request);
        std::string data;
        return readResponse(s, data);
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

// A kind of request: tarnd serving it and the bound answering its bytes.
struct Target {
    std::unique_ptr<Tarnd> tarnd;
    std::string request;
    std::unique_ptr<BeastBound> bound;
};

std::string cimxmlRequest(const std::string& password, const std::string& method,
                          const std::string& params) {
    const std::string body =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
        "DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
        "NAME=\"" +
        method + "\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"interop\"/></LOCALNAMESPACEPATH>" +
        params + "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
    return "POST /cimom HTTP/1.1\r\nHost: localhost\r\nAuthorization: " +
           basicAuth("admin", password) +
           "\r\nContent-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
           "MethodCall\r\nCIMMethod: " +
           method + "\r\nCIMObject: interop\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

Target& pingTarget() {
    static Target t = [] {
        Target t;
        t.tarnd = std::make_unique<Tarnd>("libtarn_testadapter.so");
        t.request =
            "POST /test HTTP/1.1\r\nHost: localhost\r\nTestOp: ping\r\nX-Framing: Full\r\n"
            "Authorization: " +
            basicAuth("admin", t.tarnd->password) + "\r\nContent-Length: 0\r\n\r\n";
        t.bound = std::make_unique<BeastBound>(t.tarnd->ask(t.request));
        return t;
    }();
    return t;
}

Target& getInstanceTarget() {
    static Target t = [] {
        Target t;
        t.tarnd = std::make_unique<Tarnd>("");
        std::string names = t.tarnd->ask(
            cimxmlRequest(t.tarnd->password, "EnumerateInstanceNames",
                          "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"CIM_ObjectManager\"/>"
                          "</IPARAMVALUE>"));
        std::size_t from = names.find("<INSTANCENAME");
        std::size_t to = names.find("</INSTANCENAME>");
        if (from == std::string::npos || to == std::string::npos) {
            throw std::runtime_error("no CIM_ObjectManager: " + names);
        }
        std::string name = names.substr(from, to + 15 - from);
        t.request = cimxmlRequest(t.tarnd->password, "GetInstance",
                                  "<IPARAMVALUE NAME=\"InstanceName\">" + name + "</IPARAMVALUE>");
        std::string answer = t.tarnd->ask(t.request);
        if (answer.find("<INSTANCE CLASSNAME=") == std::string::npos) {
            throw std::runtime_error("GetInstance failed: " + answer);
        }
        t.bound = std::make_unique<BeastBound>(answer);
        return t;
    }();
    return t;
}

struct Result {
    double rps;
    double medianUs;
    double p99Us;
    double responseBytes;
};

// Closed-loop load: each connection sends its next request when the answer
// to the last one is complete.
Result load(std::uint16_t port, const std::string& request, int connections) {
    const int perConnection = kRequestsPerRun / connections;
    std::vector<std::vector<double>> latencies(static_cast<std::size_t>(connections));
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    std::mutex errorMutex;
    std::string error;
    std::atomic<std::size_t> responseBytes{0};
    auto begin = Clock::now();
    for (int c = 0; c < connections; ++c) {
        threads.emplace_back([&, c] {
            auto& lat = latencies[static_cast<std::size_t>(c)];
            lat.reserve(static_cast<std::size_t>(perConnection));
            try {
                Socket s = Socket::connect(port);
                std::string data;
                for (int i = 0; i < perConnection; ++i) {
                    auto t0 = Clock::now();
                    s.send(request);
                    responseBytes = readResponse(s, data).size();
                    lat.push_back(
                        std::chrono::duration<double, std::micro>(Clock::now() - t0).count());
                }
            } catch (const std::exception& e) {
                ++failures;
                std::lock_guard<std::mutex> lock(errorMutex);
                error = e.what();
            }
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    if (failures) {
        throw std::runtime_error("requests failed: " + error);
    }
    std::vector<double> all;
    for (auto& l : latencies) {
        all.insert(all.end(), l.begin(), l.end());
    }
    std::sort(all.begin(), all.end());
    auto at = [&](double q) {
        return all[static_cast<std::size_t>(q * static_cast<double>(all.size() - 1))];
    };
    return {static_cast<double>(all.size()) / seconds, at(0.5), at(0.99),
            static_cast<double>(responseBytes.load())};
}

void report(benchmark::State& state, const Result& r) {
    state.counters["req_per_s"] = r.rps;
    state.counters["median_us"] = r.medianUs;
    state.counters["p99_us"] = r.p99Us;
    state.counters["response_bytes"] = r.responseBytes;
}

// Bound first, then tarnd, in one benchmark, so that the two figures of a
// ratio are measured side by side.
void runBoth(benchmark::State& state, Target& target) {
    int connections = static_cast<int>(state.range(0));
    Result bound{};
    Result tarnd{};
    double cpu = 0;
    for (auto _ : state) {
        bound = load(target.bound->port(), target.request, connections);
        const pid_t pid = target.tarnd->process.pid();
        const double before = cpuSeconds(pid);
        tarnd = load(target.tarnd->port, target.request, connections);
        cpu = cpuSeconds(pid) - before;
    }
    report(state, tarnd);
    state.counters["cpu_us_per_req"] = cpu * 1e6 / kRequestsPerRun;
    state.counters["bound_req_per_s"] = bound.rps;
    state.counters["bound_p99_us"] = bound.p99Us;
    state.counters["ratio_to_bound"] = tarnd.rps / bound.rps;
}

void BM_Ping(benchmark::State& state) {
    runBoth(state, pingTarget());
}

void BM_GetInstance(benchmark::State& state) {
    runBoth(state, getInstanceTarget());
}

BENCHMARK(BM_Ping)->Arg(1)->Arg(8)->Arg(64)->Iterations(1)->UseRealTime()->Unit(
    benchmark::kMillisecond);
BENCHMARK(BM_GetInstance)
    ->Arg(1)
    ->Arg(8)
    ->Arg(64)
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
