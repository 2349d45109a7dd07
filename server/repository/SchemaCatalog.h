// tarn::SchemaCatalog: the repository's schema catalog. It serves the
// current schema snapshot from memory, without locks in the steady state.
//
// Each thread keeps a handle on the snapshot it last used, with the
// generation it belongs to. A read compares that generation with the
// repository's shared one (tarn::SchemaGeneration: one atomic load); only
// after a change does it take the lock, once, to fetch the new snapshot. A
// change committed by this process is published directly; one committed by
// another process (tarn-mof) moves the shared generation, and the first
// reader to notice reloads the schema from the database.
//
// The catalog may outlive its repository (installed catalogs live until the
// process ends); after the repository closes it keeps the last snapshot.
#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "repository/SchemaGeneration.h"
#include "repository/SchemaSnapshot.h"
#include "tarn/ISchemaCatalog.h"

namespace tarn {

class SchemaCatalog : public ISchemaCatalog {
  public:
    using Loader = std::function<std::shared_ptr<const SchemaSnapshot>()>;

    explicit SchemaCatalog(const VELString& databasePath);

    // Loads the schema now with loader, and again whenever another process
    // changed it. Null detaches the catalog from its (closing) repository.
    void attach(Loader loader);
    // The current snapshot; valid as long as the caller holds it.
    std::shared_ptr<const SchemaSnapshot> current() const;
    // Makes the snapshot of a change this process just committed current.
    void publish(std::shared_ptr<const SchemaSnapshot> snapshot);

    std::uint64_t generation() const override { return _shared.load(); }
    std::vector<VELString> getNameSpaces() const override;
    bool hasNameSpace(const VELString& nameSpace) const override;
    VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace,
                                   const VELString& className) const override;
    std::vector<VELSmrPtr<IVelaClass>> getSubclasses(const VELString& nameSpace,
                                                     const VELString& className,
                                                     bool deep) const override;
    VELSmrPtr<IQualifierDef> getQualifierDef(const VELString& nameSpace,
                                             const VELString& name) const override;
    std::vector<VELSmrPtr<IQualifierDef>> getQualifierDefs(
        const VELString& nameSpace) const override;

  private:
    // The calling thread's snapshot; valid until this thread asks again after
    // a change, so callers copy out what they need before returning.
    const SchemaSnapshot& local() const;
    // With _m held: reloads when the shared generation moved past _loaded.
    void refreshLocked() const;

    const std::uint64_t _id;
    SchemaGeneration _shared;
    mutable std::mutex _m;
    Loader _loader;
    mutable std::shared_ptr<const SchemaSnapshot> _snapshot;
    // The shared generation _snapshot reflects; kStale when it reflects none.
    mutable std::uint64_t _loaded = 0;
};

}  // namespace tarn
