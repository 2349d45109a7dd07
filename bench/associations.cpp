// Association traversal and the cost of its index.
//
//   AssociatorNames/N   AssociatorNames of one node with 10 associations,
//                       through tarnd over HTTP (one kept connection), with
//                       N other instances of the same association class in
//                       the repository: median and 99th percentile latency of
//                       kRequests requests. Since the index finds the
//                       association instances of a node without reading the
//                       others, the two sizes should give the same figures.
//   Create/indexed/P    creates of association instances (two reference
//   Create/plain/P      keys), kCreates in transactions of kBatch; "plain"
//                       creates instances with the same references as keys
//                       of a class that is no association, which the index
//                       leaves out: the difference is what keeping the index
//                       costs. P is how the links pair their nodes (see
//                       Pattern): spread or chain.
//
// The repositories are built in a temporary directory (TMPDIR) with
// tarn-mof (default schema and the classes below) and then filled through
// the repository's own interface; tarnd and tarn-mof are taken from the build
// tree next to this program (../bin).
#include <benchmark/benchmark.h>
#include <signal.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <numeric>

#include "../tests/support/HttpTestSupport.h"
#include "BenchSupport.h"
#include "repository/Repository.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"

namespace {

using namespace tarntest;
using tarnbench::buildDir;

const char* const kNs = "root/cimv2";
constexpr int kRequests = 1000;
constexpr int kCreates = 100000;
constexpr int kBatch = 1000;
// Nodes 1..kSpread take part in the other associations, kSpread * kSpread of them at most.
constexpr std::uint32_t kSpread = 1000;

const char* const kMof = R"(// Classes of the association benchmark.
class BENCH_Node {
    [Key] uint32 Id;
    string Label;
};
[Association]
class BENCH_Link {
    [Key] BENCH_Node REF Left;
    [Key] BENCH_Node REF Right;
};
// The same references as keys of a class that is no association (only an
// association may declare reference properties): the index leaves it out.
class BENCH_Pair {
    [Key, TARN_ReferenceKey] string Left;
    [Key, TARN_ReferenceKey] string Right;
};
)";

VELSmrPtr<IVelaValue> nodeRef(std::uint32_t id) {
    auto name = makeVELSmrPtr<CVelaInstanceName>("BENCH_Node");
    name->addKeyBinding("Id", CVelaValue::makeUint32(id));
    return CVelaValue::makeReference(VELSmrPtr<IVelaInstanceName>(name));
}

VELSmrPtr<IVelaObject> link(const char* cls, std::uint32_t left, std::uint32_t right) {
    auto obj = makeVELSmrPtr<CVelaObject>(cls);
    obj->addProperty("Left", nodeRef(left));
    obj->addProperty("Right", nodeRef(right));
    return obj;
}

// A state directory whose repository holds the default schema and the
// classes above.
struct State {
    TempDir dir;

    State() {
        std::ofstream(dir.path() / "tarn.conf") << "[Log]\nLevel = 1\nTraceFile = trace.log\n";
        std::ofstream(dir.path() / "bench.mof") << kMof;
        ChildProcess mof;
        mof.start({(buildDir() / "bin" / "tarn-mof").string(), "--state-dir", dir.path().string(),
                   "-n", kNs, (dir.path() / "bench.mof").string()});
        if (mof.waitExit(in(120s)) != std::optional<int>(0)) {
            throw std::runtime_error("tarn-mof failed: " + mof.output());
        }
    }
    std::string db() const { return (dir.path() / "repository.db").string(); }
};

// Creates count instances of cls, pairs of nodes from `first` on, in
// transactions of kBatch; returns the seconds it took.
// How the links of a run pair their nodes.
enum class Pattern {
    // Link k joins node 1 + k / kSpread to node 1 + k % kSpread: each
    // transaction reaches kSpread different nodes, so it updates as many
    // places of the index, the worst case for it.
    Spread,
    // Link k joins node k + 1 to node k + 2: a transaction's nodes are
    // neighbours, and so are their places in the index.
    Chain,
};

double createLinks(tarn::Repository& repo, const char* cls, std::uint64_t count,
                   Pattern pattern = Pattern::Spread) {
    const auto start = Clock::now();
    for (std::uint64_t k = 0; k < count;) {
        auto t = repo.beginTransaction();
        for (std::uint64_t end = std::min(count, k + kBatch); k < end; ++k) {
            const auto left =
                static_cast<std::uint32_t>(pattern == Pattern::Spread ? 1 + k / kSpread : k + 1);
            const auto right =
                static_cast<std::uint32_t>(pattern == Pattern::Spread ? 1 + k % kSpread : k + 2);
            t.createInstance(kNs, *link(cls, left, right));
        }
        t.commit();
    }
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Tarnd {
    ChildProcess process;
    std::uint16_t port = freePort();
    std::string password;

    explicit Tarnd(const State& state) {
        process.start({(buildDir() / "bin" / "tarnd").string(), "--state-dir",
                       state.dir.path().string(), "--http-port", std::to_string(port),
                       "--https-port", "0"});
        if (!process.waitForOutput("running;", in(120s))) {
            throw std::runtime_error("tarnd did not start: " + process.output());
        }
        password = trimmed(readFile(state.dir.path() / "admin.password"));
    }
    ~Tarnd() {
        process.signal(SIGTERM);
        process.waitExit(in(30s));
    }

    std::string request(const std::string& body) const {
        return "POST /cimom HTTP/1.1\r\nHost: localhost\r\nAuthorization: " +
               basicAuth("admin", password) +
               "\r\nContent-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
               "MethodCall\r\nCIMMethod: AssociatorNames\r\nCIMObject: root%2Fcimv2\r\n"
               "Content-Length: " +
               std::to_string(body.size()) + "\r\n\r\n" + body;
    }
};

const std::string kAssociatorNames =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
    "<MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"AssociatorNames\">"
    "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>"
    "</LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"ObjectName\"><INSTANCENAME CLASSNAME=\"BENCH_Node\">"
    "<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"numeric\">0</KEYVALUE></KEYBINDING>"
    "</INSTANCENAME></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";

std::size_t count(const std::string& text, const std::string& what) {
    std::size_t n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + what.size())) {
        ++n;
    }
    return n;
}

std::map<std::int64_t, double> medianMs;

void BM_AssociatorNames(benchmark::State& state) {
    const auto others = static_cast<std::uint64_t>(state.range(0));
    State dir;
    double buildSeconds = 0;
    {
        tarn::Repository repo(dir.db());
        auto t = repo.beginTransaction();
        for (std::uint32_t id = 0; id <= 10; ++id) {
            auto node = makeVELSmrPtr<CVelaObject>("BENCH_Node");
            node->addProperty("Id", CVelaValue::makeUint32(id));
            t.createInstance(kNs, *node);
        }
        // Node 0 and its ten associations; the others never name node 0.
        for (std::uint32_t id = 1; id <= 10; ++id) {
            t.createInstance(kNs, *link("BENCH_Link", 0, id));
        }
        t.commit();
        buildSeconds = createLinks(repo, "BENCH_Link", others);
    }
    Tarnd server(dir);
    Socket socket = Socket::connect(server.port);
    ResponseReader reader(socket);
    const std::string request = server.request(kAssociatorNames);
    std::vector<double> ms;
    ms.reserve(kRequests);
    for (auto _ : state) {
        // The first requests pay for the login (then cached) and warm caches.
        for (int i = -10; i < kRequests; ++i) {
            const auto start = Clock::now();
            socket.send(request);
            Response r = reader.read(in(60s));
            const double elapsed =
                std::chrono::duration<double, std::milli>(Clock::now() - start).count();
            if (r.status != 200 || count(r.body, "<OBJECTPATH>") != 10) {
                state.SkipWithError(("unexpected answer: " + r.body.substr(0, 2000)).c_str());
                return;
            }
            if (i >= 0) {
                ms.push_back(elapsed);
            }
        }
        state.SetIterationTime(std::accumulate(ms.begin(), ms.end(), 0.0) / 1000.0);
    }
    std::sort(ms.begin(), ms.end());
    const double median = ms[ms.size() / 2];
    medianMs[state.range(0)] = median;
    state.counters["median_ms"] = median;
    state.counters["p99_ms"] = ms[ms.size() * 99 / 100];
    state.counters["build_s"] = buildSeconds;
    state.counters["db_MB"] = static_cast<double>(std::filesystem::file_size(dir.db())) / 1048576.0;
    if (medianMs.count(10000) != 0 && state.range(0) != 10000) {
        state.counters["vs_10k_pct"] = 100.0 * (median / medianMs[10000] - 1.0);
    }
}

BENCHMARK(BM_AssociatorNames)
    ->Name("AssociatorNames")
    ->Arg(10000)
    ->Arg(1000000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void BM_Create(benchmark::State& state, const char* cls, Pattern pattern) {
    double seconds = 0;
    for (auto _ : state) {
        State dir;
        tarn::Repository repo(dir.db());
        seconds = createLinks(repo, cls, kCreates, pattern);
        state.SetIterationTime(seconds);
    }
    state.counters["creates_per_s"] = kCreates / seconds;
}

BENCHMARK_CAPTURE(BM_Create, indexed_spread, "BENCH_Link", Pattern::Spread)
    ->Name("Create/indexed/spread")
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Create, plain_spread, "BENCH_Pair", Pattern::Spread)
    ->Name("Create/plain/spread")
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Create, indexed_chain, "BENCH_Link", Pattern::Chain)
    ->Name("Create/indexed/chain")
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Create, plain_chain, "BENCH_Pair", Pattern::Chain)
    ->Name("Create/plain/chain")
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
