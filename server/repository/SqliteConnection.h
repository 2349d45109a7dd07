// tarn::SqliteConnection: one connection to the repository database, set up
// as the repository needs it: write-ahead log, synchronous=FULL (a commit is
// on disk when it returns), a busy timeout for locks held by another process,
// and a cache of prepared statements. A connection is used by one thread at
// a time (the pool and the writer lock see to that).
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "repository/SqliteStatement.h"
#include "vela/VELString.h"

namespace tarn {

class SqliteConnection {
  public:
    // Opens (creating when missing) the database. Throws VelaBaseException
    // ("Repository", code 1) when it cannot be opened or set up.
    SqliteConnection(const VELString& path, std::uint32_t busyTimeoutMs);
    ~SqliteConnection();
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    // Runs SQL text (several statements allowed) that returns no rows.
    void exec(const char* sql);
    // The prepared statement for sql, which must be a string literal (the
    // cache is keyed by its address).
    SqliteStatement& statement(const char* sql);
    // Rows changed by the last INSERT, UPDATE or DELETE.
    std::int64_t changes() const;
    // Row id given by the last INSERT.
    std::int64_t lastInsertId() const;
    // True inside an explicit transaction.
    bool inTransaction() const;
    // Rolls back an open transaction; never throws.
    void rollbackQuietly() noexcept;

    const VELString& path() const { return _path; }

  private:
    VELString _path;
    ::sqlite3* _db = nullptr;
    std::unordered_map<const char*, std::unique_ptr<SqliteStatement>> _statements;
};

}  // namespace tarn
