// tarn::Repository: the CIM repository of the object manager: namespaces,
// qualifier declarations, classes and instances in one SQLite database
// (<state-dir>/repository.db).
//
// Schema: every class of every namespace is loaded at open, resolved, and
// kept in memory; the repository's catalog (tarn::SchemaCatalog, the one way
// to read namespaces, qualifier declarations and classes) serves it without
// touching the database and, in the steady state, without a lock. Schema
// changes (new namespaces, qualifier declarations, classes) are written
// through a transaction and become visible to readers when it commits, also
// to the readers of other processes that have the repository open. A class
// is never changed or removed once stored; declaring it again is accepted
// only when the definition is identical.
//
// Instances are stored per class, keyed by their canonical key text (see
// tarn::InstanceChecker), in a compact binary form. Reads run on a pool of
// connections and do not wait for the writer; enumerations stream from the
// database cursor into a callback, so memory does not grow with the number
// of instances. Writes are serialised: each write is one transaction that
// is on disk (synchronous=FULL) when the call returns; several writes can be
// grouped into one transaction with beginTransaction(). The instances of
// association classes are indexed by the instances they reference
// (tarn::ReferenceIndex), which referrers() reads.
//
// Errors are VelaBaseException with a CIM status code (tarn::RepositoryError):
//   3  CIM_ERR_INVALID_NAMESPACE  the namespace does not exist
//   4  CIM_ERR_INVALID_PARAMETER  bad instance name or instance (a property
//                                 the class lacks, a key missing or changed,
//                                 an abstract class), bad namespace name
//   5  CIM_ERR_INVALID_CLASS      the class does not exist
//   6  CIM_ERR_NOT_FOUND          no such instance
//   7  CIM_ERR_NOT_SUPPORTED      an embedded class as a property value
//   10 CIM_ERR_INVALID_SUPERCLASS a new class's superclass does not exist
//   11 CIM_ERR_ALREADY_EXISTS     instance, namespace, or a different
//                                 class or qualifier of that name exists
//   13 CIM_ERR_TYPE_MISMATCH      a value that cannot be of its property's type
//   20 CIM_ERR_NAMESPACE_NOT_EMPTY a namespace to delete holds classes
//   1  CIM_ERR_FAILED             storage failures (disk, a damaged file)
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "repository/ConnectionPool.h"
#include "repository/RepositoryTransaction.h"
#include "repository/SchemaCatalog.h"
#include "vela/CVelaObject.h"
#include "vela/VELValSlist.h"

namespace tarn {

class Repository {
  public:
    // Return false to stop the enumeration.
    using InstanceCallback = std::function<bool(const VELSmrPtr<IVelaObject>&)>;
    using NameCallback = std::function<bool(const VELSmrPtr<IVelaInstanceName>&)>;
    // An association instance and the reference properties (as the class
    // spells them) through which it references the instance asked about.
    using ReferrerCallback =
        std::function<bool(const VELSmrPtr<IVelaObject>&, const std::vector<VELString>& roles)>;
    // Null: all properties.
    using PropertyList = VELSmrPtr<VELValSlist<VELString>>;

    struct Options {
        // Read connections kept open between reads; more are opened while
        // more threads read at once.
        std::size_t idleConnections = 4;
        // How long a write waits for a lock held by another process (such as
        // tarn-mof writing into the repository of a running server).
        std::uint32_t busyTimeoutMs = 30000;
        // The catalog to serve the schema through, made before the repository
        // opens (for the object manager's context); null: one of its own.
        std::shared_ptr<SchemaCatalog> catalog;
    };

    // "repository.db", the file's name in the state directory.
    static const char* const FILE_NAME;

    // Opens the database at path, creating it when missing. Throws
    // VelaBaseException (code 1) when the file cannot be opened, is not a
    // TARN repository, has a newer format, or is damaged.
    explicit Repository(const VELString& path);
    Repository(const VELString& path, Options options);
    ~Repository();
    Repository(const Repository&) = delete;
    Repository& operator=(const Repository&) = delete;

    const VELString& getPath() const { return _path; }
    // True when this open created the database.
    bool wasCreated() const { return _created; }
    // The schema. The catalog stays valid, with the last schema, after the
    // repository is closed.
    const std::shared_ptr<SchemaCatalog>& catalog() const { return _catalog; }
    // A value of the repository's own bookkeeping (repository_meta), or empty.
    VELString getInfo(const VELString& name) const;

    // Names are components of letters, digits and "_" separated by "/". 11, 4.
    void createNameSpace(const VELString& nameSpace);
    // Deletes a namespace that holds no class, with its qualifier
    // declarations. 3, 20 (CIM_ERR_NAMESPACE_NOT_EMPTY).
    void deleteNameSpace(const VELString& nameSpace);

    // Instances. Each returned instance carries its path (namespace, class
    // and keys) and every property of its class, in class order.
    // 3, 5 (the name's class), 4 (bad keys), 6.
    VELSmrPtr<IVelaObject> getInstance(const VELString& nameSpace,
                                       const IVelaInstanceName& name) const;
    // The instances of className and, with deep, of all its subclasses
    // (class by class, superclasses first). 3, 5.
    void enumerateInstances(const VELString& nameSpace, const VELString& className, bool deep,
                            const InstanceCallback& callback) const;
    void enumerateInstanceNames(const VELString& nameSpace, const VELString& className, bool deep,
                                const NameCallback& callback) const;
    std::uint64_t countInstances(const VELString& nameSpace, const VELString& className,
                                 bool deep) const;
    // Creates the instance and returns its path. Properties the instance
    // does not give take their class default. 3, 5, 4, 13, 7, 11.
    VELSmrPtr<IVelaInstanceName> createInstance(const VELString& nameSpace,
                                                const IVelaObject& instance);
    // Replaces properties of an existing instance: with a null property list
    // those the modified instance gives; otherwise those the list names (a
    // listed property the modified instance lacks gets its class default).
    // The instance is named by name, else by the modified instance's path,
    // else by its key properties. Keys cannot change (4). 3, 5, 4, 13, 6.
    void modifyInstance(const VELString& nameSpace, const VELSmrPtr<IVelaInstanceName>& name,
                        const IVelaObject& modified, const PropertyList& propertyList);
    // 3, 5, 4, 6.
    void deleteInstance(const VELString& nameSpace, const IVelaInstanceName& name);

    // The instances of the association classes assocClasses (not of their
    // subclasses) that reference target (an instance of the namespace),
    // through the reference property role or, when role is empty, through
    // any; each once, class by class in the order of their keys. Found through
    // the index of references in one range of it: the cost grows with the
    // number of association instances that reference target, not with the
    // number of classes or of other association instances. 3, 5 (a class),
    // 4 (target's keys).
    void referrers(const VELString& nameSpace, const std::vector<VELString>& assocClasses,
                   const VELSmrPtr<IVelaInstanceName>& target, const VELString& role,
                   const ReferrerCallback& callback) const;

    // A write transaction: all its writes, or none, reach the database. Only
    // one is open at a time (others wait for it); a thread must not begin a
    // second one while it holds one (code 1).
    RepositoryTransaction beginTransaction();

    // SQLite's integrity check: "ok", or what it found.
    VELString checkIntegrity() const;

    // What the repository holds, for the metrics: the bytes of its files
    // (database and write-ahead log) and the instances it stores in each
    // namespace (by name, zero included).
    struct Statistics {
        std::uint64_t fileBytes = 0;
        std::vector<std::pair<VELString, std::uint64_t>> instances;
    };
    Statistics statistics() const;

  private:
    friend class RepositoryTransaction;

    static const SchemaSnapshot::NameSpace& nameSpaceOf(const SchemaSnapshot& schema,
                                                        const VELString& nameSpace);
    static const ClassLayout& classOf(const SchemaSnapshot::NameSpace& ns,
                                      const VELString& className);
    // The stored instance of that name, or null; keys receives its canonical key text.
    static VELSmrPtr<CVelaObject> fetch(SqliteConnection& db, const SchemaSnapshot& schema,
                                        const VELString& nameSpace, const IVelaInstanceName& name,
                                        const ClassLayout** layout, VELString* keys);
    // The whole schema as the database holds it.
    static std::shared_ptr<const SchemaSnapshot> loadSchema(SqliteConnection& db);
    template <class Each>
    void scan(const VELString& nameSpace, const VELString& className, bool deep,
              const Each& each) const;

    VELString _path;
    Options _options;
    bool _created = false;
    std::unique_ptr<SqliteConnection> _writer;
    std::unique_ptr<ConnectionPool> _pool;
    std::shared_ptr<SchemaCatalog> _catalog;
    std::mutex _writeMutex;
    std::atomic<std::thread::id> _writerThread{};
};

}  // namespace tarn
