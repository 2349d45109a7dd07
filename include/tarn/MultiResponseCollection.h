// tarn::MultiResponseCollection<T>: the channel through which provider
// threads hand the results of one operation to the thread that writes the
// response, so that the first results go out before the last are found.
// Producers reach it only through MultiResponseWriter handles; the consumer
// reads it with hasNext/next while they are still adding.
//
// The collection is created with one registration of its own, the completion
// hold, which the consumer gives up with allowComplete() once all writers have
// been handed out. It is complete when the hold and every writer are gone, or
// when a writer's error is visible. With a capacity (bounds != 0) it is a
// bounded buffer: producers wait for a free place, so a slow client keeps at
// most that many entries of one operation in memory.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>
#include <vector>

#include "tarn/IMarker.h"
#include "vela/CI_AutoEvent.h"
#include "vela/CI_RelTime.h"
#include "vela/VELCriticalSection.h"
#include "vela/VELCriticalSectionGuard.h"
#include "vela/VELSmrPtr.h"
#include "vela/VelaBaseException.h"

namespace tarn {

template <class T>
class MultiResponseCollection {
  public:
    // The queue entry of one result.
    template <class U>
    class wrapper final : public IMarker<U> {
      public:
        explicit wrapper(U item) : _item(std::move(item)) {}
        bool isMarker() const override { return false; }
        void process() override {}
        U getItem() const { return _item; }
        // Moves the result out; the entry is being dropped, so large strings
        // are not copied.
        U releaseItem() { return std::move(_item); }

      private:
        U _item;
    };

    // Capacity: enough for providers to run well ahead of a client that reads
    // at normal speed, small enough that a stalled client pins a bounded
    // amount of memory per operation.
    static constexpr std::uint32_t DEFAULT_BOUNDS = 1000;
    // One wait of the consumer (and one slice of a producer's wait for room).
    // A wait that runs out is harmless; the value only bounds how long
    // waitForResponse() blocks before it reports that nothing came.
    static constexpr std::int32_t DEFAULT_TIMEOUT_SECONDS = 10;
    // Operations end when their writers close, not by a clock.
    static constexpr std::int32_t NO_TIMEOUT_LIMIT = -1;

    // bounds: capacity of the queue, 0 for none. waitSeconds: length of one
    // wait, at least 1 (smaller values are raised to 1, so that a bad
    // configuration value cannot turn the consumer into a busy loop).
    explicit MultiResponseCollection(std::uint32_t bounds = DEFAULT_BOUNDS,
                                     std::int32_t waitSeconds = DEFAULT_TIMEOUT_SECONDS,
                                     std::int32_t timeoutLimitValue = NO_TIMEOUT_LIMIT)
        : errorCode(0),
          registeredWriterCount(1),
          allowCompleteCalled(false),
          timeoutLimit(timeoutLimitValue),
          trnTimeoutValue(waitSeconds < 1 ? 1 : waitSeconds),
          responseCount(0),
          _consumerDone(false),
          _bounds(bounds) {}

    MultiResponseCollection(const MultiResponseCollection&) = delete;
    MultiResponseCollection& operator=(const MultiResponseCollection&) = delete;

    virtual ~MultiResponseCollection() = default;

    // Producer side. Both adds return false, without queueing anything, once
    // the consumer is done or the collection is complete: the producer should
    // stop. In bounded mode they wait for a free place first.
    virtual bool add(T item, bool wakeConsumer) {
        return _add(makeVELSmrPtr<wrapper<T>>(std::move(item)), wakeConsumer);
    }
    virtual bool add(VELSmrPtr<IMarker<T>> marker, bool wakeConsumer) {
        return _add(std::move(marker), wakeConsumer);
    }
    virtual void setErrorCode(int code) {
        {
            VELCriticalSectionGuard guard(cs);
            errorCode = code;
        }
        _room.notify_all();
        _event.set();
    }

    // Called by writers only.
    void registerWriter() {
        VELCriticalSectionGuard guard(cs);
        if (registeredWriterCount < 0) {
            // Reported under the name of unregisterWriter, as it always was.
            _throw("MultiResponseCollection::unregisterWriter", "Internal error: negative count.");
        }
        if (registeredWriterCount == 0) {
            _throw("MultiResponseCollection::registerWriter",
                   "Writers may be registered only while collection is incomplete.");
        }
        ++registeredWriterCount;
    }

    void unregisterWriter() {
        VELCriticalSectionGuard guard(cs);
        if (registeredWriterCount < 0) {
            _throw("MultiResponseCollection::unregisterWriter", "Internal error: negative count.");
        }
        if (registeredWriterCount == 0) {
            _throw("MultiResponseCollection::unregisterWriter",
                   "Writers may be registered only while collection is incomplete.");
        }
        if (--registeredWriterCount == 0) {
            _event.set();
        }
    }

    // Consumer side.
    void allowComplete() {
        {
            VELCriticalSectionGuard guard(cs);
            if (allowCompleteCalled) {
                _throw("MultiResponseCollection::allowComplete",
                       "allowComplete() may only be called once.");
            }
            allowCompleteCalled = true;
        }
        unregisterWriter();
    }

    // True when a result is ready for next(); waits while writers are open.
    // Control markers reached at the head are processed on the way. The
    // consumer takes the results queued in runs, one lock for many.
    bool hasNext() {
        for (;;) {
            if (_runAt < _run.size()) {
                return true;
            }
            {
                std::unique_lock<std::mutex> lock(cs.native());
                if (_refill()) {
                    return true;
                }
                if (_isComplete()) {
                    return false;
                }
                _consumerWaiting = true;
            }
            _event.wait(CI_RelTime(trnTimeoutValue, 0));
        }
    }

    // The next result; it does not wait (call hasNext first).
    T next() {
        if (_runAt >= _run.size()) {
            std::unique_lock<std::mutex> lock(cs.native());
            if (!_refill()) {
                _throw("MultiResponseCollection::next", "no more items.");
            }
        }
        VELSmrPtr<wrapper<T>> head = std::move(_run[_runAt]);
        ++_runAt;
        ++_consumed;
        return head->releaseItem();
    }

    int getErrorCode() {
        VELCriticalSectionGuard guard(cs);
        return _getErrorCode();
    }

    bool isComplete() {
        VELCriticalSectionGuard guard(cs);
        return _isComplete();
    }

    // 0 when a producer asked for the consumer (since the last wait), an
    // error was set or the last writer closed; 1 when the wait ran out.
    int waitForEvent() {
        {
            VELCriticalSectionGuard guard(cs);
            if (_wakeAsked) {
                _wakeAsked = false;  // a producer asked for the consumer before it waited
                return 0;
            }
            _consumerWaiting = true;
        }
        return _event.wait(CI_RelTime(trnTimeoutValue, 0)) ? 0 : 1;
    }

    // 0 = go on reading; otherwise the error code, or 1 when nothing came.
    int waitForResponse() {
        int rc = getErrorCode();
        if (rc != 0) {
            return rc;
        }
        rc = waitForEvent();
        if (rc != 0) {
            return rc;
        }
        rc = getErrorCode();
        if (rc != 0) {
            return rc;
        }
        VELCriticalSectionGuard guard(cs);
        return !_isComplete() && responses.empty() && _runAt >= _run.size() ? 1 : 0;
    }

    // The consumer stops reading, also early: queued markers are processed,
    // queued results dropped, and every later add() returns false.
    void signalConsumerDone() {
        {
            VELCriticalSectionGuard guard(cs);
            _consumerDone = true;
            while (!responses.empty()) {
                VELSmrPtr<IMarker<T>> head = std::move(responses.front());
                responses.pop_front();
                if (head->isMarker()) {
                    head->process();
                }
            }
        }
        // Producers waiting for a free place must not wait for a consumer that
        // will never free one.
        _room.notify_all();
    }

  private:
    [[noreturn]] static void _throw(const char* function, const char* message) {
        throw VelaBaseException("", function, "", message, 0);
    }

    // Time-outs were never enforced; the check stays so that the error code
    // keeps its shape.
    bool isTimedOut() const {
        if (!allowCompleteCalled || timeoutLimit == -1) {
            return false;
        }
        return false;
    }

    // Under cs. Once a result went out the response is finished as a success,
    // so a later writer error is no longer reported.
    int _getErrorCode() const {
        if (isTimedOut()) {
            return 0x1000;
        }
        if (responseCount != 0) {
            return 0;
        }
        return errorCode;
    }

    bool _isComplete() const { return registeredWriterCount == 0 || _getErrorCode() != 0; }

    // Under cs.
    void _processHeadMarker() {
        VELSmrPtr<IMarker<T>> head = std::move(responses.front());
        responses.pop_front();
        head->process();
        if (_bounds != 0 && _occupied > 0) {
            --_occupied;
            if (_producersWaiting > 0) {
                _room.notify_all();
            }
        }
    }

    // Under cs: the places of the results the consumer has written since it
    // last came are free again, all at once, so that a waiting producer is
    // woken once per run rather than once per result.
    void _returnPlaces() {
        _run.clear();
        _runAt = 0;
        if (_consumed == 0) {
            return;
        }
        _occupied -= std::min(_occupied, _consumed);
        _consumed = 0;
        if (_producersWaiting > 0) {
            _room.notify_all();
        }
    }

    // Under cs, with a result at the head: moves the results up to the next
    // marker (a quarter of the capacity at most) to the consumer's run. They
    // keep their places until the consumer comes back.
    void _takeRun() {
        const std::size_t most = _bounds == 0 ? 256 : std::max<std::uint32_t>(1, _bounds / 4);
        while (!responses.empty() && _run.size() < most && !responses.front()->isMarker()) {
            _run.push_back(responses.front().template checkedCast<wrapper<T>>());
            responses.pop_front();
        }
    }

    // Under cs, with the consumer's run written: processes the markers at the
    // head and takes the next run; false when no result is queued.
    bool _refill() {
        _returnPlaces();
        while (!responses.empty()) {
            if (!responses.front()->isMarker()) {
                _takeRun();
                return true;
            }
            _processHeadMarker();
        }
        return false;
    }

    bool _refused() const { return _consumerDone || _isComplete(); }

    bool _add(VELSmrPtr<IMarker<T>> entry, bool wakeConsumer) {
        const bool isItem = !entry->isMarker();
        bool wake = false;
        {
            std::unique_lock<std::mutex> lock(cs.native());
            // Each wait is bounded; the loop goes on only while the consumer
            // may still free a place.
            while (_bounds != 0 && !_refused() && _occupied >= _bounds) {
                if (_consumerWaiting) {
                    // The queue is full: make sure the consumer is awake to
                    // drain it, whatever the producer asked for.
                    _consumerWaiting = false;
                    _event.set();
                }
                ++_producersWaiting;
                _room.wait_for(lock, std::chrono::seconds(trnTimeoutValue));
                --_producersWaiting;
            }
            if (_refused()) {
                return false;
            }
            responses.push_back(std::move(entry));
            ++_occupied;
            if (isItem) {
                ++responseCount;
            }
            // Only a consumer that waits needs the wake-up (a system call).
            if (wakeConsumer) {
                if (_consumerWaiting) {
                    _consumerWaiting = false;
                    wake = true;
                } else {
                    _wakeAsked = true;
                }
            }
        }
        if (wake) {
            _event.set();
        }
        return true;
    }

    std::int32_t errorCode;
    std::deque<VELSmrPtr<IMarker<T>>> responses;
    std::int32_t registeredWriterCount;
    bool allowCompleteCalled;
    const std::int32_t timeoutLimit;
    VELCriticalSection cs;
    CI_AutoEvent _event;
    std::int32_t trnTimeoutValue;
    std::uint32_t responseCount;
    bool _consumerDone;
    std::uint32_t _bounds;
    // Entries queued, and results taken by the consumer and not yet written.
    std::uint64_t _occupied = 0;
    std::uint32_t _producersWaiting = 0;
    bool _consumerWaiting = false;
    bool _wakeAsked = false;
    std::condition_variable _room;
    // The consumer's own: the run it is writing, and how much of it.
    std::vector<VELSmrPtr<wrapper<T>>> _run;
    std::size_t _runAt = 0;
    std::uint64_t _consumed = 0;
};

}  // namespace tarn
