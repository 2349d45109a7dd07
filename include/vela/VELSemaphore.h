// VELSemaphore: a counting semaphore with timed waits.
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
    // Takes one unit, waiting without limit until one is available.
    void wait();
    // Takes one unit if one is available at once.
    bool tryWait();
    // Takes one unit, waiting at most the given time. False on time-out.
    bool wait(const CI_RelTime& timeout);
    std::uint32_t getCount();

  private:
    std::mutex _m;
    std::condition_variable _cv;
    std::uint32_t _count;
};
