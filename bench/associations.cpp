// Association traversal and the cost of its index.
//
//   AssociatorNames     AssociatorNames of one node with 10 associations,
//                       through tarnd over HTTP (one kept connection each),
//                       with 10,000 and with 1,000,000 other instances of the
//                       same association class in the repository, two tarnds
//                       asked in turn: median and 99th percentile latency of
//                       kRequests requests each. Since the index finds the
//                       association instances of a node without reading the
//                       others, the two should give the same figures.
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

// A repository of node 0 with its ten associations and `others` more
// associations that never name node 0, and a tarnd serving it.
struct Served {
    State dir;
    double buildSeconds = 0;
    std::unique_ptr<Tarnd> server;
    std::unique_ptr<Socket> socket;
    std::unique_ptr<ResponseReader> reader;

    explicit Served(std::uint64_t others) {
        {
            tarn::Repository repo(dir.db());
            auto t = repo.beginTransaction();
            for (std::uint32_t id = 0; id <= 10; ++id) {
                auto node = makeVELSmrPtr<CVelaObject>("BENCH_Node");
                node->addProperty("Id", CVelaValue::makeUint32(id));
                t.createInstance(kNs, *node);
            }
            for (std::uint32_t id = 1; id <= 10; ++id) {
                t.createInstance(kNs, *link("BENCH_Link", 0, id));
            }
            t.commit();
            buildSeconds = createLinks(repo, "BENCH_Link", others);
        }
        server = std::make_unique<Tarnd>(dir);
    }

    // One AssociatorNames of node 0 on the kept connection: its time in
    // milliseconds, or a negative number when the answer is not the ten names.
    double ask(std::string* answer) {
        if (!socket) {
            // Connected on first use: tarnd closes a connection left idle.
            socket = std::make_unique<Socket>(Socket::connect(server->port));
            reader = std::make_unique<ResponseReader>(*socket);
        }
        const std::string request = server->request(kAssociatorNames);
        const auto start = Clock::now();
        socket->send(request);
        Response r = reader->read(in(60s));
        const double elapsed =
            std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        if (r.status != 200 || count(r.body, "<OBJECTPATH>") != 10) {
            *answer = r.body.substr(0, 2000);
            return -1;
        }
        return elapsed;
    }
};

// Both repositories are served at once and asked in turn, so that both
// medians are taken under the same load of the machine.
void BM_AssociatorNames(benchmark::State& state) {
    Served small(10000);
    Served large(1000000);
    std::vector<double> smallMs;
    std::vector<double> largeMs;
    for (auto _ : state) {
        // The first requests pay for the login (then cached) and warm caches.
        for (int i = -10; i < kRequests; ++i) {
            std::string answer;
            const double a = small.ask(&answer);
            const double b = large.ask(&answer);
            if (a < 0 || b < 0) {
                state.SkipWithError(("unexpected answer: " + answer).c_str());
                return;
            }
            if (i >= 0) {
                smallMs.push_back(a);
                largeMs.push_back(b);
            }
        }
        state.SetIterationTime(std::accumulate(largeMs.begin(), largeMs.end(), 0.0) / 1000.0);
    }
    std::sort(smallMs.begin(), smallMs.end());
    std::sort(largeMs.begin(), largeMs.end());
    auto median = [](const std::vector<double>& v) { return v[v.size() / 2]; };
    auto p99 = [](const std::vector<double>& v) { return v[v.size() * 99 / 100]; };
    state.counters["10k_median_ms"] = median(smallMs);
    state.counters["10k_p99_ms"] = p99(smallMs);
    state.counters["1M_median_ms"] = median(largeMs);
    state.counters["1M_p99_ms"] = p99(largeMs);
    state.counters["1M_vs_10k_pct"] = 100.0 * (median(largeMs) / median(smallMs) - 1.0);
    state.counters["1M_build_s"] = large.buildSeconds;
    state.counters["1M_db_MB"] =
        static_cast<double>(std::filesystem::file_size(large.dir.db())) / 1048576.0;
}

BENCHMARK(BM_AssociatorNames)
    ->Name("AssociatorNames")
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
