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
#include <cstdint>
#include <deque>
#include <utility>

#include "tarn/IMarker.h"
#include "vela/CI_AutoEvent.h"
#include "vela/CI_RelTime.h"
#include "vela/VELCriticalSection.h"
#include "vela/VELCriticalSectionGuard.h"
#include "vela/VELSemaphore.h"
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
          _bounds(bounds),
          _items(0),
          _slots(bounds) {}

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
    // Control markers reached at the head are processed on the way.
    bool hasNext() {
        for (;;) {
            {
                VELCriticalSectionGuard guard(cs);
                while (!responses.empty()) {
                    if (!responses.front()->isMarker()) {
                        return true;
                    }
                    _processHeadMarker();
                }
                if (_isComplete()) {
                    return false;
                }
            }
            waitForEvent();
            if (isComplete()) {
                // Markers queued since the last look count as entries here;
                // next() processes them and never returns them.
                VELCriticalSectionGuard guard(cs);
                return !responses.empty();
            }
        }
    }

    T next() {
        if (_bounds != 0) {
            // No time limit needed: every entry posts its unit under cs when it
            // is queued, so after hasNext() saw one this wait ends at once.
            _items.wait();
        }
        VELSmrPtr<wrapper<T>> head;
        {
            VELCriticalSectionGuard guard(cs);
            while (!responses.empty() && responses.front()->isMarker()) {
                _processHeadMarker();
            }
            if (responses.empty()) {
                _throw("MultiResponseCollection::next", "no more items.");
            }
            head = responses.front().template checkedCast<wrapper<T>>();
            responses.pop_front();
        }
        // After leaving cs, so that the producer it wakes does not block on cs at once.
        if (_bounds != 0) {
            _slots.post();
        }
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

    // 0 when the event was set, 1 when the wait ran out.
    int waitForEvent() { return _event.wait(CI_RelTime(trnTimeoutValue, 0)) ? 0 : 1; }

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
        return !_isComplete() && responses.empty() ? 1 : 0;
    }

    // The consumer stops reading, also early: queued markers are processed,
    // queued results dropped, and every later add() returns false.
    void signalConsumerDone() {
        VELCriticalSectionGuard guard(cs);
        _consumerDone = true;
        // Producers waiting for a free place must not wait for a consumer that
        // will never free one: interrupting the semaphore (rather than posting
        // units) releases them at once and lets them see _consumerDone.
        _slots.interrupt();
        while (!responses.empty()) {
            VELSmrPtr<IMarker<T>> head = std::move(responses.front());
            responses.pop_front();
            if (head->isMarker()) {
                head->process();
            }
        }
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
        if (_bounds != 0) {
            _slots.post();
        }
    }

    bool _refused() const { return _consumerDone || _isComplete(); }

    // Waits, without holding cs, until a place is free. Each wait is bounded;
    // the loop goes on only while the consumer may still free a place.
    bool _waitForSlot() {
        if (_slots.tryWait()) {
            return true;
        }
        // The queue is full: make sure the consumer is awake to drain it,
        // whatever the producer asked for earlier.
        _event.set();
        // Woken when a quarter of the places is free, not for each: the
        // producer then adds a run without waiting, and producer and consumer
        // do not wake each other for every entry.
        const std::uint32_t run = std::max<std::uint32_t>(1, _bounds / 4);
        for (;;) {
            {
                VELCriticalSectionGuard guard(cs);
                if (_refused()) {
                    return false;
                }
            }
            if (_slots.wait(CI_RelTime(trnTimeoutValue, 0), run)) {
                return true;
            }
        }
    }

    bool _add(VELSmrPtr<IMarker<T>> entry, bool wakeConsumer) {
        const bool isItem = !entry->isMarker();
        if (_bounds != 0 && !_waitForSlot()) {
            return false;
        }
        {
            VELCriticalSectionGuard guard(cs);
            if (_refused()) {
                if (_bounds != 0) {
                    _slots.post();  // give back the place taken above
                }
                return false;
            }
            responses.push_back(std::move(entry));
            if (isItem) {
                ++responseCount;
            }
            if (_bounds != 0) {
                _items.post();
            }
        }
        if (wakeConsumer) {
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
    VELSemaphore _items;
    VELSemaphore _slots;
};

}  // namespace tarn
