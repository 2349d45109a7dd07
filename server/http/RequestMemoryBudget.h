// tarn::RequestMemoryBudget: the request body bytes that all requests of the
// server together may hold in memory (what the server has received of a body
// and what a protocol adapter reads into its own buffer). A request reserves
// its share before its body is read, and more as a body without a known
// length grows; what does not fit is refused, never waited for, so that a
// client cannot hold the server's memory and its threads at once.
//
// Any thread may reserve and release.
#pragma once

#include <atomic>
#include <cstdint>

namespace tarn {

class RequestMemoryBudget {
  public:
    explicit RequestMemoryBudget(std::uint64_t bytes) : _limit(bytes) {}
    RequestMemoryBudget(const RequestMemoryBudget&) = delete;
    RequestMemoryBudget& operator=(const RequestMemoryBudget&) = delete;

    std::uint64_t limit() const { return _limit; }
    std::uint64_t inUse() const { return _used.load(std::memory_order_relaxed); }

    // One request's share; released when it is destroyed or reset.
    class Share {
      public:
        explicit Share(RequestMemoryBudget& budget) : _budget(budget) {}
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;
        ~Share() { reset(); }

        // Makes the share at least bytes large; false (share unchanged) when
        // the budget has no room for the difference.
        bool growTo(std::uint64_t bytes);
        std::uint64_t size() const { return _size; }
        void reset();

      private:
        RequestMemoryBudget& _budget;
        std::uint64_t _size = 0;
    };

  private:
    bool take(std::uint64_t bytes);
    void give(std::uint64_t bytes) { _used.fetch_sub(bytes, std::memory_order_relaxed); }

    const std::uint64_t _limit;
    std::atomic<std::uint64_t> _used{0};
};

}  // namespace tarn
