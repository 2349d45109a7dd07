// tarn::ConnectionTable: the open connections of the HTTP server. It admits
// new connections (serving ones up to the cap, and up to a cap per client
// address; past those a few that are only answered 503), and lets the server
// reach the live ones, to stop them or to close an idle one for a newcomer.
//
// A connection holds its Registration for its whole life; releasing it (when
// the connection is closed, or at the latest when the registration is
// destroyed) frees its place and wakes whoever waits for the table to empty.
// Any thread may register and leave.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
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
        ~Registration() { release(); }

        // False for a connection past a cap, which only gets a 503.
        bool isServing() const { return _serving; }
        // Makes the connection reachable through ConnectionTable::live().
        void attach(const std::shared_ptr<HTTPConnection>& connection);
        // Frees the place at once (the connection is closed). Idempotent.
        void release();

      private:
        friend class ConnectionTable;
        Registration(ConnectionTable& table, std::uint64_t id, bool serving)
            : _table(&table), _id(id), _serving(serving) {}

        ConnectionTable* _table;
        std::uint64_t _id;
        bool _serving;
    };

    // Why admit() found no place.
    enum class Full { None, Server, Client };

    // maxServing: connections served at once; maxPerClient: of those, from
    // one client key; maxRejecting: connections past the caps that are still
    // answered 503 (more are refused outright).
    ConnectionTable(std::size_t maxServing, std::size_t maxPerClient, std::size_t maxRejecting)
        : _maxServing(maxServing), _maxPerClient(maxPerClient), _maxRejecting(maxRejecting) {}
    ConnectionTable(const ConnectionTable&) = delete;
    ConnectionTable& operator=(const ConnectionTable&) = delete;

    // A serving place for a new connection of this client (see clientKey),
    // or none and which cap is reached.
    std::optional<Registration> admit(const std::string& client, Full& full);
    // A place for a connection that is only answered 503, or none when it
    // must be closed at once.
    std::optional<Registration> admitRejected();
    // Connections registered and not yet released.
    std::size_t size() const;
    std::vector<std::shared_ptr<HTTPConnection>> live() const;
    // True when the table became empty within the timeout.
    bool waitUntilEmpty(std::chrono::milliseconds timeout);

  private:
    struct Entry {
        std::weak_ptr<HTTPConnection> connection;
        std::string client;
        bool serving = false;
    };
    void leave(std::uint64_t id);

    const std::size_t _maxServing;
    const std::size_t _maxPerClient;
    const std::size_t _maxRejecting;
    mutable std::mutex _m;
    std::condition_variable _cv;
    std::unordered_map<std::uint64_t, Entry> _entries;
    std::unordered_map<std::string, std::size_t> _perClient;
    std::uint64_t _nextId = 0;
    std::size_t _serving = 0;
    std::size_t _rejecting = 0;
};

}  // namespace tarn
