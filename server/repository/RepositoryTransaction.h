// tarn::RepositoryTransaction: a group of writes to the repository that
// reach the database together or not at all. While it is open it holds the
// repository's writer lock; reads through it see its own writes, other
// readers see none of them until commit(). Schema changes become visible to
// every reader at commit. Destroying an open transaction rolls it back.
//
//     RepositoryTransaction t = repository.beginTransaction();
//     t.createInstance("root/cimv2", a);
//     t.createInstance("root/cimv2", b);
//     t.commit();
//
// The operations raise the codes listed in Repository.h.
#pragma once

#include <memory>
#include <mutex>

#include "repository/SchemaSnapshot.h"
#include "vela/CVelaClass.h"
#include "vela/IVelaObject.h"
#include "vela/VELValSlist.h"

namespace tarn {

class Repository;
class SqliteConnection;

class RepositoryTransaction {
  public:
    RepositoryTransaction(RepositoryTransaction&& other) noexcept;
    RepositoryTransaction& operator=(RepositoryTransaction&&) = delete;
    ~RepositoryTransaction();

    // The schema as this transaction sees it.
    const SchemaSnapshot& schema() const { return _working ? *_working : *_base; }

    bool hasNameSpace(const VELString& nameSpace) const;
    void createNameSpace(const VELString& nameSpace);
    // Deletes a namespace that holds no class, with its qualifier
    // declarations. 3; 20 (CIM_ERR_NAMESPACE_NOT_EMPTY) when it holds classes.
    void deleteNameSpace(const VELString& nameSpace);
    // True when declared; false when the same declaration was already there;
    // 11 when a different one of that name is.
    bool addQualifierDecl(const VELString& nameSpace, const VELSmrPtr<IQualifierDef>& decl);
    // Stores the class's own elements and resolves it against its superclass
    // in the namespace (10 when there is none, 4 on a conflict). True when
    // added; false when an identical class was already there; 11 when a
    // different one is.
    bool addClass(const VELString& nameSpace, const VELSmrPtr<CVelaClass>& cls);

    // As Repository::createInstance. With keepIdentical, an instance that
    // exists with exactly the same properties is not an error: the call
    // returns its path and sets *keepIdentical to true.
    VELSmrPtr<IVelaInstanceName> createInstance(const VELString& nameSpace,
                                                const IVelaObject& instance,
                                                bool* keepIdentical = nullptr);
    void modifyInstance(const VELString& nameSpace, const VELSmrPtr<IVelaInstanceName>& name,
                        const IVelaObject& modified,
                        const VELSmrPtr<VELValSlist<VELString>>& propertyList);
    void deleteInstance(const VELString& nameSpace, const IVelaInstanceName& name);
    VELSmrPtr<IVelaObject> getInstance(const VELString& nameSpace,
                                       const IVelaInstanceName& name) const;

    // Sets a value of the repository's own bookkeeping (repository_meta).
    void setInfo(const VELString& name, const VELString& value);

    // Throws VelaBaseException (code 1) when the commit fails; the
    // transaction is then rolled back.
    void commit();
    void rollback() noexcept;
    bool isOpen() const { return _open; }

  private:
    friend class Repository;
    explicit RepositoryTransaction(Repository& repository);

    SqliteConnection& db() const;
    SchemaSnapshot& editSchema();
    void checkOpen() const;
    void end() noexcept;

    Repository* _repo;
    std::unique_lock<std::mutex> _lock;
    std::shared_ptr<const SchemaSnapshot> _base;
    std::shared_ptr<SchemaSnapshot> _working;
    bool _open = false;
};

}  // namespace tarn
