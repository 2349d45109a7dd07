#include "indication/DeliveryQueues.h"

#include <pthread.h>

#include <algorithm>

#include "vela/AdapterUtils.h"

namespace tarn {

namespace {
const char* const WHO = "tarn::DeliveryQueues";
// Items one task delivers before it yields its thread to other queues.
constexpr std::size_t BATCH = 32;
// How long a destination waits after its first failed delivery in a row;
// each further failure doubles it, up to the last.
constexpr std::chrono::seconds FIRST_WAIT{10};
constexpr std::chrono::seconds LONGEST_WAIT{600};
}  // namespace

DeliveryQueues::DeliveryQueues(std::size_t threads, std::size_t maxPerDestination, Deliver deliver)
    : _max(maxPerDestination == 0 ? 1 : maxPerDestination),
      _deliver(std::move(deliver)),
      _pool(threads == 0 ? 1 : threads, "tarn-deliver"),
      _timer([this] { retryWhenDue(); }) {}

DeliveryQueues::~DeliveryQueues() {
    stop(std::chrono::milliseconds(0));
    if (_timer.joinable()) {
        _timer.join();
    }
}

void DeliveryQueues::push(const VELString& destination, Item item) {
    std::uint64_t dropped = 0;
    {
        std::lock_guard<std::mutex> lock(_m);
        if (_stopping) {
            return;
        }
        std::shared_ptr<Queue>& q = _queues[destination];
        if (!q) {
            q = std::make_shared<Queue>();
            q->destination = destination;
        }
        q->retired = false;
        if (q->items.size() >= _max) {
            q->items.pop_front();
            --_queued;
            ++_dropped;
            dropped = ++q->dropped;
        }
        q->items.push_back(std::move(item));
        ++_queued;
        schedule(q);
    }
    // The first drop, then every thousandth: the count without a flood.
    if (dropped == 1 || (dropped != 0 && dropped % 1000 == 0)) {
        AdapterUtils::log(WHO,
                          "The queue of destination " + destination + " is full (" +
                              VELString::valueOf(static_cast<std::uint64_t>(_max)) +
                              "): dropped its oldest indication, " + VELString::valueOf(dropped) +
                              " dropped so far",
                          2);
    }
}

void DeliveryQueues::schedule(const std::shared_ptr<Queue>& queue) {
    if (queue->scheduled || queue->waiting || _paused || _stopping || queue->items.empty()) {
        return;
    }
    queue->scheduled = true;
    if (!_pool.post([this, queue] { drain(queue); })) {
        queue->scheduled = false;
    }
}

void DeliveryQueues::drain(const std::shared_ptr<Queue>& queue) {
    for (std::size_t n = 0;; ++n) {
        Item item;
        {
            std::lock_guard<std::mutex> lock(_m);
            if (n == BATCH || _paused || _stopping || queue->items.empty()) {
                queue->scheduled = false;
                // Back of the line: other destinations get a turn.
                schedule(queue);
                forgetIfRetired(queue);
                return;
            }
            item = std::move(queue->items.front());
            queue->items.pop_front();
            --_queued;
        }
        bool ok = false;
        try {
            ok = _deliver(item);
        } catch (...) {
            ok = false;
        }
        (ok ? _delivered : _failed).fetch_add(1, std::memory_order_relaxed);
        (ok ? queue->delivered : queue->failed).fetch_add(1, std::memory_order_relaxed);
        if (!ok) {
            std::chrono::seconds wait;
            {
                std::lock_guard<std::mutex> lock(_m);
                queue->scheduled = false;
                if (queue->retired) {
                    forgetIfRetired(queue);
                    return;
                }
                wait = backOff(queue);
            }
            AdapterUtils::log(
                WHO,
                "Delivery to destination " + queue->destination + " failed; next attempt in " +
                    VELString::valueOf(static_cast<std::uint64_t>(wait.count())) + " s",
                2);
            return;
        }
        queue->failures = 0;  // read and written only by the task that owns the queue
    }
}

std::chrono::seconds DeliveryQueues::backOff(const std::shared_ptr<Queue>& queue) {
    const unsigned doublings = std::min(queue->failures, 6u);
    ++queue->failures;
    const auto wait = std::min<std::chrono::seconds>(FIRST_WAIT * (1u << doublings), LONGEST_WAIT);
    queue->waiting = true;
    _waiting.emplace(Clock::now() + wait, queue);
    _retry.notify_one();
    return wait;
}

void DeliveryQueues::retryWhenDue() {
    ::pthread_setname_np(::pthread_self(), "tarn-retry");
    std::unique_lock<std::mutex> lock(_m);
    while (!_stopping) {
        if (_waiting.empty()) {
            _retry.wait(lock);  // until a queue waits or the queues stop
            continue;
        }
        // A copy: the entry may go (stop) while this waits.
        const Clock::time_point due = _waiting.begin()->first;
        if (_retry.wait_until(lock, due) == std::cv_status::no_timeout) {
            continue;  // woken early: look again
        }
        while (!_waiting.empty() && _waiting.begin()->first <= Clock::now()) {
            std::shared_ptr<Queue> queue = std::move(_waiting.begin()->second);
            _waiting.erase(_waiting.begin());
            queue->waiting = false;
            schedule(queue);
        }
    }
}

void DeliveryQueues::keepOnly(const std::set<VELString>& destinations) {
    std::lock_guard<std::mutex> lock(_m);
    for (auto it = _waiting.begin(); it != _waiting.end();) {
        if (destinations.count(it->second->destination) == 0) {
            it->second->waiting = false;
            it = _waiting.erase(it);
        } else {
            ++it;
        }
    }
    for (auto it = _queues.begin(); it != _queues.end();) {
        std::shared_ptr<Queue> q = it->second;
        ++it;  // forgetIfRetired may erase q's entry
        if (destinations.count(q->destination) == 0) {
            _queued -= q->items.size();
            q->items.clear();
            q->retired = true;
            forgetIfRetired(q);
        }
    }
}

void DeliveryQueues::forgetIfRetired(const std::shared_ptr<Queue>& queue) {
    if (!queue->retired || queue->scheduled || queue->waiting) {
        return;
    }
    auto it = _queues.find(queue->destination);
    if (it != _queues.end() && it->second == queue) {
        _queues.erase(it);
    }
}

void DeliveryQueues::pause() {
    std::lock_guard<std::mutex> lock(_m);
    _paused = true;
}

void DeliveryQueues::resume() {
    std::lock_guard<std::mutex> lock(_m);
    _paused = false;
    for (auto& [key, q] : _queues) {
        schedule(q);
    }
}

bool DeliveryQueues::paused() const {
    std::lock_guard<std::mutex> lock(_m);
    return _paused;
}

DeliveryQueues::Counts DeliveryQueues::counts() const {
    Counts c;
    c.delivered = _delivered.load(std::memory_order_relaxed);
    c.failed = _failed.load(std::memory_order_relaxed);
    std::lock_guard<std::mutex> lock(_m);
    c.dropped = _dropped;
    c.queued = _queued;
    return c;
}

std::vector<std::pair<VELString, DeliveryQueues::Counts>> DeliveryQueues::countsByDestination()
    const {
    std::vector<std::pair<VELString, Counts>> out;
    std::lock_guard<std::mutex> lock(_m);
    out.reserve(_queues.size());
    for (const auto& [key, q] : _queues) {
        Counts c;
        c.delivered = q->delivered.load(std::memory_order_relaxed);
        c.failed = q->failed.load(std::memory_order_relaxed);
        c.dropped = q->dropped;
        c.queued = q->items.size();
        out.emplace_back(key, c);
    }
    return out;
}

bool DeliveryQueues::stop(std::chrono::milliseconds timeout) {
    {
        std::lock_guard<std::mutex> lock(_m);
        _stopping = true;
        for (auto& [key, q] : _queues) {
            _queued -= q->items.size();
            q->items.clear();
        }
        _waiting.clear();
    }
    _retry.notify_all();
    return _pool.stop(timeout);
}

}  // namespace tarn
