// tarn::ConnectionTable: the open connections of the HTTP server. It admits
// new connections (serving ones up to the cap, then a few that are only
// answered 503), and lets the server reach the live ones when it stops.
//
// A connection holds its Registration for its whole life; destroying the
// registration frees its place and wakes whoever waits for the table to
// empty. Any thread may register and leave.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

namespace tarn {

class HTTPConnection;

class ConnectionTable {
  public:
    class Registration {
      public:
        Registration(Registration&& other) noexcept;
        Registration& operator=(Registration&&) = delete;
        Registration(const Registration&) = delete;
        ~Registration();

        // False for a connection past the cap, which only gets a 503.
        bool isServing() const { return _serving; }
        // Makes the connection reachable through ConnectionTable::live().
        void attach(const std::shared_ptr<HTTPConnection>& connection);

      private:
        friend class ConnectionTable;
        Registration(ConnectionTable& table, std::uint64_t id, bool serving)
            : _table(&table), _id(id), _serving(serving) {}

        ConnectionTable* _table;
        std::uint64_t _id;
        bool _serving;
    };

    // maxServing: connections served at once; maxRejecting: connections past
    // that which are still answered 503 (more are refused outright).
    ConnectionTable(std::size_t maxServing, std::size_t maxRejecting)
        : _maxServing(maxServing), _maxRejecting(maxRejecting) {}
    ConnectionTable(const ConnectionTable&) = delete;
    ConnectionTable& operator=(const ConnectionTable&) = delete;

    // A place for a new connection, or none when it must be closed at once.
    std::optional<Registration> admit();
    // Connections registered and not yet ended.
    std::size_t size() const;
    std::vector<std::shared_ptr<HTTPConnection>> live() const;
    // True when the table became empty within the timeout.
    bool waitUntilEmpty(std::chrono::milliseconds timeout);

  private:
    void leave(std::uint64_t id, bool serving);

    const std::size_t _maxServing;
    const std::size_t _maxRejecting;
    mutable std::mutex _m;
    std::condition_variable _cv;
    std::unordered_map<std::uint64_t, std::weak_ptr<HTTPConnection>> _entries;
    std::uint64_t _nextId = 0;
    std::size_t _serving = 0;
    std::size_t _rejecting = 0;
};

}  // namespace tarn
