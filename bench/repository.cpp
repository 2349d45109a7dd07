// Repository speed and memory with a class of 10 properties:
//   Create/single     100,000 creates, one transaction each (synchronous=FULL:
//                     one WAL fsync per create, so this follows the disk's
//                     fsync rate)
//   Create/batch:N    100,000 creates in transactions of N creates
//   Get               one instance by name out of 100,000 (median and 99th
//                     percentile latency as counters)
//   Enumerate         all 100,000 instances (items_per_second)
//   EnumerateMemory   peak RSS growth of a fresh process that enumerates
//                     10,000 or 100,000 instances: it resets its high-water
//                     mark (/proc/self/clear_refs) after start-up, so only the
//                     enumeration counts; nearly equal figures mean the
//                     enumeration streams
// The repository is built once in a temporary directory (TMPDIR).
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "mof/MofCompiler.h"
#include "repository/Repository.h"
#include "repository/RepositoryMofSink.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"

namespace {

namespace fs = std::filesystem;

const char* const kNs = "root/bench";
constexpr int kLarge = 100000;
constexpr int kSmall = 10000;

const char* const kSchema = R"(
#pragma namespace ("root/bench")
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
class B_Item {
    [Key] string Name;
    uint32 Number; uint64 Size; sint32 Delta; boolean Active; datetime Created;
    real64 Ratio; string Label; uint16 Codes[]; string Owner;
};
class B_Small : B_Item { };
)";

VELSmrPtr<IVelaObject> item(const char* cls, int i) {
    auto obj = makeVELSmrPtr<CVelaObject>(cls);
    obj->addProperty("Name", CVelaValue::makeString("item-" + std::to_string(i)));
    obj->addProperty("Number", CVelaValue::makeUint32(static_cast<std::uint32_t>(i)));
    obj->addProperty("Size", CVelaValue::makeUint64(static_cast<std::uint64_t>(i) * 4096));
    obj->addProperty("Delta", CVelaValue::makeSint32(-i));
    obj->addProperty("Active", CVelaValue::makeBoolean(i % 2 == 0));
    obj->addProperty("Created", CVelaValue::makeDateTime("20240101120000.000000+000"));
    obj->addProperty("Ratio", CVelaValue::makeReal64(i / 3.0));
    obj->addProperty("Label", CVelaValue::makeString("a label of moderate length"));
    auto codes = makeVELSmrPtr<IVelaValue::ValueList>();
    codes->append(CVelaValue::makeUint16(1));
    codes->append(CVelaValue::makeUint16(static_cast<std::uint16_t>(i)));
    obj->addProperty("Codes",
                     VELSmrPtr<IVelaValue>(makeVELSmrPtr<CVelaValue>(codes, CVelaType::uint16)));
    obj->addProperty("Owner", CVelaValue::makeString("tarn"));
    return obj;
}

VELSmrPtr<IVelaInstanceName> nameOf(int i) {
    auto n = makeVELSmrPtr<CVelaInstanceName>("B_Item");
    n->addKeyBinding("Name", CVelaValue::makeString("item-" + std::to_string(i)));
    return n;
}

std::string newDir() {
    std::string tmpl = (fs::temp_directory_path() / "tarn-bench-repo-XXXXXX").string();
    if (!::mkdtemp(tmpl.data())) {
        throw std::runtime_error("mkdtemp failed");
    }
    return tmpl;
}

std::unique_ptr<tarn::Repository> newRepository(const std::string& dir) {
    auto repo = std::make_unique<tarn::Repository>(dir + "/repository.db");
    tarn::MofCompiler compiler;
    compiler.compileText(kSchema, "bench.mof");
    tarn::RepositoryMofSink sink(*repo);
    if (!compiler.commit(sink)) {
        throw std::runtime_error("the benchmark schema does not compile");
    }
    return repo;
}

void fill(tarn::Repository& repo, const char* cls, int count, int batch) {
    for (int i = 0; i < count;) {
        auto t = repo.beginTransaction();
        for (int end = std::min(count, i + batch); i < end; ++i) {
            t.createInstance(kNs, *item(cls, i));
        }
        t.commit();
    }
}

// The repository with 100,000 instances of B_Item and 10,000 of B_Small.
class Filled {
  public:
    static Filled& get() {
        static Filled f;
        return f;
    }
    ~Filled() {
        repo.reset();
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
    std::string dir = newDir();
    std::unique_ptr<tarn::Repository> repo;

  private:
    Filled() {
        repo = newRepository(dir);
        fill(*repo, "B_Item", kLarge, 1000);
        fill(*repo, "B_Small", kSmall, 1000);
    }
};

void BM_CreateSingle(benchmark::State& state) {
    std::string dir = newDir();
    auto repo = newRepository(dir);
    int i = 0;
    for (auto _ : state) {
        repo->createInstance(kNs, *item("B_Item", i++));
    }
    state.SetItemsProcessed(state.iterations());
    repo.reset();
    fs::remove_all(dir);
}
BENCHMARK(BM_CreateSingle)
    ->Name("Create/single")
    ->Iterations(kLarge)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

void BM_CreateBatch(benchmark::State& state) {
    int batch = static_cast<int>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        std::string dir = newDir();
        auto repo = newRepository(dir);
        state.ResumeTiming();
        fill(*repo, "B_Item", kLarge, batch);
        state.PauseTiming();
        repo.reset();
        fs::remove_all(dir);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kLarge);
}
BENCHMARK(BM_CreateBatch)
    ->Name("Create/batch")
    ->Arg(100)
    ->Arg(1000)
    ->Arg(kLarge)
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

void BM_Get(benchmark::State& state) {
    tarn::Repository& repo = *Filled::get().repo;
    std::mt19937 random(42);
    std::uniform_int_distribution<int> pick(0, kLarge - 1);
    std::vector<double> micros;
    micros.reserve(200000);
    for (auto _ : state) {
        auto name = nameOf(pick(random));
        auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(repo.getInstance(kNs, *name));
        micros.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
                .count());
    }
    std::sort(micros.begin(), micros.end());
    state.counters["median_us"] = micros[micros.size() / 2];
    state.counters["p99_us"] = micros[micros.size() * 99 / 100];
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Get)->Name("Get")->Unit(benchmark::kMicrosecond);

void BM_Enumerate(benchmark::State& state) {
    tarn::Repository& repo = *Filled::get().repo;
    for (auto _ : state) {
        std::size_t n = 0;
        repo.enumerateInstances(kNs, "B_Item", false, [&](const VELSmrPtr<IVelaObject>& o) {
            benchmark::DoNotOptimize(o.get());
            ++n;
            return true;
        });
        if (n != kLarge) {
            state.SkipWithError("wrong count");
        }
    }
    state.SetItemsProcessed(state.iterations() * kLarge);
}
BENCHMARK(BM_Enumerate)->Name("Enumerate")->Unit(benchmark::kMillisecond);

long statusKb(const char* field) {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind(field, 0) == 0) {
            return std::stol(line.substr(std::strlen(field)));
        }
    }
    return -1;
}

void BM_EnumerateMemory(benchmark::State& state) {
    const std::string path = Filled::get().dir + "/repository.db";
    const char* cls = state.range(0) == kLarge ? "B_Item" : "B_Small";
    long growthKb = -1;
    long peakKb = -1;
    for (auto _ : state) {
        int fds[2];
        if (::pipe(fds) != 0) {
            state.SkipWithError("pipe failed");
            return;
        }
        pid_t child = ::fork();
        if (child == 0) {
            ::close(fds[0]);
            long result[3] = {-1, -1, -1};
            try {
                tarn::Repository repo(path);
                std::ofstream("/proc/self/clear_refs") << "5";  // reset VmHWM to VmRSS
                long base = statusKb("VmRSS:");
                std::size_t n = 0;
                repo.enumerateInstances(kNs, cls, false, [&](const VELSmrPtr<IVelaObject>&) {
                    ++n;
                    return true;
                });
                result[0] = statusKb("VmHWM:") - base;
                result[1] = statusKb("VmHWM:");
                result[2] = static_cast<long>(n);
            } catch (...) {
            }
            (void)!::write(fds[1], result, sizeof result);
            ::_exit(0);
        }
        ::close(fds[1]);
        long result[3] = {-1, -1, -1};
        if (::read(fds[0], result, sizeof result) != sizeof result || result[2] != state.range(0)) {
            state.SkipWithError("the enumerating process failed");
        }
        ::close(fds[0]);
        ::waitpid(child, nullptr, 0);
        growthKb = result[0];
        peakKb = result[1];
    }
    state.counters["rss_growth_kB"] = static_cast<double>(growthKb);
    state.counters["peak_rss_kB"] = static_cast<double>(peakKb);
}
BENCHMARK(BM_EnumerateMemory)
    ->Name("EnumerateMemory")
    ->Arg(kSmall)
    ->Arg(kLarge)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
