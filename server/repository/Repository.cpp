#include "repository/Repository.h"

#include <filesystem>
#include <unordered_map>

#include "repository/InstanceChecker.h"
#include "repository/InstanceCodec.h"
#include "repository/RepositoryError.h"
#include "repository/RepositorySql.h"
#include "repository/SchemaCodec.h"
#include "repository/StorageSchema.h"
#include "tarn/CIMStatus.h"

namespace tarn {

namespace {

using E = RepositoryError;
using Sql = RepositorySql;

// Ends a read transaction on a leased connection, also on the way out of an exception.
class ReadTransaction {
  public:
    explicit ReadTransaction(SqliteConnection& db) : _db(db) { _db.exec("BEGIN"); }
    ~ReadTransaction() { _db.rollbackQuietly(); }
    ReadTransaction(const ReadTransaction&) = delete;
    ReadTransaction& operator=(const ReadTransaction&) = delete;

  private:
    SqliteConnection& _db;
};

}  // namespace

const char* const Repository::FILE_NAME = "repository.db";

Repository::Repository(const VELString& path) : Repository(path, Options()) {}

Repository::Repository(const VELString& path, Options options)
    : _path(path),
      _options(options),
      _catalog(options.catalog ? options.catalog : std::make_shared<SchemaCatalog>(path)) {
    _options.catalog.reset();
    _writer = std::make_unique<SqliteConnection>(path, options.busyTimeoutMs);
    _created = StorageSchema::prepare(*_writer);
    _pool = std::make_unique<ConnectionPool>(path, options.idleConnections, options.busyTimeoutMs);
    _catalog->attach([this] {
        auto lease = _pool->acquire();
        return loadSchema(*lease);
    });
}

Repository::~Repository() {
    _catalog->attach(nullptr);
}

std::shared_ptr<const SchemaSnapshot> Repository::loadSchema(SqliteConnection& db) {
    ReadTransaction read(db);
    return StorageSchema::readSchema(db);
}

VELString Repository::getInfo(const VELString& name) const {
    auto lease = _pool->acquire();
    auto& st = lease->statement(Sql::SELECT_META);
    SqliteStatement::Scope scope(st);
    st.bindText(1, name.view());
    return st.step() ? VELString(st.columnText(0)) : VELString();
}

const SchemaSnapshot::NameSpace& Repository::nameSpaceOf(const SchemaSnapshot& schema,
                                                         const VELString& nameSpace) {
    const SchemaSnapshot::NameSpace* ns = schema.find(nameSpace);
    if (!ns) {
        E::raise(CIM_ERR_INVALID_NAMESPACE, "nameSpace",
                 "namespace " + nameSpace + " does not exist");
    }
    return *ns;
}

const ClassLayout& Repository::classOf(const SchemaSnapshot::NameSpace& ns,
                                       const VELString& className) {
    const ClassLayout* c = ns.findClass(className);
    if (!c) {
        E::raise(CIM_ERR_INVALID_CLASS, "class",
                 "class " + className + " does not exist in namespace " + ns.name);
    }
    return *c;
}

void Repository::createNameSpace(const VELString& nameSpace) {
    RepositoryTransaction t = beginTransaction();
    t.createNameSpace(nameSpace);
    t.commit();
}

void Repository::deleteNameSpace(const VELString& nameSpace) {
    RepositoryTransaction t = beginTransaction();
    t.deleteNameSpace(nameSpace);
    t.commit();
}

// Instances ------------------------------------------------------------------

VELSmrPtr<CVelaObject> Repository::fetch(SqliteConnection& db, const SchemaSnapshot& schema,
                                         const VELString& nameSpace, const IVelaInstanceName& name,
                                         const ClassLayout** layoutOut, VELString* keysOut) {
    const auto& ns = nameSpaceOf(schema, nameSpace);
    const ClassLayout& layout = classOf(ns, name.getClassName());
    VELString keys = InstanceChecker(schema, ns).checkName(layout, name);
    auto& st = db.statement(Sql::SELECT_INSTANCE);
    SqliteStatement::Scope scope(st);
    st.bind(1, layout.id()).bindText(2, keys.view());
    VELSmrPtr<CVelaObject> found;
    if (st.step()) {
        found = InstanceCodec::decode(st.columnBlob(0), layout, ns.path);
    }
    if (layoutOut) {
        *layoutOut = &layout;
    }
    if (keysOut) {
        *keysOut = std::move(keys);
    }
    return found;
}

VELSmrPtr<IVelaObject> Repository::getInstance(const VELString& nameSpace,
                                               const IVelaInstanceName& name) const {
    auto schema = _catalog->current();
    auto lease = _pool->acquire();
    const ClassLayout* layout = nullptr;
    VELString keys;
    auto found = fetch(*lease, *schema, nameSpace, name, &layout, &keys);
    if (found.isNull()) {
        E::raise(CIM_ERR_NOT_FOUND, "getInstance",
                 "instance " + layout->name() + "." + keys + " does not exist in namespace " +
                     nameSpace);
    }
    return found;
}

template <class Each>
void Repository::scan(const VELString& nameSpace, const VELString& className, bool deep,
                      const Each& each) const {
    auto schema = _catalog->current();
    const auto& ns = nameSpaceOf(*schema, nameSpace);
    std::vector<const ClassLayout*> classes{&classOf(ns, className)};
    if (deep) {
        auto sub = ns.subclasses(classes.front()->name(), true);
        classes.insert(classes.end(), sub.begin(), sub.end());
    }
    auto lease = _pool->acquire();
    // One read transaction: the enumeration sees one state of the database.
    ReadTransaction read(*lease);
    auto& st = lease->statement(Sql::SCAN_INSTANCES);
    for (const ClassLayout* c : classes) {
        SqliteStatement::Scope scope(st);
        st.bind(1, c->id());
        while (st.step()) {
            if (!each(*c, ns, st.columnBlob(0))) {
                return;
            }
        }
    }
}

void Repository::enumerateInstances(const VELString& nameSpace, const VELString& className,
                                    bool deep, const InstanceCallback& callback) const {
    scan(nameSpace, className, deep,
         [&](const ClassLayout& c, const SchemaSnapshot::NameSpace& ns, std::string_view data) {
             return callback(InstanceCodec::decode(data, c, ns.path));
         });
}

void Repository::enumerateInstanceNames(const VELString& nameSpace, const VELString& className,
                                        bool deep, const NameCallback& callback) const {
    scan(nameSpace, className, deep,
         [&](const ClassLayout& c, const SchemaSnapshot::NameSpace& ns, std::string_view data) {
             return callback(InstanceCodec::decodeName(data, c, ns.path));
         });
}

std::uint64_t Repository::countInstances(const VELString& nameSpace, const VELString& className,
                                         bool deep) const {
    auto schema = _catalog->current();
    const auto& ns = nameSpaceOf(*schema, nameSpace);
    std::vector<const ClassLayout*> classes{&classOf(ns, className)};
    if (deep) {
        auto sub = ns.subclasses(classes.front()->name(), true);
        classes.insert(classes.end(), sub.begin(), sub.end());
    }
    auto lease = _pool->acquire();
    ReadTransaction read(*lease);
    auto& st = lease->statement(Sql::COUNT_INSTANCES);
    std::uint64_t n = 0;
    for (const ClassLayout* c : classes) {
        SqliteStatement::Scope scope(st);
        st.bind(1, c->id());
        if (st.step()) {
            n += static_cast<std::uint64_t>(st.columnInt(0));
        }
    }
    return n;
}

Repository::Statistics Repository::statistics() const {
    Statistics stats;
    for (const char* suffix : {"", "-wal"}) {
        std::error_code ec;
        auto size = std::filesystem::file_size(std::string(_path.view()) + suffix, ec);
        if (!ec) {
            stats.fileBytes += size;
        }
    }
    auto lease = _pool->acquire();
    ReadTransaction read(*lease);
    auto& st = lease->statement(Sql::COUNT_INSTANCES_BY_NAMESPACE);
    SqliteStatement::Scope scope(st);
    while (st.step()) {
        stats.instances.emplace_back(VELString(st.columnText(0)),
                                     static_cast<std::uint64_t>(st.columnInt(1)));
    }
    return stats;
}

void Repository::referrers(const VELString& nameSpace, const std::vector<VELString>& assocClasses,
                           const VELSmrPtr<IVelaInstanceName>& target, const VELString& role,
                           const ReferrerCallback& callback) const {
    auto schema = _catalog->current();
    const auto& ns = nameSpaceOf(*schema, nameSpace);
    std::unordered_map<std::int64_t, const ClassLayout*> classes;
    for (const VELString& name : assocClasses) {
        const ClassLayout& c = classOf(ns, name);
        classes.emplace(c.id(), &c);
    }
    classOf(ns, target->getClassName());
    const VELString text = InstanceChecker(*schema, ns).referenceText(target);
    if (classes.empty()) {
        return;
    }
    const VELString wanted = role.toLower();
    auto lease = _pool->acquire();
    ReadTransaction read(*lease);
    auto& rows = lease->statement(Sql::SELECT_REFERRERS);
    SqliteStatement::Scope scope(rows);
    rows.bindText(1, text.view());
    // Rows come grouped by class and association instance, one per role.
    bool more = rows.step();
    while (more) {
        const std::int64_t id = rows.columnInt(0);
        VELString keys(rows.columnText(1));
        auto cls = classes.find(id);
        std::vector<VELString> roles;
        for (; more && rows.columnInt(0) == id && rows.columnText(1) == keys.view();
             more = rows.step()) {
            std::string_view r = rows.columnText(2);
            if (cls != classes.end() && (wanted.isNull() || wanted.view() == r)) {
                long pos = cls->second->indexOf(VELString(r));
                roles.push_back(
                    pos < 0 ? VELString(r)
                            : cls->second->property(static_cast<std::size_t>(pos))->getName());
            }
        }
        if (roles.empty()) {
            continue;
        }
        const ClassLayout& assoc = *cls->second;
        VELSmrPtr<CVelaObject> instance;
        {
            auto& get = lease->statement(Sql::SELECT_INSTANCE);
            SqliteStatement::Scope getScope(get);
            get.bind(1, assoc.id()).bindText(2, keys.view());
            if (get.step()) {
                instance = InstanceCodec::decode(get.columnBlob(0), assoc, ns.path);
            }
        }
        if (!instance.isNull() && !callback(instance, roles)) {
            return;
        }
    }
}

VELSmrPtr<IVelaInstanceName> Repository::createInstance(const VELString& nameSpace,
                                                        const IVelaObject& instance) {
    RepositoryTransaction t = beginTransaction();
    auto path = t.createInstance(nameSpace, instance);
    t.commit();
    return path;
}

void Repository::modifyInstance(const VELString& nameSpace,
                                const VELSmrPtr<IVelaInstanceName>& name,
                                const IVelaObject& modified, const PropertyList& propertyList) {
    RepositoryTransaction t = beginTransaction();
    t.modifyInstance(nameSpace, name, modified, propertyList);
    t.commit();
}

void Repository::deleteInstance(const VELString& nameSpace, const IVelaInstanceName& name) {
    RepositoryTransaction t = beginTransaction();
    t.deleteInstance(nameSpace, name);
    t.commit();
}

RepositoryTransaction Repository::beginTransaction() {
    return RepositoryTransaction(*this);
}

VELString Repository::checkIntegrity() const {
    auto lease = _pool->acquire();
    auto& st = lease->statement("PRAGMA integrity_check");
    SqliteStatement::Scope scope(st);
    VELString out;
    while (st.step()) {
        if (!out.isNull()) {
            out += "; ";
        }
        out += st.columnText(0);
    }
    return out;
}

}  // namespace tarn
