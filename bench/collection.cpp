// Items per second through one result collection: 1, 2 and 4 producer
// threads, one consumer (the benchmark thread), bounded to 1,000 entries or
// unbounded. The items are short strings, so the figures show the cost of the
// collection itself (lock, event, allocation of the entry, semaphores).
#include <benchmark/benchmark.h>

#include <memory>
#include <thread>
#include <vector>

#include "tarn/MultiResponseCollection.h"
#include "tarn/MultiResponseWriter.h"

namespace {

using Collection = tarn::MultiResponseCollection<VELString>;
using Writer = tarn::MultiResponseWriter<VELString>;

constexpr int kItemsPerRound = 200000;

void BM_CollectionThroughput(benchmark::State& state) {
    const int producers = static_cast<int>(state.range(0));
    const auto bounds = static_cast<std::uint32_t>(state.range(1));
    const int perProducer = kItemsPerRound / producers;
    std::int64_t total = 0;
    for (auto _ : state) {
        auto c = makeVELSmrPtr<Collection>(bounds);
        std::vector<std::thread> threads;
        for (int p = 0; p < producers; ++p) {
            auto writer = std::make_shared<Writer>(c);
            threads.emplace_back([writer, perProducer] {
                const VELString item("instance-name");
                for (int i = 0; i < perProducer; ++i) {
                    if (!writer->add(item, true)) {
                        break;
                    }
                }
                writer->Close();
            });
        }
        c->allowComplete();
        std::int64_t n = 0;
        while (c->hasNext()) {
            benchmark::DoNotOptimize(c->next());
            ++n;
        }
        for (auto& t : threads) {
            t.join();
        }
        if (n != static_cast<std::int64_t>(perProducer) * producers) {
            state.SkipWithError("items lost");
            break;
        }
        total += n;
    }
    state.SetItemsProcessed(total);
}

BENCHMARK(BM_CollectionThroughput)
    ->ArgNames({"producers", "bounds"})
    ->ArgsProduct({{1, 2, 4}, {1000, 0}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
