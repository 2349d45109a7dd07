// tarn::Histogram: observations counted in buckets of fixed upper bounds (and
// one above the last), with their sum. observe() is lock-free; a snapshot
// taken while others observe may miss the newest observations, never
// double-count one.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace tarn {

class Histogram {
  public:
    // Upper bounds, ascending and finite; the bucket above the last is implicit.
    explicit Histogram(std::vector<double> bounds);

    void observe(double value) noexcept;

    struct Snapshot {
        std::vector<double> bounds;
        // Cumulative counts: cumulative[i] observations were <= bounds[i];
        // the last entry (one more than bounds) is the total count.
        std::vector<std::uint64_t> cumulative;
        double sum = 0;
    };
    Snapshot snapshot() const;

    // Latencies in seconds, from half a millisecond to half a minute.
    static std::vector<double> latencyBounds();

  private:
    std::vector<double> _bounds;
    std::unique_ptr<std::atomic<std::uint64_t>[]> _counts;  // bounds.size() + 1
    std::atomic<double> _sum{0};
};

}  // namespace tarn
