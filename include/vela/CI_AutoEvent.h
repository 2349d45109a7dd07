// CI_AutoEvent: an auto-reset event. set() wakes one waiter (or the next one
// to wait, if none waits yet); a successful wait resets the event.
#pragma once

#include <condition_variable>
#include <mutex>

#include "vela/CI_RelTime.h"

class CI_AutoEvent {
  public:
    CI_AutoEvent() = default;
    CI_AutoEvent(const CI_AutoEvent&) = delete;
    CI_AutoEvent& operator=(const CI_AutoEvent&) = delete;

    void set();
    void reset();
    // Waits until set; no time limit. Callers use it only where a wake-up is certain.
    void wait();
    // Waits at most the given time. True when the event was set, false on time-out.
    bool wait(const CI_RelTime& timeout);

  private:
    std::mutex _m;
    std::condition_variable _cv;
    bool _signalled = false;
};
