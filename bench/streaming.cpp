// EnumerateInstances of TARN_BenchItem through tarnd over HTTP, 10,000,
// 100,000 and 1,000,000 instances, to show that results stream.
//
// For each size a fresh tarnd serves the class from the generator provider
// plug-in (bench/providers/GeneratorProvider.cpp, loaded through [Providers]
// Modules; its size is [BenchGenerator] Count). Each run enumerates twice:
//
//  - a client that reads as fast as it can: time to the first byte and the
//    first instance, instances per second;
//  - a client that reads slowly (a small receive buffer, throttled to
//    kSlowBytesPerSecond, and a pause after the first instance): tarnd's CPU
//    time and resident memory when the first instance arrives. Generating
//    all instances costs far more CPU than tarnd has used by then, so the
//    first instance left before the provider finished; and the memory does
//    not grow with the size of the result.
//
// Peak memory is VmHWM of /proc/<pid>/status after both enumerations.
//
// Beside tarnd, the fast client reads a plain socket writer that sends a
// response like tarnd's (the same number of instances, taken from tarnd's
// own first ones) over loopback in the same run: ratio_to_loopback is
// tarnd's rate in bytes per second over that writer's. total_ms is the whole
// enumeration for the fast client (100,000 instances of about 1,000 bytes:
// a figure by which WBEM servers are commonly compared).
//
// The same instances read as a pulled enumeration (OpenEnumerateInstances,
// then PullInstancesWithPath in batches of 1,000) beside EnumerateInstances
// in the same run, with the latency of one pull; and tarnd's memory with 100
// enumerations left open, each paused after its first batch.
// tarnd, tarn-mof and the plug-ins are taken from the build tree next to
// this program (../bin, ../lib).
#include <benchmark/benchmark.h>
#include <limits.h>
#include <signal.h>
#include <unistd.h>

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

constexpr std::size_t kSlowBytesPerSecond = 32u << 20;
constexpr int kSlowReceiveBuffer = 64 << 10;
constexpr auto kPauseAfterFirst = 500ms;
// What a fast enumeration keeps of its first bytes, for the loopback writer.
constexpr std::size_t kCaptureBytes = 1u << 20;
const std::string kInstanceTag = "<VALUE.NAMEDINSTANCE>";
const std::string kTrailer = "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>\n";

const char* const kBenchItemMof = R"(// The class the generator provider serves.
[Description("A generated item of the streaming benchmark.")]
class TARN_BenchItem {
    [Key] uint32 Id;
    string Name;
    string Description;
    boolean Enabled;
    uint64 Size;
    sint64 Offset;
    real64 Ratio;
    uint16 Priority;
    datetime Created;
    string Owner;
};
)";

// A field of /proc/<pid>/status in kB ("VmHWM", "VmRSS").
long statusKb(pid_t pid, const std::string& field) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(in, line)) {
        if (line.compare(0, field.size() + 1, field + ":") == 0) {
            return std::stol(line.substr(field.size() + 1));
        }
    }
    return -1;
}

// tarnd with the class loaded and the generator provider serving `count` instances.
struct StreamingTarnd {
    TempDir dir;
    ChildProcess process;
    std::uint16_t port = 0;
    std::string password;

    explicit StreamingTarnd(std::uint32_t count) {
        const std::filesystem::path bin = buildDir() / "bin";
        std::ofstream(dir.path() / "tarn.conf")
            << "[Log]\nLevel = 1\nTraceFile = trace.log\n[Providers]\nModules = "
            << (buildDir() / "lib" / "libtarn_bench_GeneratorProvider.so").string()
            << "\n[BenchGenerator]\nCount = " << count << "\n[Pull]\nMaxOpenPerUser = 200\n";
        std::ofstream(dir.path() / "benchitem.mof") << kBenchItemMof;
        ChildProcess mof;
        mof.start({(bin / "tarn-mof").string(), "--state-dir", dir.path().string(), "-n",
                   "root/cimv2", (dir.path() / "benchitem.mof").string()});
        if (mof.waitExit(in(120s)) != std::optional<int>(0)) {
            throw std::runtime_error("tarn-mof failed: " + mof.output());
        }
        port = freePort();
        process.start({(bin / "tarnd").string(), "--state-dir", dir.path().string(), "--http-port",
                       std::to_string(port), "--https-port", "0"});
        if (!process.waitForOutput("running;", in(60s))) {
            throw std::runtime_error("tarnd did not start: " + process.output());
        }
        password = trimmed(readFile(dir.path() / "admin.password"));
    }
    ~StreamingTarnd() {
        process.signal(SIGTERM);
        process.waitExit(in(15s));
    }

    // One small request first: the password hash that the first login costs
    // (then cached) is no part of the times measured.
    void warmUp() const {
        const std::string body =
            "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
            "DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
            "NAME=\"GetInstance\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
            "NAME=\"cimv2\"/></LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"InstanceName\"><INSTANCENAME "
            "CLASSNAME=\"TARN_BenchItem\"><KEYBINDING NAME=\"Id\"><KEYVALUE "
            "VALUETYPE=\"numeric\">0</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE>"
            "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
        Socket s = Socket::connect(port);
        s.send(post("GetInstance", body));
        ResponseReader reader(s);
        Response r = reader.read(in(60s));
        if (r.status != 200 ||
            r.body.find("<INSTANCE CLASSNAME=\"TARN_BenchItem\">") == std::string::npos) {
            throw std::runtime_error("GetInstance failed: " + r.body);
        }
    }

    std::string post(const std::string& method, const std::string& body) const {
        // HTTP/1.0: the body comes unframed and ends when tarnd closes.
        return "POST /cimom HTTP/1.0\r\nHost: localhost\r\nAuthorization: " +
               basicAuth("admin", password) +
               "\r\nContent-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
               "MethodCall\r\nCIMMethod: " +
               method +
               "\r\nCIMObject: root%2Fcimv2\r\nContent-Length: " + std::to_string(body.size()) +
               "\r\n\r\n" + body;
    }

    std::string request() const {
        const std::string body =
            "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
            "DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
            "NAME=\"EnumerateInstances\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
            "NAME=\"cimv2\"/></LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"ClassName\"><CLASSNAME "
            "NAME=\"TARN_BenchItem\"/></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
        return post("EnumerateInstances", body);
    }
};

struct Outcome {
    double firstByteMs = 0;
    double firstInstanceMs = 0;
    double totalSeconds = 0;
    std::uint64_t instances = 0;
    std::uint64_t bytes = 0;
    // tarnd's CPU time spent on this enumeration until the first instance
    // arrived, and in all.
    double cpuBeforeFirstSeconds = 0;
    double cpuSeconds = 0;
    // tarnd's resident memory when the first instance arrived, and after the
    // pause that follows it.
    long rssAtFirstKb = 0;
    long rssAfterPauseKb = 0;
};

// One enumeration from the server at port (pid: tarnd, whose CPU time and
// memory are taken; 0: none); slow: the throttled client with a pause after
// the first instance. capture, when given, receives the first bytes read.
Outcome enumerate(std::uint16_t port, const std::string& request, pid_t pid, bool slow,
                  std::string* capture = nullptr) {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (slow) {
        // Set before connecting, so that the window stays small.
        ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &kSlowReceiveBuffer, sizeof kSlowReceiveBuffer);
    }
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
        ::close(fd);
        throw std::runtime_error("connect failed");
    }
    Socket socket(fd);

    Outcome o;
    const double cpuStart = pid > 0 ? cpuSeconds(pid) : 0.0;
    const auto start = Clock::now();
    socket.send(request);
    std::vector<char> buffer(slow ? 16384 : 262144);
    std::string head;
    bool inBody = false;
    std::string carry;  // the end of the last piece, for a tag cut in two
    std::string tail;   // the last bytes of the body
    for (;;) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, 60000) <= 0) {
            throw std::runtime_error("no data from tarnd for a minute");
        }
        ssize_t n = ::recv(fd, buffer.data(), buffer.size(), 0);
        if (n <= 0) {
            break;
        }
        const auto now = Clock::now();
        std::string_view piece(buffer.data(), static_cast<std::size_t>(n));
        if (capture && capture->size() < kCaptureBytes) {
            capture->append(piece);
        }
        if (o.bytes == 0) {
            o.firstByteMs = std::chrono::duration<double, std::milli>(now - start).count();
        }
        o.bytes += piece.size();
        if (!inBody) {
            head.append(piece);
            std::size_t end = head.find("\r\n\r\n");
            if (end == std::string::npos) {
                continue;
            }
            if (head.compare(0, 13, "HTTP/1.0 200 ") != 0 &&
                head.compare(0, 13, "HTTP/1.1 200 ") != 0) {
                throw std::runtime_error("tarnd answered: " + head.substr(0, head.find('\r')));
            }
            inBody = true;
            piece = std::string_view(head).substr(end + 4);
        }
        std::string text = carry + std::string(piece);
        const std::uint64_t before = o.instances;
        for (std::size_t at = text.find(kInstanceTag); at != std::string::npos;
             at = text.find(kInstanceTag, at + kInstanceTag.size())) {
            ++o.instances;
        }
        const std::size_t keep = std::min(text.size(), kInstanceTag.size() - 1);
        carry = text.substr(text.size() - keep);
        tail.append(piece);
        if (tail.size() > 2 * kTrailer.size()) {
            tail.erase(0, tail.size() - kTrailer.size());
        }
        if (before == 0 && o.instances > 0) {
            o.firstInstanceMs = std::chrono::duration<double, std::milli>(now - start).count();
            if (pid > 0) {
                o.cpuBeforeFirstSeconds = cpuSeconds(pid) - cpuStart;
                o.rssAtFirstKb = statusKb(pid, "VmRSS");
            }
            if (slow && pid > 0) {
                std::this_thread::sleep_for(kPauseAfterFirst);
                o.rssAfterPauseKb = statusKb(pid, "VmRSS");
            }
        }
        if (slow) {
            // Keep to the rate: sleep until the bytes read so far are due.
            auto due = start +
                       std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(
                           static_cast<double>(o.bytes) / kSlowBytesPerSecond)) +
                       (o.instances > 0 ? kPauseAfterFirst : 0ms);
            std::this_thread::sleep_until(due);
        }
    }
    o.totalSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    o.cpuSeconds = pid > 0 ? cpuSeconds(pid) - cpuStart : 0.0;
    if (tail.size() < kTrailer.size() ||
        tail.compare(tail.size() - kTrailer.size(), kTrailer.size(), kTrailer) != 0 ||
        tail.find("<ERROR") != std::string::npos) {
        throw std::runtime_error("the response did not end as a complete result: ..." + tail);
    }
    return o;
}

// One intrinsic call on a new connection, its whole answer.
Response call(const StreamingTarnd& server, const std::string& method, const std::string& params) {
    const std::string body =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
        "DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
        "NAME=\"" +
        method +
        "\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
        "NAME=\"cimv2\"/></LOCALNAMESPACEPATH>" +
        params + "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
    Socket s = Socket::connect(server.port);
    s.send(server.post(method, body));
    ResponseReader reader(s);
    Response r = reader.read(in(120s));
    if (r.status != 200 || r.body.find("<ERROR") != std::string::npos) {
        throw std::runtime_error(method + " failed: " + r.body.substr(0, 2000));
    }
    return r;
}

struct Batch {
    std::uint64_t instances = 0;
    std::string context;
    bool end = false;
};

Batch batchOf(const Response& r) {
    Batch b;
    const std::string tag = "<VALUE.INSTANCEWITHPATH>";
    for (std::size_t at = r.body.find(tag); at != std::string::npos;
         at = r.body.find(tag, at + tag.size())) {
        ++b.instances;
    }
    const std::string ctx = "<PARAMVALUE NAME=\"EnumerationContext\" TYPE=\"string\">\n<VALUE>";
    std::size_t at = r.body.find(ctx);
    if (at != std::string::npos) {
        at += ctx.size();
        b.context = r.body.substr(at, r.body.find("</VALUE>", at) - at);
    }
    b.end = r.body.find("<PARAMVALUE NAME=\"EndOfSequence\" TYPE=\"boolean\">\n<VALUE>TRUE") !=
            std::string::npos;
    return b;
}

Batch open(const StreamingTarnd& server, std::uint32_t first) {
    return batchOf(call(server, "OpenEnumerateInstances",
                        "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"TARN_BenchItem\"/>"
                        "</IPARAMVALUE><IPARAMVALUE NAME=\"MaxObjectCount\"><VALUE>" +
                            std::to_string(first) + "</VALUE></IPARAMVALUE>"));
}

Batch pull(const StreamingTarnd& server, const std::string& context, std::uint32_t count) {
    return batchOf(call(server, "PullInstancesWithPath",
                        "<IPARAMVALUE NAME=\"EnumerationContext\"><VALUE>" + context +
                            "</VALUE></IPARAMVALUE><IPARAMVALUE NAME=\"MaxObjectCount\"><VALUE>" +
                            std::to_string(count) + "</VALUE></IPARAMVALUE>"));
}

void BM_PulledEnumeration(benchmark::State& state) {
    const auto count = static_cast<std::uint32_t>(state.range(0));
    constexpr std::uint32_t kBatch = 1000;
    StreamingTarnd server(count);
    server.warmUp();
    Outcome whole;
    std::uint64_t pulled = 0;
    double seconds = 0;
    std::vector<double> latenciesMs;
    for (auto _ : state) {
        whole = enumerate(server.port, server.request(), server.process.pid(), false);
        const auto start = Clock::now();
        Batch b = open(server, kBatch);
        pulled = b.instances;
        while (!b.end) {
            const auto before = Clock::now();
            b = pull(server, b.context, kBatch);
            latenciesMs.push_back(
                std::chrono::duration<double, std::milli>(Clock::now() - before).count());
            pulled += b.instances;
        }
        seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.SetIterationTime(seconds);
    }
    if (pulled != count || whole.instances != count) {
        state.SkipWithError("not every instance arrived");
        return;
    }
    std::sort(latenciesMs.begin(), latenciesMs.end());
    auto at = [&](double q) {
        return latenciesMs.empty() ? 0.0
                                   : latenciesMs[static_cast<std::size_t>(
                                         q * static_cast<double>(latenciesMs.size() - 1))];
    };
    const double pulledPerS = static_cast<double>(count) / seconds;
    const double wholePerS = static_cast<double>(count) / whole.totalSeconds;
    state.counters["pulled_per_s"] = pulledPerS;
    state.counters["enumerate_per_s"] = wholePerS;
    state.counters["ratio_to_enumerate"] = pulledPerS / wholePerS;
    state.counters["pull_p50_ms"] = at(0.5);
    state.counters["pull_p99_ms"] = at(0.99);
}

BENCHMARK(BM_PulledEnumeration)
    ->Arg(1000000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// tarnd's memory with enumerations left open after their first batch: each
// holds its paused producer and a bounded queue, not its result.
void BM_PausedEnumerations(benchmark::State& state) {
    const auto contexts = static_cast<int>(state.range(0));
    StreamingTarnd server(1000000);
    server.warmUp();
    const long idleKb = statusKb(server.process.pid(), "VmRSS");
    long pausedKb = 0;
    for (auto _ : state) {
        for (int i = 0; i < contexts; ++i) {
            if (open(server, 1000).end) {
                state.SkipWithError("an enumeration ended in its first batch");
                return;
            }
        }
        std::this_thread::sleep_for(500ms);  // let the producers fill their queues
        pausedKb = statusKb(server.process.pid(), "VmRSS");
    }
    state.counters["idle_rss_MB"] = static_cast<double>(idleKb) / 1024.0;
    state.counters["paused_rss_MB"] = static_cast<double>(pausedKb) / 1024.0;
    state.counters["over_idle_MB"] = static_cast<double>(pausedKb - idleKb) / 1024.0;
}

BENCHMARK(BM_PausedEnumerations)->Arg(100)->Iterations(1)->Unit(benchmark::kMillisecond);

// The bound of an enumeration: a plain socket writer on loopback that sends
// a response like tarnd's (its head, then its first instances over and over
// up to the same number, then the end of the message) in large writes, to
// the same reading client.
class LoopbackWriter {
  public:
    // captured: the first bytes of tarnd's response; count: instances to send.
    LoopbackWriter(const std::string& captured, std::uint64_t count) : _count(count) {
        std::size_t first = captured.find(kInstanceTag);
        if (first == std::string::npos) {
            throw std::runtime_error("no instance in the captured response");
        }
        _head = captured.substr(0, first);
        std::vector<std::string> instances;
        for (std::size_t at = first;;) {
            std::size_t next = captured.find(kInstanceTag, at + kInstanceTag.size());
            if (next == std::string::npos) {
                break;  // the last one may be cut
            }
            instances.push_back(captured.substr(at, next - at));
            at = next;
        }
        if (instances.empty()) {
            throw std::runtime_error("the captured response holds no whole instance");
        }
        _instances = instances;
        while (_run.size() < (1u << 20)) {
            for (const auto& i : instances) {
                _run += i;
            }
            _perRun += instances.size();
        }
        _listen = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof a;
        if (::bind(_listen, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 ||
            ::listen(_listen, 4) != 0 ||
            ::getsockname(_listen, reinterpret_cast<sockaddr*>(&a), &len) != 0) {
            throw std::runtime_error("loopback writer: cannot listen");
        }
        _port = ntohs(a.sin_port);
        _thread = std::thread([this] { serve(); });
    }
    ~LoopbackWriter() {
        _thread.join();
        ::close(_listen);
    }
    std::uint16_t port() const { return _port; }

  private:
    void serve() {
        Socket s(::accept4(_listen, nullptr, nullptr, SOCK_CLOEXEC));
        std::string request;
        while (request.find("</CIM>") == std::string::npos) {
            std::string more = s.readSome(in(60s));
            if (more.empty()) {
                return;
            }
            request += more;
        }
        try {
            s.send(_head);
            std::uint64_t left = _count;
            for (; left >= _perRun; left -= _perRun) {
                s.send(_run);
            }
            std::string rest;
            for (std::size_t i = 0; left > 0; --left, i = (i + 1) % _instances.size()) {
                rest += _instances[i];
            }
            s.send(rest + kTrailer);
        } catch (const std::runtime_error&) {
            // the client has gone: its check fails
        }
    }

    std::uint64_t _count;
    std::string _head;
    std::vector<std::string> _instances;
    std::string _run;  // whole instances, about a megabyte
    std::uint64_t _perRun = 0;
    int _listen = -1;
    std::uint16_t _port = 0;
    std::thread _thread;
};

std::map<std::int64_t, double> peakMb;

void BM_EnumerateInstances(benchmark::State& state) {
    const auto count = static_cast<std::uint32_t>(state.range(0));
    StreamingTarnd server(count);
    server.warmUp();
    const long idleKb = statusKb(server.process.pid(), "VmRSS");
    Outcome fast;
    Outcome slow;
    Outcome loopback;
    for (auto _ : state) {
        std::string captured;
        fast = enumerate(server.port, server.request(), server.process.pid(), false, &captured);
        state.SetIterationTime(fast.totalSeconds);
        LoopbackWriter writer(captured, count);
        loopback = enumerate(writer.port(), server.request(), 0, false);
        slow = enumerate(server.port, server.request(), server.process.pid(), true);
    }
    if (fast.instances != count || slow.instances != count || loopback.instances != count) {
        state.SkipWithError("not every instance arrived");
        return;
    }
    const double peak = static_cast<double>(statusKb(server.process.pid(), "VmHWM")) / 1024.0;
    peakMb[count] = peak;

    state.counters["ttfb_ms"] = fast.firstByteMs;
    state.counters["first_instance_ms"] = fast.firstInstanceMs;
    state.counters["instances_per_s"] = static_cast<double>(count) / fast.totalSeconds;
    state.counters["MB_per_s"] = static_cast<double>(fast.bytes) / fast.totalSeconds / 1048576.0;
    state.counters["total_ms"] = fast.totalSeconds * 1000.0;
    state.counters["bytes_per_instance"] =
        static_cast<double>(fast.bytes) / static_cast<double>(count);
    const double loopbackRate = static_cast<double>(loopback.bytes) / loopback.totalSeconds;
    state.counters["loopback_MB_per_s"] = loopbackRate / 1048576.0;
    state.counters["ratio_to_loopback"] =
        static_cast<double>(fast.bytes) / fast.totalSeconds / loopbackRate;
    state.counters["slow_first_instance_ms"] = slow.firstInstanceMs;
    state.counters["slow_total_s"] = slow.totalSeconds;
    // tarnd's CPU time until the slow client saw its first instance, against
    // what the whole enumeration cost it.
    state.counters["cpu_to_first_ms"] = slow.cpuBeforeFirstSeconds * 1000.0;
    state.counters["cpu_total_s"] = slow.cpuSeconds;
    state.counters["cpu_fast_s"] = fast.cpuSeconds;
    state.counters["cpu_to_first_pct"] = 100.0 * slow.cpuBeforeFirstSeconds / slow.cpuSeconds;
    state.counters["idle_rss_MB"] = static_cast<double>(idleKb) / 1024.0;
    state.counters["rss_paused_MB"] = static_cast<double>(slow.rssAfterPauseKb) / 1024.0;
    state.counters["peak_rss_MB"] = peak;
    if (peakMb.count(10000) != 0) {
        state.counters["peak_over_10k_MB"] = peak - peakMb[10000];
    }
}

BENCHMARK(BM_EnumerateInstances)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
