#include "repository/StorageSchema.h"

#include "tarn/CIMStatus.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::StorageSchema";

[[noreturn]] void refuse(const VELString& message) {
    throw VelaBaseException("Repository", WHO, "prepare", message, CIM_ERR_FAILED);
}

}  // namespace

void StorageSchema::create(SqliteConnection& db) {
    db.exec(
        "PRAGMA application_id=1413567054;"
        "CREATE TABLE repository_meta (name TEXT PRIMARY KEY, value TEXT NOT NULL)"
        "  WITHOUT ROWID;"
        "CREATE TABLE namespaces (id INTEGER PRIMARY KEY,"
        "  name TEXT NOT NULL UNIQUE COLLATE NOCASE);"
        "CREATE TABLE qualifiers (ns INTEGER NOT NULL REFERENCES namespaces(id),"
        "  name TEXT NOT NULL COLLATE NOCASE, definition BLOB NOT NULL,"
        "  PRIMARY KEY (ns, name)) WITHOUT ROWID;"
        "CREATE TABLE classes (id INTEGER PRIMARY KEY,"
        "  ns INTEGER NOT NULL REFERENCES namespaces(id),"
        "  name TEXT NOT NULL COLLATE NOCASE, superclass TEXT NOT NULL COLLATE NOCASE,"
        "  definition BLOB NOT NULL, UNIQUE (ns, name));"
        "CREATE TABLE instances (class INTEGER NOT NULL REFERENCES classes(id),"
        "  keys TEXT NOT NULL, properties BLOB NOT NULL,"
        "  PRIMARY KEY (class, keys)) WITHOUT ROWID;"
        "INSERT INTO repository_meta VALUES ('format_version', '1');");
    static_assert(APPLICATION_ID == 1413567054, "the PRAGMA above spells the application id");
}

void StorageSchema::upgrade(SqliteConnection&, int version) {
    // Format 1 is the first; later formats add their step here, e.g.
    //   case 1: db.exec("ALTER TABLE ..."); break;
    refuse("no upgrade from repository format version " + VELString::valueOf(version));
}

int StorageSchema::version(SqliteConnection& db) {
    auto& st = db.statement("SELECT value FROM repository_meta WHERE name='format_version'");
    SqliteStatement::Scope scope(st);
    if (!st.step()) {
        refuse("the repository " + db.path() + " has no format version");
    }
    VELString text(st.columnText(0));
    if (!text.isNumeric()) {
        refuse("the repository " + db.path() + " has a bad format version '" + text + "'");
    }
    return text.atoi();
}

bool StorageSchema::prepare(SqliteConnection& db) {
    db.exec("BEGIN IMMEDIATE");
    try {
        std::int64_t appId = 0;
        std::int64_t tables = 0;
        {
            auto& st = db.statement("PRAGMA application_id");
            SqliteStatement::Scope scope(st);
            appId = st.step() ? st.columnInt(0) : 0;
        }
        {
            auto& st = db.statement("SELECT count(*) FROM sqlite_schema");
            SqliteStatement::Scope scope(st);
            tables = st.step() ? st.columnInt(0) : 0;
        }
        if (appId == 0 && tables == 0) {
            create(db);
            db.exec("COMMIT");
            return true;
        }
        if (appId != APPLICATION_ID) {
            refuse(db.path() + " is not a TARN repository");
        }
        int v = version(db);
        if (v > CURRENT_VERSION) {
            refuse("the repository " + db.path() + " has format version " + VELString::valueOf(v) +
                   ", newer than this TARN can read (version " +
                   VELString::valueOf(CURRENT_VERSION) +
                   "); run a newer TARN, or move the file away to start a new repository");
        }
        if (v < 1) {
            refuse("the repository " + db.path() + " has a bad format version " +
                   VELString::valueOf(v));
        }
        if (v < CURRENT_VERSION) {
            for (; v < CURRENT_VERSION; ++v) {
                upgrade(db, v);
            }
            auto& st =
                db.statement("UPDATE repository_meta SET value=?1 WHERE name='format_version'");
            SqliteStatement::Scope scope(st);
            st.bindText(1, VELString::valueOf(CURRENT_VERSION).view()).run();
        }
        db.exec("COMMIT");
        return false;
    } catch (...) {
        db.rollbackQuietly();
        throw;
    }
}

}  // namespace tarn
