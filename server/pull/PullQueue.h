// tarn::PullQueue<T>: the results of an open enumeration between its producer
// and the pulls that take them. It is bounded: when it is full the producer
// waits in add(), so an enumeration left open holds at most this many results
// and a paused producer, never the whole result. Closing it (the enumeration
// was closed or expired) makes add() return false, which stops the producer.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

#include "tarn/IMultiResponse.h"
#include "vela/VelaBaseException.h"

namespace tarn {

template <class T>
class PullQueue : public IMultiResponse<T> {
  public:
    using Clock = std::chrono::steady_clock;

    explicit PullQueue(std::size_t capacity) : _capacity(capacity == 0 ? 1 : capacity) {}

    // Producer side. One producer thread runs the enumeration's producers in
    // turn; Close() of one of them is not the end, finish() is.
    bool add(T item, bool) override {
        std::unique_lock<std::mutex> lock(_m);
        _space.wait(lock, [this] { return _closed || _items.size() < _capacity; });
        if (_closed) {
            return false;
        }
        _items.push_back(std::move(item));
        _ready.notify_one();
        return true;
    }
    void setErrorCode(int) override {}
    void Close() override {}

    // The producer has ended, after failure when failure is not null.
    void finish(VELSmrPtr<VelaBaseException> failure = nullptr) {
        {
            std::lock_guard<std::mutex> lock(_m);
            _finished = true;
            _failure = std::move(failure);
        }
        _ready.notify_all();
    }

    // Consumer side: stops the producer and drops what is queued.
    void close() {
        {
            std::lock_guard<std::mutex> lock(_m);
            _closed = true;
            _items.clear();
        }
        _space.notify_all();
        _ready.notify_all();
    }

    // Hands up to max results to out (out(item) returning false stops early),
    // waiting until the deadline for them to arrive. True when the
    // enumeration is exhausted: finished and everything taken.
    template <class Out>
    bool take(std::size_t max, Clock::time_point deadline, Out&& out) {
        std::size_t given = 0;
        std::unique_lock<std::mutex> lock(_m);
        while (given < max) {
            if (!_ready.wait_until(lock, deadline,
                                   [this] { return !_items.empty() || _finished || _closed; })) {
                break;
            }
            if (_items.empty()) {
                break;  // finished or closed
            }
            // Hand over in runs, outside the lock, so the producer goes on meanwhile.
            std::deque<T> run;
            while (!_items.empty() && given + run.size() < max) {
                run.push_back(std::move(_items.front()));
                _items.pop_front();
            }
            lock.unlock();
            _space.notify_all();
            for (auto& item : run) {
                ++given;
                if (!out(std::move(item))) {
                    lock.lock();
                    return false;
                }
            }
            lock.lock();
        }
        return _finished && _items.empty();
    }

    // The producer's failure, once it has finished; null while it runs or
    // when it succeeded.
    VELSmrPtr<VelaBaseException> failure() const {
        std::lock_guard<std::mutex> lock(_m);
        return _failure;
    }

  private:
    const std::size_t _capacity;
    mutable std::mutex _m;
    std::condition_variable _ready;
    std::condition_variable _space;
    std::deque<T> _items;
    bool _finished = false;
    bool _closed = false;
    VELSmrPtr<VelaBaseException> _failure;
};

}  // namespace tarn
