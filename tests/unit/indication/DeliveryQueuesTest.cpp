// The per-destination queues on real threads: order, isolation of a stuck
// destination, pause and overflow.
#include <gtest/gtest.h>

#include <condition_variable>

#include "indication/DeliveryQueues.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;

// Records what each destination received; deliveries to "stuck" wait until
// released (bounded).
class Recorder {
  public:
    bool deliver(const DeliveryQueues::Item& item) {
        std::unique_lock<std::mutex> lock(_m);
        if (item.nameSpace == "stuck") {
            _cv.wait_for(lock, 10s, [&] { return _released; });
        }
        _got[item.nameSpace.str()].push_back(
            static_cast<int>(item.indication->getProperty("N")->getValue()->getUnsigned()));
        _cv.notify_all();
        return true;
    }
    void release() {
        std::lock_guard<std::mutex> lock(_m);
        _released = true;
        _cv.notify_all();
    }
    // What the destination received once it has n, or after 10 s.
    std::vector<int> await(const std::string& destination, std::size_t n) {
        std::unique_lock<std::mutex> lock(_m);
        _cv.wait_for(lock, 10s, [&] { return _got[destination].size() >= n; });
        return _got[destination];
    }

  private:
    std::mutex _m;
    std::condition_variable _cv;
    bool _released = false;
    std::map<std::string, std::vector<int>> _got;
};

DeliveryQueues::Item item(const char* destination, int n) {
    auto i = makeVELSmrPtr<CVelaObject>("CIM_InstCreation");
    i->addProperty("N", CVelaValue::makeUint32(static_cast<std::uint32_t>(n)));
    // The namespace stands for the destination in these tests.
    return {destination, i, nullptr, nullptr};
}

std::vector<int> range(int from, int to) {
    std::vector<int> v;
    for (int n = from; n < to; ++n) {
        v.push_back(n);
    }
    return v;
}

TEST(DeliveryQueues, AStuckDestinationDelaysNoOtherAndEachKeepsItsOrder) {
    Recorder r;
    DeliveryQueues queues(2, 1000, [&](const auto& i) { return r.deliver(i); });
    for (int n = 0; n < 200; ++n) {
        for (const char* d : {"stuck", "a", "b"}) {
            queues.push(d, item(d, n));
        }
    }
    // With two threads, one held by the stuck destination, the other serves both.
    EXPECT_EQ(r.await("a", 200), range(0, 200));
    EXPECT_EQ(r.await("b", 200), range(0, 200));
    r.release();
    EXPECT_EQ(r.await("stuck", 200), range(0, 200));
    // Counted once the delivery has returned: after the pool has finished.
    EXPECT_TRUE(queues.stop(5s));
    EXPECT_EQ(queues.counts().delivered, 600u);
}

TEST(DeliveryQueues, WhilePausedTheyQueueAndAFullQueueDropsItsOldest) {
    Recorder r;
    DeliveryQueues queues(2, 3, [&](const auto& i) { return r.deliver(i); });
    queues.pause();
    for (int n = 0; n < 5; ++n) {
        queues.push("a", item("a", n));
    }
    EXPECT_EQ(queues.counts().queued, 3u);
    EXPECT_EQ(queues.counts().dropped, 2u);
    EXPECT_EQ(queues.counts().delivered, 0u);
    queues.resume();
    EXPECT_EQ(r.await("a", 3), range(2, 5));
}

TEST(DeliveryQueues, StoppingDropsWhatIsQueuedAndRefusesMore) {
    Recorder r;
    DeliveryQueues queues(1, 100, [&](const auto& i) { return r.deliver(i); });
    queues.pause();
    queues.push("a", item("a", 1));
    EXPECT_TRUE(queues.stop(1s));
    queues.push("a", item("a", 2));
    EXPECT_EQ(queues.counts().queued, 0u);
    EXPECT_EQ(queues.counts().delivered, 0u);
}

}  // namespace
}  // namespace tarn
