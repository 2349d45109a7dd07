// VELAtomicInt: an integer with atomic increment, decrement and exchange.
#pragma once

#include <atomic>

class VELAtomicInt {
  public:
    explicit VELAtomicInt(int v = 0) : _v(v) {}
    int increment() { return _v.fetch_add(1, std::memory_order_acq_rel) + 1; }
    int decrement() { return _v.fetch_sub(1, std::memory_order_acq_rel) - 1; }
    int add(int d) { return _v.fetch_add(d, std::memory_order_acq_rel) + d; }
    int get() const { return _v.load(std::memory_order_acquire); }
    void set(int v) { _v.store(v, std::memory_order_release); }
    int exchange(int v) { return _v.exchange(v, std::memory_order_acq_rel); }
    bool compareAndSet(int expected, int desired) {
        return _v.compare_exchange_strong(expected, desired, std::memory_order_acq_rel);
    }

  private:
    std::atomic<int> _v;
};
