// Several producer threads and one consumer: every item arrives exactly once
// and in per-producer order, markers keep their place, the bounded queue never
// holds more than its capacity, completion comes with the last writer, and a
// consumer that gives up early releases every producer.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "tarn/MultiResponseCollection.h"
#include "tarn/MultiResponseWriter.h"
#include "vela/CI_Time.h"
#include "vela/VELSemaphore.h"

namespace {

struct Item {
    int producer;
    int seq;
};
using ItemPtr = VELSmrPtr<Item>;
using Collection = tarn::MultiResponseCollection<ItemPtr>;
using Writer = tarn::MultiResponseWriter<ItemPtr>;

// Long enough that a wait which only ends by running out shows up as a failure.
constexpr std::int32_t kWaitSeconds = 60;
const CI_RelTime kLong(10);

// Consumer-side bookkeeping, touched only on the consumer thread (markers run there).
struct ConsumerView {
    std::vector<int> received;  // items received per producer
    std::uint64_t removed = 0;  // entries taken off the queue, items and markers
    std::vector<std::string> failures;
};

// Queued after item `after` of a producer: when it runs, the consumer must have
// received exactly after + 1 items of that producer.
struct OrderMarker : tarn::IMarker<ItemPtr> {
    OrderMarker(ConsumerView& v, int p, int a) : view(v), producer(p), after(a) {}
    bool isMarker() const override { return true; }
    void process() override {
        ++view.removed;
        if (view.received[producer] != after + 1) {
            view.failures.push_back("marker of producer " + std::to_string(producer) +
                                    " after item " + std::to_string(after) + " ran at item " +
                                    std::to_string(view.received[producer]));
        }
    }
    ConsumerView& view;
    int producer;
    int after;
};

struct StressCase {
    int producers;
    std::uint32_t bounds;
};

class CollectionStress : public ::testing::TestWithParam<StressCase> {};

TEST_P(CollectionStress, EveryItemOnceInOrderAndCompletionWithTheLastWriter) {
    const auto [producers, bounds] = GetParam();
    constexpr int kItems = 3000;
    constexpr int kMarkerEvery = 97;
    auto c = makeVELSmrPtr<Collection>(bounds, kWaitSeconds);
    ConsumerView view;
    view.received.assign(producers, 0);
    std::atomic<std::uint64_t> added{0};  // entries accepted by add, items and markers
    std::atomic<int> closing{0};
    std::atomic<int> refused{0};

    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p) {
        auto writer = std::make_shared<Writer>(c);
        threads.emplace_back([&, p, writer] {
            for (int i = 0; i < kItems; ++i) {
                if (!writer->add(makeVELSmrPtr<Item>(Item{p, i}), true)) {
                    refused.fetch_add(1);
                }
                added.fetch_add(1);
                // Markers between items only: the last entry of a producer is an item.
                if (i % kMarkerEvery == 0 && i + 1 < kItems) {
                    if (!writer->add(makeVELSmrPtr<OrderMarker>(view, p, i), true)) {
                        refused.fetch_add(1);
                    }
                    added.fetch_add(1);
                }
            }
            closing.fetch_add(1);
            writer->Close();
        });
    }
    c->allowComplete();

    std::uint64_t items = 0;
    std::uint64_t overfull = 0;
    while (c->hasNext()) {
        ItemPtr item = c->next();
        ++view.removed;
        ++items;
        int& expected = view.received[item->producer];
        if (item->seq != expected) {
            view.failures.push_back("producer " + std::to_string(item->producer) + ": item " +
                                    std::to_string(item->seq) + " where " +
                                    std::to_string(expected) + " was due");
        }
        expected = item->seq + 1;
        // Every accepted entry beyond the capacity must have waited for a removal.
        if (bounds != 0 && added.load() > view.removed + bounds) {
            ++overfull;
        }
    }
    // hasNext said "no more" only after every writer had closed.
    EXPECT_EQ(closing.load(), producers);
    EXPECT_TRUE(c->isComplete());
    for (auto& t : threads) {
        t.join();
    }
    EXPECT_EQ(refused.load(), 0);
    EXPECT_EQ(items, static_cast<std::uint64_t>(producers) * kItems);
    EXPECT_EQ(view.removed, added.load());  // every marker ran too
    for (int p = 0; p < producers; ++p) {
        EXPECT_EQ(view.received[p], kItems) << "producer " << p;
    }
    EXPECT_EQ(overfull, 0u);
    EXPECT_TRUE(view.failures.empty()) << view.failures.front();
    EXPECT_EQ(c->getErrorCode(), 0);
}

INSTANTIATE_TEST_SUITE_P(ProducersAndBounds, CollectionStress,
                         ::testing::Values(StressCase{1, 0}, StressCase{1, 1}, StressCase{3, 0},
                                           StressCase{3, 1}, StressCase{4, 7}, StressCase{4, 1000}),
                         [](const auto& info) {
                             return std::to_string(info.param.producers) + "producers_bounds" +
                                    std::to_string(info.param.bounds);
                         });

class EarlyConsumerDone : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(EarlyConsumerDone, ReleasesEveryProducerWithFalse) {
    const std::uint32_t bounds = GetParam();
    constexpr int kProducers = 3;
    constexpr int kRead = 50;
    auto c = makeVELSmrPtr<Collection>(bounds, kWaitSeconds);
    VELSemaphore accepted;
    VELSemaphore stopped;
    std::atomic<int> stoppedByFalse{0};

    std::vector<std::thread> threads;
    for (int p = 0; p < kProducers; ++p) {
        auto writer = std::make_shared<Writer>(c);
        threads.emplace_back([&, p, writer] {
            // A provider that would go on for ever: only a false from add stops it.
            for (int i = 0;; ++i) {
                if (!writer->add(makeVELSmrPtr<Item>(Item{p, i}), true)) {
                    stoppedByFalse.fetch_add(1);
                    break;
                }
                accepted.post();
            }
            stopped.post();
            writer->Close();
        });
    }
    c->allowComplete();

    for (int n = 0; n < kRead; ++n) {
        ASSERT_TRUE(c->hasNext());
        c->next();
    }
    if (bounds != 0) {
        // Let the producers fill the queue again, so that they end up waiting for
        // room. A waiting producer takes room again in runs of a quarter of the
        // queue, so less than a run may stay free.
        const std::uint32_t run = std::max(1u, bounds / 4);
        for (std::uint32_t n = 0; n < kRead + bounds - run + 1; ++n) {
            ASSERT_TRUE(accepted.wait(kLong));
        }
    }
    c->signalConsumerDone();

    // Producers blocked for room must wake now, not when their wait runs out.
    CI_Time start;
    for (int p = 0; p < kProducers; ++p) {
        EXPECT_TRUE(stopped.wait(kLong)) << "a producer is still blocked";
    }
    EXPECT_LT((CI_Time() - start).getMilliseconds(), 10000);
    for (auto& t : threads) {
        t.join();
    }
    EXPECT_EQ(stoppedByFalse.load(), kProducers);
    EXPECT_TRUE(c->isComplete());
}

INSTANTIATE_TEST_SUITE_P(Bounds, EarlyConsumerDone, ::testing::Values(1u, 16u, 0u));

TEST(MultiResponseCollection, FullQueueWakesTheConsumerEvenWhenNotAskedTo) {
    auto c = makeVELSmrPtr<Collection>(1u, kWaitSeconds);
    auto writer = std::make_shared<Writer>(c);
    c->allowComplete();
    std::thread producer([writer] {
        // Neither add asks for a wake-up; the second finds the queue full.
        writer->add(makeVELSmrPtr<Item>(Item{0, 0}), false);
        writer->add(makeVELSmrPtr<Item>(Item{0, 1}), false);
        writer->Close();
    });
    CI_Time start;
    EXPECT_EQ(c->waitForResponse(), 0);
    EXPECT_LT((CI_Time() - start).getSeconds(), kWaitSeconds / 2);
    std::vector<int> seqs;
    while (c->hasNext()) {
        seqs.push_back(c->next()->seq);
    }
    producer.join();
    EXPECT_EQ(seqs, (std::vector<int>{0, 1}));
}

}  // namespace
