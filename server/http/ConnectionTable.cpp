#include "http/ConnectionTable.h"

#include <utility>

namespace tarn {

ConnectionTable::Registration::Registration(Registration&& other) noexcept
    : _table(std::exchange(other._table, nullptr)), _id(other._id), _serving(other._serving) {}

ConnectionTable::Registration::~Registration() {
    if (_table) {
        _table->leave(_id, _serving);
    }
}

void ConnectionTable::Registration::attach(const std::shared_ptr<HTTPConnection>& connection) {
    std::lock_guard<std::mutex> lock(_table->_m);
    _table->_entries[_id] = connection;
}

std::optional<ConnectionTable::Registration> ConnectionTable::admit() {
    std::lock_guard<std::mutex> lock(_m);
    bool serving;
    if (_serving < _maxServing) {
        serving = true;
        ++_serving;
    } else if (_rejecting < _maxRejecting) {
        serving = false;
        ++_rejecting;
    } else {
        return std::nullopt;
    }
    std::uint64_t id = ++_nextId;
    _entries.emplace(id, std::weak_ptr<HTTPConnection>());
    return Registration(*this, id, serving);
}

void ConnectionTable::leave(std::uint64_t id, bool serving) {
    {
        std::lock_guard<std::mutex> lock(_m);
        _entries.erase(id);
        --(serving ? _serving : _rejecting);
    }
    _cv.notify_all();
}

std::size_t ConnectionTable::size() const {
    std::lock_guard<std::mutex> lock(_m);
    return _entries.size();
}

std::vector<std::shared_ptr<HTTPConnection>> ConnectionTable::live() const {
    std::vector<std::shared_ptr<HTTPConnection>> live;
    std::lock_guard<std::mutex> lock(_m);
    for (const auto& entry : _entries) {
        if (auto c = entry.second.lock()) {
            live.push_back(std::move(c));
        }
    }
    return live;
}

bool ConnectionTable::waitUntilEmpty(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(_m);
    return _cv.wait_for(lock, timeout, [this] { return _entries.empty(); });
}

}  // namespace tarn
