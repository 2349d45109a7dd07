// tarn::SchemaCache: the current schema snapshot of a repository, served to
// readers without locks in the steady state.
//
// Each thread keeps a handle on the snapshot it last used together with the
// generation it was published under. A reader compares that generation with
// the cache's (one atomic load) and uses its handle when they match; only
// after a publish does it take the lock, once, to fetch the new snapshot.
// The cache is also the class lookup installed for the encoders
// (tarn::ClassLookup) and the context of MOF compilations; it outlives the
// repository that fills it, keeping the last snapshot.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "mof/IMofContext.h"
#include "repository/SchemaSnapshot.h"

namespace tarn {

class SchemaCache : public IMofContext {
  public:
    SchemaCache();

    // The current snapshot.
    std::shared_ptr<const SchemaSnapshot> current() const;
    // Makes snapshot the current one and moves the generation on.
    void publish(std::shared_ptr<const SchemaSnapshot> snapshot);
    std::uint64_t generation() const { return _generation.load(std::memory_order_acquire); }

    // Null when the namespace or the class is unknown.
    VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace,
                                   const VELString& className) const override;
    VELSmrPtr<IQualifierDef> getQualifierDef(const VELString& nameSpace,
                                             const VELString& name) const override;

  private:
    // The calling thread's snapshot; valid until this thread asks again after
    // a publish, so callers copy out what they need before returning.
    const SchemaSnapshot& local() const;

    const std::uint64_t _id;
    mutable std::mutex _m;
    std::shared_ptr<const SchemaSnapshot> _snapshot;
    std::atomic<std::uint64_t> _generation{1};
};

}  // namespace tarn
