#include "http/RequestMemoryBudget.h"

namespace tarn {

bool RequestMemoryBudget::take(std::uint64_t bytes) {
    std::uint64_t used = _used.load(std::memory_order_relaxed);
    do {
        if (bytes > _limit || used > _limit - bytes) {
            return false;
        }
    } while (!_used.compare_exchange_weak(used, used + bytes, std::memory_order_relaxed));
    return true;
}

bool RequestMemoryBudget::Share::growTo(std::uint64_t bytes) {
    if (bytes <= _size) {
        return true;
    }
    if (!_budget.take(bytes - _size)) {
        return false;
    }
    _size = bytes;
    return true;
}

void RequestMemoryBudget::Share::reset() {
    if (_size > 0) {
        _budget.give(_size);
        _size = 0;
    }
}

}  // namespace tarn
