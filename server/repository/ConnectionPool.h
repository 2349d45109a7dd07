// tarn::ConnectionPool: the read connections of a repository. A reader
// leases one for the length of its operation (an enumeration keeps it while
// its cursor is open); with the write-ahead log readers never wait for the
// writer nor for each other. A lease never waits: when no idle connection is
// left a new one is opened, and at most maxIdle are kept when leases end.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "repository/SqliteConnection.h"

namespace tarn {

class ConnectionPool {
  public:
    ConnectionPool(VELString path, std::size_t maxIdle, std::uint32_t busyTimeoutMs);

    class Lease {
      public:
        Lease(ConnectionPool& pool, std::unique_ptr<SqliteConnection> c)
            : _pool(&pool), _c(std::move(c)) {}
        Lease(Lease&& o) noexcept = default;
        Lease& operator=(Lease&&) = delete;
        ~Lease();
        SqliteConnection& operator*() const { return *_c; }
        SqliteConnection* operator->() const { return _c.get(); }

      private:
        ConnectionPool* _pool;
        std::unique_ptr<SqliteConnection> _c;
    };

    Lease acquire();
    std::size_t idleCount() const;

  private:
    void release(std::unique_ptr<SqliteConnection> c) noexcept;

    VELString _path;
    std::size_t _maxIdle;
    std::uint32_t _busyTimeoutMs;
    mutable std::mutex _m;
    std::vector<std::unique_ptr<SqliteConnection>> _idle;
};

}  // namespace tarn
