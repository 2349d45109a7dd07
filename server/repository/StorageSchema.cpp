#include "repository/StorageSchema.h"

#include <unordered_map>

#include "repository/ReferenceIndex.h"
#include "repository/RepositoryError.h"
#include "repository/RepositorySql.h"
#include "repository/SchemaCodec.h"
#include "tarn/CIMStatus.h"
#include "vela/AdapterUtils.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

using E = RepositoryError;
using Sql = RepositorySql;

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
        "INSERT INTO repository_meta VALUES ('format_version', '2');");
    db.exec(ReferenceIndex::CREATE_TABLE);
    static_assert(CURRENT_VERSION == 2, "the INSERT above writes the current format version");
    static_assert(APPLICATION_ID == 1413567054, "the PRAGMA above spells the application id");
}

void StorageSchema::upgrade(SqliteConnection& db, int version) {
    switch (version) {
        case 1:
            // 2: the index of references; references stored without host and
            // with their namespace.
            db.exec(ReferenceIndex::CREATE_TABLE);
            ReferenceIndex::rebuild(db, *readSchema(db));
            break;
        default:
            refuse("no upgrade from repository format version " + VELString::valueOf(version));
    }
}

std::shared_ptr<const SchemaSnapshot> StorageSchema::readSchema(SqliteConnection& db) {
    auto schema = std::make_shared<SchemaSnapshot>();
    std::unordered_map<std::int64_t, VELString> names;
    {
        auto& st = db.statement(Sql::SELECT_NAMESPACES);
        SqliteStatement::Scope scope(st);
        while (st.step()) {
            VELString name(st.columnText(1));
            schema->addNameSpace(st.columnInt(0), name);
            names.emplace(st.columnInt(0), name);
        }
    }
    auto nameOf = [&](std::int64_t id) -> const VELString& {
        auto it = names.find(id);
        if (it == names.end()) {
            E::raise(CIM_ERR_FAILED, "load",
                     "the repository is damaged: a row names namespace " + VELString::valueOf(id) +
                         ", which does not exist");
        }
        return it->second;
    };
    {
        auto& st = db.statement(Sql::SELECT_QUALIFIERS);
        SqliteStatement::Scope scope(st);
        while (st.step()) {
            schema->setQualifier(nameOf(st.columnInt(0)),
                                 SchemaCodec::decodeQualifierDecl(st.columnBlob(1)));
        }
    }
    // Classes come after their superclasses in row order; a class whose
    // superclass is not loaded yet waits for it all the same.
    struct Pending {
        std::int64_t id;
        VELString nameSpace;
        VELSmrPtr<CVelaClass> cls;
    };
    std::vector<Pending> pending;
    auto tryAdd = [&](const Pending& p) {
        const auto* ns = schema->find(p.nameSpace);
        VELSmrPtr<IVelaClass> super;
        if (!p.cls->getSuperClassName().isNull()) {
            const ClassLayout* s = ns->findClass(p.cls->getSuperClassName());
            if (!s) {
                return false;
            }
            super = s->cls();
        }
        try {
            p.cls->resolve(super);
        } catch (const VelaBaseException& e) {
            E::raise(
                CIM_ERR_FAILED, "load",
                "the repository is damaged: class " + p.cls->getName() + ": " + e.getMessage());
        }
        schema->addClass(p.nameSpace, p.cls, p.id);
        return true;
    };
    {
        auto& st = db.statement(Sql::SELECT_CLASSES);
        SqliteStatement::Scope scope(st);
        while (st.step()) {
            const VELString& ns = nameOf(st.columnInt(1));
            Pending p{st.columnInt(0), ns, SchemaCodec::decodeClass(st.columnBlob(3), ns)};
            if (!tryAdd(p)) {
                pending.push_back(std::move(p));
            }
        }
    }
    while (!pending.empty()) {
        std::size_t before = pending.size();
        std::erase_if(pending, [&](const Pending& p) { return tryAdd(p); });
        if (pending.size() == before) {
            E::raise(CIM_ERR_FAILED, "load",
                     "the repository is damaged: the superclass " +
                         pending.front().cls->getSuperClassName() + " of class " +
                         pending.front().cls->getName() + " in namespace " +
                         pending.front().nameSpace + " is missing");
        }
    }
    return schema;
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
        const int from = v;
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
        if (from < CURRENT_VERSION) {
            AdapterUtils::log(WHO,
                              "Upgraded the repository " + db.path() + " from format version " +
                                  VELString::valueOf(from) + " to " +
                                  VELString::valueOf(CURRENT_VERSION),
                              3);
        }
        return false;
    } catch (...) {
        db.rollbackQuietly();
        throw;
    }
}

}  // namespace tarn
