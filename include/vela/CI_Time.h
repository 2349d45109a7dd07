// CI_Time: a point in time on the steady clock, for deadlines.
#pragma once

#include <chrono>

#include "vela/CI_RelTime.h"

class CI_Time {
  public:
    using Clock = std::chrono::steady_clock;

    CI_Time() : _t(Clock::now()) {}
    static CI_Time now() { return CI_Time(); }

    CI_Time operator+(const CI_RelTime& d) const { return CI_Time(_t + d.toDuration()); }
    CI_RelTime operator-(const CI_Time& o) const {
        return CI_RelTime(0,
                          std::chrono::duration_cast<std::chrono::microseconds>(_t - o._t).count());
    }
    bool hasPassed() const { return Clock::now() >= _t; }
    Clock::time_point timePoint() const { return _t; }

    friend auto operator<=>(const CI_Time&, const CI_Time&) = default;

  private:
    explicit CI_Time(Clock::time_point t) : _t(t) {}
    Clock::time_point _t;
};
