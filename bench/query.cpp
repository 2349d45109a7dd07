// ExecQuery through tarnd over HTTP against 1,000,000 repository instances:
//
//   SELECT Name, Count FROM TARN_BenchQuery WHERE Count > 500000 AND Name LIKE 'a%'
//
// beside a plain EnumerateInstances of the same class. Counters: instances
// examined per second (all of the class, whether they match or not), and per
// second of tarnd's CPU time (which a busy machine does not distort), and
// tarnd's resident memory: idle, and its peak after each
// operation (VmHWM of /proc/<pid>/status). The query holds one instance at a
// time, so its peak stays where tarnd idles.
//
// The repository is built once per run in a temporary directory: tarn-mof
// creates it with the class, then this program fills it through the
// repository's own API in transactions of 10,000 instances (which takes a
// while; the build time is reported as a counter and not measured). tarnd and
// tarn-mof come from the build tree next to this program (../bin).
#include <benchmark/benchmark.h>
#include <signal.h>

#include <filesystem>
#include <fstream>

#include "../tests/support/HttpTestSupport.h"
#include "BenchSupport.h"
#include "repository/Repository.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"

namespace {

using namespace tarntest;
using tarnbench::buildDir;
using tarnbench::cpuSeconds;

constexpr std::uint32_t kInstances = 1000000;
constexpr std::uint32_t kThreshold = 500000;
const char* const kQuery =
    "SELECT Name, Count FROM TARN_BenchQuery WHERE Count &gt; 500000 AND Name LIKE 'a%'";
const std::string kResultTag = "<VALUE.OBJECTWITHPATH>";
const std::string kInstanceTag = "<VALUE.NAMEDINSTANCE>";
const std::string kTrailer = "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>\n";

const char* const kClassMof = R"(// The class the query benchmark fills.
[Description("An item of the query benchmark.")]
class TARN_BenchQuery {
    [Key] uint32 Id;
    string Name;
    uint64 Count;
    string Description;
    boolean Enabled;
    sint64 Offset;
    real64 Ratio;
    datetime Created;
};
)";

// The name starts with one of 26 letters in turn: 1 in 26 begins with "a".
VELSmrPtr<IVelaObject> benchItem(std::uint32_t i) {
    auto obj = makeVELSmrPtr<CVelaObject>("TARN_BenchQuery");
    obj->reserve(8);
    obj->addProperty("Id", CVelaValue::makeUint32(i));
    obj->addProperty(
        "Name", CVelaValue::makeString(std::string(1, static_cast<char>('a' + i % 26)) + "item-" +
                                       std::to_string(i)));
    obj->addProperty("Count", CVelaValue::makeUint64(i));
    obj->addProperty("Description", CVelaValue::makeString("an item of moderate description"));
    obj->addProperty("Enabled", CVelaValue::makeBoolean(i % 2 == 0));
    obj->addProperty("Offset", CVelaValue::makeSint64(-static_cast<std::int64_t>(i)));
    obj->addProperty("Ratio", CVelaValue::makeReal64(i / 7.0));
    obj->addProperty("Created", CVelaValue::makeDateTime("20240101120000.000000+000"));
    return obj;
}

std::uint64_t expectedMatches() {
    std::uint64_t n = 0;
    for (std::uint32_t i = kThreshold + 1; i < kInstances; ++i) {
        n += i % 26 == 0 ? 1 : 0;
    }
    return n;
}

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

// A state directory with the filled repository, built once.
class FilledState {
  public:
    static FilledState& get() {
        static FilledState s;
        return s;
    }
    TempDir dir;
    double buildSeconds = 0;

  private:
    FilledState() {
        const auto start = Clock::now();
        const std::filesystem::path bin = buildDir() / "bin";
        std::ofstream(dir.path() / "benchquery.mof") << kClassMof;
        ChildProcess mof;
        mof.start({(bin / "tarn-mof").string(), "--state-dir", dir.path().string(), "-n",
                   "root/cimv2", (dir.path() / "benchquery.mof").string()});
        if (mof.waitExit(in(120s)) != std::optional<int>(0)) {
            throw std::runtime_error("tarn-mof failed: " + mof.output());
        }
        tarn::Repository repo((dir.path() / tarn::Repository::FILE_NAME).string());
        for (std::uint32_t i = 0; i < kInstances;) {
            auto t = repo.beginTransaction();
            for (std::uint32_t end = std::min(kInstances, i + 10000); i < end; ++i) {
                t.createInstance("root/cimv2", *benchItem(i));
            }
            t.commit();
        }
        buildSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    }
};

struct QueryTarnd {
    ChildProcess process;
    std::uint16_t port = 0;
    std::string password;

    explicit QueryTarnd(const std::filesystem::path& state) {
        std::ofstream(state / "tarn.conf") << "[Log]\nLevel = 1\nTraceFile = trace.log\n";
        port = freePort();
        process.start({(buildDir() / "bin" / "tarnd").string(), "--state-dir", state.string(),
                       "--http-port", std::to_string(port), "--https-port", "0"});
        if (!process.waitForOutput("running;", in(120s))) {
            throw std::runtime_error("tarnd did not start: " + process.output());
        }
        password = trimmed(readFile(state / "admin.password"));
    }
    ~QueryTarnd() {
        process.signal(SIGTERM);
        process.waitExit(in(15s));
    }

    std::string post(const std::string& method, const std::string& params) const {
        const std::string body =
            "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
            "DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
            "NAME=\"" +
            method +
            "\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
            "NAME=\"cimv2\"/></LOCALNAMESPACEPATH>" +
            params + "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
        // HTTP/1.0: the body comes unframed and ends when tarnd closes.
        return "POST /cimom HTTP/1.0\r\nHost: localhost\r\nAuthorization: " +
               basicAuth("admin", password) +
               "\r\nContent-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
               "MethodCall\r\nCIMMethod: " +
               method +
               "\r\nCIMObject: root%2Fcimv2\r\nContent-Length: " + std::to_string(body.size()) +
               "\r\n\r\n" + body;
    }

    // Sends the request and reads the whole response, counting elements
    // tagged tag as they pass. Returns the count and the seconds taken.
    std::pair<std::uint64_t, double> run(const std::string& request, const std::string& tag) const {
        Socket socket = Socket::connect(port);
        const auto start = Clock::now();
        socket.send(request);
        std::vector<char> buffer(262144);
        std::uint64_t count = 0;
        std::string carry;
        std::string tail;
        bool first = true;
        for (;;) {
            pollfd p{socket.fd(), POLLIN, 0};
            if (::poll(&p, 1, 120000) <= 0) {
                throw std::runtime_error("no data from tarnd for two minutes");
            }
            ssize_t n = ::recv(socket.fd(), buffer.data(), buffer.size(), 0);
            if (n <= 0) {
                break;
            }
            std::string text = carry + std::string(buffer.data(), static_cast<std::size_t>(n));
            if (first && text.compare(0, 13, "HTTP/1.0 200 ") != 0) {
                throw std::runtime_error("tarnd answered: " + text.substr(0, 200));
            }
            first = false;
            for (std::size_t at = text.find(tag); at != std::string::npos;
                 at = text.find(tag, at + tag.size())) {
                ++count;
            }
            carry = text.substr(text.size() - std::min(text.size(), tag.size() - 1));
            tail.append(buffer.data(), static_cast<std::size_t>(n));
            if (tail.size() > 4 * kTrailer.size()) {
                tail.erase(0, tail.size() - 2 * kTrailer.size());
            }
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (tail.size() < kTrailer.size() ||
            tail.compare(tail.size() - kTrailer.size(), kTrailer.size(), kTrailer) != 0) {
            throw std::runtime_error("the response did not end as a complete result: ..." + tail);
        }
        return {count, seconds};
    }
};

void BM_QueryAndEnumerate(benchmark::State& state) {
    FilledState& filled = FilledState::get();
    QueryTarnd server(filled.dir.path());
    const pid_t pid = server.process.pid();
    // The first login pays the password hash; it is no part of what is measured.
    server.run(server.post("GetClass",
                           "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME "
                           "NAME=\"TARN_BenchQuery\"/></IPARAMVALUE>"),
               "<CLASS");
    const long idleKb = statusKb(pid, "VmRSS");
    const std::string query =
        server.post("ExecQuery",
                    "<IPARAMVALUE NAME=\"QueryLanguage\"><VALUE>WQL</VALUE></IPARAMVALUE>"
                    "<IPARAMVALUE NAME=\"Query\"><VALUE>" +
                        std::string(kQuery) + "</VALUE></IPARAMVALUE>");
    const std::string enumerate = server.post(
        "EnumerateInstances",
        "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"TARN_BenchQuery\"/></IPARAMVALUE>");
    std::pair<std::uint64_t, double> q;
    std::pair<std::uint64_t, double> e;
    long queryPeakKb = 0;
    double queryCpu = 0;
    double enumerateCpu = 0;
    for (auto _ : state) {
        double cpu = cpuSeconds(pid);
        q = server.run(query, kResultTag);
        queryCpu = cpuSeconds(pid) - cpu;
        queryPeakKb = statusKb(pid, "VmHWM");
        cpu = cpuSeconds(pid);
        e = server.run(enumerate, kInstanceTag);
        enumerateCpu = cpuSeconds(pid) - cpu;
        state.SetIterationTime(q.second);
    }
    if (q.first != expectedMatches() || e.first != kInstances) {
        state.SkipWithError(("wrong counts: " + std::to_string(q.first) + " results, " +
                             std::to_string(e.first) + " enumerated")
                                .c_str());
        return;
    }
    state.counters["query_examined_per_s"] = kInstances / q.second;
    state.counters["query_examined_per_cpu_s"] = kInstances / queryCpu;
    state.counters["query_results"] = static_cast<double>(q.first);
    state.counters["query_s"] = q.second;
    state.counters["enumerate_per_s"] = kInstances / e.second;
    state.counters["enumerate_s"] = e.second;
    state.counters["enumerate_per_cpu_s"] = kInstances / enumerateCpu;
    state.counters["idle_rss_MB"] = static_cast<double>(idleKb) / 1024.0;
    state.counters["query_peak_rss_MB"] = static_cast<double>(queryPeakKb) / 1024.0;
    state.counters["enumerate_peak_rss_MB"] = static_cast<double>(statusKb(pid, "VmHWM")) / 1024.0;
    state.counters["repository_build_s"] = filled.buildSeconds;
}

BENCHMARK(BM_QueryAndEnumerate)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
