// VELSemaphore: a counting semaphore with timed waits. It can be interrupted
// for good, so that threads waiting for units that will never come (a producer
// whose consumer has gone) are released at once instead of after a time-out.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "vela/CI_RelTime.h"

class VELSemaphore {
  public:
    explicit VELSemaphore(std::uint32_t initial = 0) : _count(initial) {}
    VELSemaphore(const VELSemaphore&) = delete;
    VELSemaphore& operator=(const VELSemaphore&) = delete;

    // Adds count units and wakes as many waiters.
    void post(std::uint32_t count = 1);
    // Takes one unit, waiting without limit until one is available. False,
    // with nothing taken, once the semaphore is interrupted.
    bool wait();
    // Takes one unit if one is available at once (also after an interrupt).
    bool tryWait();
    // Takes one unit, waiting at most the given time. False on time-out and,
    // with nothing taken, once the semaphore is interrupted.
    bool wait(const CI_RelTime& timeout);
    // The same, but a waiter is woken only once atLeast units are there, so
    // that it takes a run of them instead of being woken for each (a
    // producer that waits for room).
    bool wait(const CI_RelTime& timeout, std::uint32_t atLeast);
    // Wakes every waiter and makes every later wait fail at once. post and
    // tryWait keep working. There is no way back.
    void interrupt();
    bool isInterrupted();
    std::uint32_t getCount();

  private:
    std::mutex _m;
    std::condition_variable _cv;
    std::uint32_t _count;
    bool _interrupted = false;
    // Waiters that want more than one unit, and the least any of them wants
    // (kept until they are all gone: an early wake-up costs a look, no more);
    // while there are some, those that want one are counted too.
    std::uint32_t _plainWaiters = 0;
    std::uint32_t _runWaiters = 0;
    std::uint32_t _wakeAt = 1;
};
