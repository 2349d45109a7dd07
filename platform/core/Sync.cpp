// Implementation of the synchronisation primitives and time helpers.
#include <chrono>
#include <ctime>
#include <thread>

#include "vela/CI_AutoEvent.h"
#include "vela/VELSemaphore.h"
#include "vela/VELSleep.h"
#include "vela/VELdatetime.h"

void CI_AutoEvent::set() {
    {
        std::lock_guard<std::mutex> lock(_m);
        _signalled = true;
    }
    _cv.notify_one();
}

void CI_AutoEvent::reset() {
    std::lock_guard<std::mutex> lock(_m);
    _signalled = false;
}

void CI_AutoEvent::wait() {
    std::unique_lock<std::mutex> lock(_m);
    _cv.wait(lock, [this] { return _signalled; });
    _signalled = false;
}

bool CI_AutoEvent::wait(const CI_RelTime& timeout) {
    std::unique_lock<std::mutex> lock(_m);
    if (!_cv.wait_for(lock, timeout.toDuration(), [this] { return _signalled; })) {
        return false;
    }
    _signalled = false;
    return true;
}

void VELSemaphore::post(std::uint32_t count) {
    bool runWaiters = false;
    {
        std::lock_guard<std::mutex> lock(_m);
        _count += count;
        if (_runWaiters > 0) {
            if (_count < _wakeAt && _plainWaiters == 0) {
                return;  // not enough for any waiter yet
            }
            runWaiters = true;
        }
    }
    if (count == 1 && !runWaiters) {
        _cv.notify_one();
    } else {
        _cv.notify_all();
    }
}

bool VELSemaphore::wait() {
    std::unique_lock<std::mutex> lock(_m);
    ++_plainWaiters;
    _cv.wait(lock, [this] { return _count > 0 || _interrupted; });
    --_plainWaiters;
    if (_interrupted) {
        return false;
    }
    --_count;
    return true;
}

bool VELSemaphore::tryWait() {
    std::lock_guard<std::mutex> lock(_m);
    if (_count == 0) {
        return false;
    }
    --_count;
    return true;
}

bool VELSemaphore::wait(const CI_RelTime& timeout) {
    std::unique_lock<std::mutex> lock(_m);
    ++_plainWaiters;
    const bool woken =
        _cv.wait_for(lock, timeout.toDuration(), [this] { return _count > 0 || _interrupted; });
    --_plainWaiters;
    if (!woken || _interrupted) {
        return false;
    }
    --_count;
    return true;
}

bool VELSemaphore::wait(const CI_RelTime& timeout, std::uint32_t atLeast) {
    if (atLeast <= 1) {
        return wait(timeout);
    }
    std::unique_lock<std::mutex> lock(_m);
    _wakeAt = _runWaiters == 0 ? atLeast : std::min(_wakeAt, atLeast);
    ++_runWaiters;
    const bool woken =
        _cv.wait_for(lock, timeout.toDuration(), [&] { return _count >= atLeast || _interrupted; });
    if (--_runWaiters == 0) {
        _wakeAt = 1;
    }
    if (_interrupted || (!woken && _count == 0)) {
        return false;
    }
    --_count;
    return true;
}

void VELSemaphore::interrupt() {
    {
        std::lock_guard<std::mutex> lock(_m);
        _interrupted = true;
    }
    _cv.notify_all();
}

bool VELSemaphore::isInterrupted() {
    std::lock_guard<std::mutex> lock(_m);
    return _interrupted;
}

std::uint32_t VELSemaphore::getCount() {
    std::lock_guard<std::mutex> lock(_m);
    return _count;
}

void VELSleep(std::uint32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

VELString VELdatetime::formatTimestamp(std::int64_t us) {
    std::time_t secs = static_cast<std::time_t>(us / 1000000);
    long micro = static_cast<long>(us % 1000000);
    if (micro < 0) {
        micro += 1000000;
        --secs;
    }
    std::tm tm{};
    gmtime_r(&secs, &tm);
    char buf[96];
    std::snprintf(buf, sizeof buf, "%04d%02d%02d%02d%02d%02d.%06ld+000", tm.tm_year + 1900,
                  tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, micro);
    return VELString(buf);
}

VELString VELdatetime::getAbsoluteTime() {
    auto now = std::chrono::system_clock::now().time_since_epoch();
    return formatTimestamp(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}
