#include "metrics/Histogram.h"

#include <algorithm>
#include <stdexcept>

namespace tarn {

Histogram::Histogram(std::vector<double> bounds)
    : _bounds(std::move(bounds)),
      _counts(std::make_unique<std::atomic<std::uint64_t>[]>(_bounds.size() + 1)) {
    if (!std::is_sorted(_bounds.begin(), _bounds.end()) ||
        std::adjacent_find(_bounds.begin(), _bounds.end()) != _bounds.end()) {
        throw std::invalid_argument("histogram bounds must be strictly ascending");
    }
}

void Histogram::observe(double value) noexcept {
    auto it = std::lower_bound(_bounds.begin(), _bounds.end(), value);
    _counts[static_cast<std::size_t>(it - _bounds.begin())].fetch_add(1, std::memory_order_relaxed);
    _sum.fetch_add(value, std::memory_order_relaxed);
}

Histogram::Snapshot Histogram::snapshot() const {
    Snapshot s;
    s.bounds = _bounds;
    s.cumulative.resize(_bounds.size() + 1);
    std::uint64_t total = 0;
    for (std::size_t i = 0; i <= _bounds.size(); ++i) {
        total += _counts[i].load(std::memory_order_relaxed);
        s.cumulative[i] = total;
    }
    s.sum = _sum.load(std::memory_order_relaxed);
    return s;
}

std::vector<double> Histogram::latencyBounds() {
    return {0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30};
}

}  // namespace tarn
