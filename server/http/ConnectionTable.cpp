#include "http/ConnectionTable.h"

#include <utility>

namespace tarn {

ConnectionTable::Registration::Registration(Registration&& other) noexcept
    : _table(std::exchange(other._table, nullptr)), _id(other._id), _serving(other._serving) {}

void ConnectionTable::Registration::release() {
    if (_table) {
        std::exchange(_table, nullptr)->leave(_id);
    }
}

void ConnectionTable::Registration::attach(const std::shared_ptr<HTTPConnection>& connection) {
    if (!_table) {
        return;
    }
    std::lock_guard<std::mutex> lock(_table->_m);
    auto it = _table->_entries.find(_id);
    if (it != _table->_entries.end()) {
        it->second.connection = connection;
    }
}

std::optional<ConnectionTable::Registration> ConnectionTable::admit(const std::string& client,
                                                                    Full& full) {
    std::lock_guard<std::mutex> lock(_m);
    full = Full::None;
    if (_serving >= _maxServing) {
        full = Full::Server;
        return std::nullopt;
    }
    auto count = _perClient.find(client);
    if (count != _perClient.end() && count->second >= _maxPerClient) {
        full = Full::Client;
        return std::nullopt;
    }
    ++_perClient[client];
    ++_serving;
    std::uint64_t id = ++_nextId;
    _entries.emplace(id, Entry{{}, client, true});
    return Registration(*this, id, true);
}

std::optional<ConnectionTable::Registration> ConnectionTable::admitRejected() {
    std::lock_guard<std::mutex> lock(_m);
    if (_rejecting >= _maxRejecting) {
        return std::nullopt;
    }
    ++_rejecting;
    std::uint64_t id = ++_nextId;
    _entries.emplace(id, Entry{});
    return Registration(*this, id, false);
}

void ConnectionTable::leave(std::uint64_t id) {
    {
        std::lock_guard<std::mutex> lock(_m);
        auto it = _entries.find(id);
        if (it == _entries.end()) {
            return;
        }
        if (!it->second.serving) {
            --_rejecting;
        } else {
            --_serving;
            auto count = _perClient.find(it->second.client);
            if (count != _perClient.end() && --count->second == 0) {
                _perClient.erase(count);
            }
        }
        _entries.erase(it);
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
    live.reserve(_entries.size());
    for (const auto& entry : _entries) {
        if (auto c = entry.second.connection.lock()) {
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
