// tarn::DeliveryQueues: one queue of indications per listener destination,
// each delivered in order by at most one thread of a bounded pool at a time.
// A destination that is slow or dead holds one thread while an attempt
// lasts; the others keep theirs, and nothing waits for a delivery but the
// pool. After a failed delivery the destination gives its thread back and
// is not tried again for a while (10 s, doubling with each further failure
// up to 10 min; a success ends it), so that dead listeners cannot take
// every thread in turn. A queue holds at most maxPerDestination
// indications: a full queue drops its oldest (logged with the count dropped
// so far). While paused, indications queue and nothing is delivered. A
// destination that no subscription uses any more loses its queue (and what
// was queued for it), so that destinations come and go without a trace.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "core/WorkerPool.h"
#include "vela/IVelaObject.h"
#include "vela/VELValSlist.h"

namespace tarn {

class DeliveryQueues {
  public:
    struct Item {
        VELString nameSpace;  // where the indication was raised
        VELSmrPtr<IVelaObject> indication;
        VELSmrPtr<VELValSlist<VELString>> propertyList;  // null: all
        VELSmrPtr<IVelaObject> handler;                  // the listener destination
    };
    // Delivers one item; true when the listener accepted it. Called on pool
    // threads, for one destination by one thread at a time.
    using Deliver = std::function<bool(const Item&)>;

    DeliveryQueues(std::size_t threads, std::size_t maxPerDestination, Deliver deliver);
    ~DeliveryQueues();
    DeliveryQueues(const DeliveryQueues&) = delete;
    DeliveryQueues& operator=(const DeliveryQueues&) = delete;

    // Queues the item for the destination of that key (its identity).
    void push(const VELString& destination, Item item);

    // Forgets the queues of all other destinations: what they hold is
    // dropped; one whose delivery is under way goes when it ends.
    void keepOnly(const std::set<VELString>& destinations);

    void pause();
    void resume();
    bool paused() const;

    struct Counts {
        std::uint64_t delivered = 0;
        std::uint64_t failed = 0;
        std::uint64_t dropped = 0;
        std::uint64_t queued = 0;
    };
    Counts counts() const;
    // The same for each destination that has had a queue.
    std::vector<std::pair<VELString, Counts>> countsByDestination() const;

    // Drops what is queued and waits at most timeout for the deliveries
    // under way; false when one still runs (see WorkerPool::stop).
    bool stop(std::chrono::milliseconds timeout);

  private:
    using Clock = std::chrono::steady_clock;

    struct Queue {
        VELString destination;
        std::deque<Item> items;
        bool scheduled = false;  // a pool task owns the queue
        bool waiting = false;    // after a failure, until the retry timer hands it back
        bool retired = false;    // to go once no task owns it (keepOnly)
        unsigned failures = 0;   // failed deliveries in a row
        std::uint64_t dropped = 0;
        std::atomic<std::uint64_t> delivered{0};
        std::atomic<std::uint64_t> failed{0};
    };
    // Under _m: hands the queue to the pool unless it has a task already.
    void schedule(const std::shared_ptr<Queue>& queue);
    void drain(const std::shared_ptr<Queue>& queue);
    // Under _m: a retired queue that nothing owns leaves the map.
    void forgetIfRetired(const std::shared_ptr<Queue>& queue);
    // Under _m: the queue waits before its next delivery; returns how long.
    std::chrono::seconds backOff(const std::shared_ptr<Queue>& queue);
    // The retry timer's thread: hands queues whose wait is over to the pool.
    void retryWhenDue();

    const std::size_t _max;
    const Deliver _deliver;
    mutable std::mutex _m;
    std::map<VELString, std::shared_ptr<Queue>> _queues;
    bool _paused = false;
    bool _stopping = false;
    std::uint64_t _queued = 0;
    std::uint64_t _dropped = 0;
    std::atomic<std::uint64_t> _delivered{0};
    std::atomic<std::uint64_t> _failed{0};
    std::multimap<Clock::time_point, std::shared_ptr<Queue>> _waiting;
    std::condition_variable _retry;
    WorkerPool _pool;    // its threads end before the rest goes
    std::thread _timer;  // last: started once the rest exists
};

}  // namespace tarn
