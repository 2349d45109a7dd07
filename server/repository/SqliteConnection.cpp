#include "repository/SqliteConnection.h"

#include <sqlite3.h>

#include "tarn/CIMStatus.h"
#include "vela/VelaBaseException.h"

namespace tarn {

SqliteConnection::SqliteConnection(const VELString& path, std::uint32_t busyTimeoutMs)
    : _path(path) {
    int rc =
        sqlite3_open_v2(path.c_str(), &_db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        VELString message = VELString("cannot open the repository ") + path + ": " +
                            (_db ? sqlite3_errmsg(_db) : "out of memory");
        sqlite3_close(_db);
        _db = nullptr;
        throw VelaBaseException("Repository", "tarn::SqliteConnection", "open", message,
                                CIM_ERR_FAILED);
    }
    sqlite3_extended_result_codes(_db, 1);
    sqlite3_busy_timeout(_db, static_cast<int>(busyTimeoutMs));
    try {
        // The journal mode is stored in the file; asking again is cheap.
        SqliteStatement mode(_db, "PRAGMA journal_mode=WAL");
        if (!mode.step() || VELString(mode.columnText(0)).toLower() != "wal") {
            throw VelaBaseException("Repository", "tarn::SqliteConnection", "open",
                                    "cannot switch " + path + " to write-ahead logging",
                                    CIM_ERR_FAILED);
        }
        exec("PRAGMA synchronous=FULL; PRAGMA foreign_keys=OFF; PRAGMA trusted_schema=OFF");
    } catch (...) {
        sqlite3_close(_db);
        _db = nullptr;
        throw;
    }
}

SqliteConnection::~SqliteConnection() {
    _statements.clear();
    sqlite3_close(_db);
}

void SqliteConnection::exec(const char* sql) {
    char* error = nullptr;
    int rc = sqlite3_exec(_db, sql, nullptr, nullptr, &error);
    if (rc != SQLITE_OK) {
        VELString message = VELString("SQLite: ") + (error ? error : sqlite3_errstr(rc));
        if ((rc & 0xFF) == SQLITE_BUSY) {
            message += " (another process holds the repository's lock)";
        }
        sqlite3_free(error);
        throw VelaBaseException("Repository", "tarn::SqliteConnection", "exec",
                                message + " (" + _path + ")", CIM_ERR_FAILED);
    }
}

SqliteStatement& SqliteConnection::statement(const char* sql) {
    auto it = _statements.find(sql);
    if (it == _statements.end()) {
        it = _statements.emplace(sql, std::make_unique<SqliteStatement>(_db, sql)).first;
    }
    return *it->second;
}

std::int64_t SqliteConnection::changes() const {
    return sqlite3_changes64(_db);
}

std::int64_t SqliteConnection::lastInsertId() const {
    return sqlite3_last_insert_rowid(_db);
}

bool SqliteConnection::inTransaction() const {
    return sqlite3_get_autocommit(_db) == 0;
}

void SqliteConnection::rollbackQuietly() noexcept {
    if (inTransaction()) {
        sqlite3_exec(_db, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

}  // namespace tarn
