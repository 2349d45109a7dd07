// tarn::SqliteStatement: one prepared SQLite statement of a connection.
// Statements are prepared once per connection and reused; Scope resets one
// (and clears its bindings) when the caller is done with it, also when an
// exception leaves early.
#pragma once

#include <cstdint>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace tarn {

class SqliteStatement {
  public:
    SqliteStatement(sqlite3* db, const char* sql);
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    // Parameters are numbered from 1.
    SqliteStatement& bind(int index, std::int64_t value);
    SqliteStatement& bindText(int index, std::string_view text);
    SqliteStatement& bindBlob(int index, std::string_view data);

    // True when a row is ready; false when the statement is done. Throws
    // VelaBaseException ("Repository", code 1) on an error.
    bool step();
    // Runs a statement that returns no rows.
    void run() {
        while (step()) {
        }
    }

    // Columns of the current row, numbered from 0. Views stay valid until the next step.
    std::int64_t columnInt(int column) const;
    std::string_view columnText(int column) const;
    std::string_view columnBlob(int column) const;
    bool columnIsNull(int column) const;

    void reset();

    class Scope {
      public:
        explicit Scope(SqliteStatement& s) : _s(s) {}
        ~Scope() { _s.reset(); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        SqliteStatement* operator->() { return &_s; }
        SqliteStatement& operator*() { return _s; }

      private:
        SqliteStatement& _s;
    };

  private:
    [[noreturn]] void fail(const char* where, int rc) const;

    sqlite3* _db;
    sqlite3_stmt* _stmt = nullptr;
};

}  // namespace tarn
