// CI_RelTime: a relative time (a duration) of seconds and microseconds.
#pragma once

#include <chrono>
#include <cstdint>

class CI_RelTime {
  public:
    CI_RelTime() = default;
    CI_RelTime(std::int64_t seconds, std::int64_t microseconds = 0)
        : _us(seconds * 1000000 + microseconds) {}
    static CI_RelTime fromMilliseconds(std::int64_t ms) { return CI_RelTime(0, ms * 1000); }

    std::int64_t getSeconds() const { return _us / 1000000; }
    std::int64_t getMicroseconds() const { return _us; }
    std::int64_t getMilliseconds() const { return _us / 1000; }
    std::chrono::microseconds toDuration() const { return std::chrono::microseconds(_us); }

    friend auto operator<=>(const CI_RelTime&, const CI_RelTime&) = default;

  private:
    std::int64_t _us = 0;
};
