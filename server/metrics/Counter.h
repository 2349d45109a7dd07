// tarn::Counter and tarn::Gauge: one metric value each, updated with relaxed
// atomics so that the request path never takes a lock to count.
#pragma once

#include <atomic>
#include <cstdint>

namespace tarn {

// A value that only grows (requests served, bytes sent).
class Counter {
  public:
    void inc(std::uint64_t n = 1) noexcept { _value.fetch_add(n, std::memory_order_relaxed); }
    std::uint64_t value() const noexcept { return _value.load(std::memory_order_relaxed); }

  private:
    std::atomic<std::uint64_t> _value{0};
};

// A value that goes up and down (connections open).
class Gauge {
  public:
    void set(std::int64_t v) noexcept { _value.store(v, std::memory_order_relaxed); }
    void add(std::int64_t n) noexcept { _value.fetch_add(n, std::memory_order_relaxed); }
    std::int64_t value() const noexcept { return _value.load(std::memory_order_relaxed); }

  private:
    std::atomic<std::int64_t> _value{0};
};

}  // namespace tarn
