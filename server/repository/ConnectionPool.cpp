#include "repository/ConnectionPool.h"

namespace tarn {

ConnectionPool::ConnectionPool(VELString path, std::size_t maxIdle, std::uint32_t busyTimeoutMs)
    : _path(std::move(path)), _maxIdle(maxIdle), _busyTimeoutMs(busyTimeoutMs) {
    _idle.reserve(maxIdle);
}

ConnectionPool::Lease::~Lease() {
    if (_c) {
        _pool->release(std::move(_c));
    }
}

ConnectionPool::Lease ConnectionPool::acquire() {
    {
        std::lock_guard<std::mutex> lock(_m);
        if (!_idle.empty()) {
            std::unique_ptr<SqliteConnection> c = std::move(_idle.back());
            _idle.pop_back();
            return Lease(*this, std::move(c));
        }
    }
    return Lease(*this, std::make_unique<SqliteConnection>(_path, _busyTimeoutMs));
}

std::size_t ConnectionPool::idleCount() const {
    std::lock_guard<std::mutex> lock(_m);
    return _idle.size();
}

void ConnectionPool::release(std::unique_ptr<SqliteConnection> c) noexcept {
    // A reader that left early (an exception, a callback that stopped) may
    // still be inside its read transaction.
    c->rollbackQuietly();
    std::unique_ptr<SqliteConnection> extra;
    {
        std::lock_guard<std::mutex> lock(_m);
        if (_idle.size() < _maxIdle) {
            _idle.push_back(std::move(c));
            return;
        }
        extra = std::move(c);
    }
    // Closed outside the lock.
}

}  // namespace tarn
