#include "repository/SqliteStatement.h"

#include <sqlite3.h>

#include "tarn/CIMStatus.h"
#include "vela/VelaBaseException.h"

namespace tarn {

SqliteStatement::SqliteStatement(sqlite3* db, const char* sql) : _db(db) {
    int rc = sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &_stmt, nullptr);
    if (rc != SQLITE_OK) {
        fail("prepare", rc);
    }
}

SqliteStatement::~SqliteStatement() {
    sqlite3_finalize(_stmt);
}

void SqliteStatement::fail(const char* where, int rc) const {
    VELString message = VELString("SQLite: ") + sqlite3_errmsg(_db);
    if ((rc & 0xFF) == SQLITE_BUSY || (rc & 0xFF) == SQLITE_LOCKED) {
        message += " (another process holds the repository's lock)";
    }
    throw VelaBaseException("Repository", "tarn::SqliteStatement", where, message, CIM_ERR_FAILED);
}

SqliteStatement& SqliteStatement::bind(int index, std::int64_t value) {
    int rc = sqlite3_bind_int64(_stmt, index, value);
    if (rc != SQLITE_OK) {
        fail("bind", rc);
    }
    return *this;
}

SqliteStatement& SqliteStatement::bindText(int index, std::string_view text) {
    int rc =
        sqlite3_bind_text64(_stmt, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    if (rc != SQLITE_OK) {
        fail("bind", rc);
    }
    return *this;
}

SqliteStatement& SqliteStatement::bindBlob(int index, std::string_view data) {
    // An empty blob is bound as a zero-length blob, not as NULL.
    int rc = data.empty()
                 ? sqlite3_bind_zeroblob(_stmt, index, 0)
                 : sqlite3_bind_blob64(_stmt, index, data.data(), data.size(), SQLITE_TRANSIENT);
    if (rc != SQLITE_OK) {
        fail("bind", rc);
    }
    return *this;
}

bool SqliteStatement::step() {
    int rc = sqlite3_step(_stmt);
    if (rc == SQLITE_ROW) {
        return true;
    }
    if (rc == SQLITE_DONE) {
        return false;
    }
    fail("step", rc);
}

std::int64_t SqliteStatement::columnInt(int column) const {
    return sqlite3_column_int64(_stmt, column);
}

std::string_view SqliteStatement::columnText(int column) const {
    const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(_stmt, column));
    int n = sqlite3_column_bytes(_stmt, column);
    return p ? std::string_view(p, static_cast<std::size_t>(n)) : std::string_view();
}

std::string_view SqliteStatement::columnBlob(int column) const {
    const auto* p = static_cast<const char*>(sqlite3_column_blob(_stmt, column));
    int n = sqlite3_column_bytes(_stmt, column);
    return p ? std::string_view(p, static_cast<std::size_t>(n)) : std::string_view();
}

bool SqliteStatement::columnIsNull(int column) const {
    return sqlite3_column_type(_stmt, column) == SQLITE_NULL;
}

void SqliteStatement::reset() {
    sqlite3_reset(_stmt);
    sqlite3_clear_bindings(_stmt);
}

}  // namespace tarn
