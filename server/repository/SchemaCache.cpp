#include "repository/SchemaCache.h"

namespace tarn {

namespace {

std::atomic<std::uint64_t> g_nextId{1};

// One handle per thread; it follows whichever cache the thread used last.
struct Handle {
    std::uint64_t owner = 0;
    std::uint64_t generation = 0;
    std::shared_ptr<const SchemaSnapshot> snapshot;
};
thread_local Handle t_handle;

}  // namespace

SchemaCache::SchemaCache()
    : _id(g_nextId.fetch_add(1, std::memory_order_relaxed)),
      _snapshot(std::make_shared<const SchemaSnapshot>()) {}

const SchemaSnapshot& SchemaCache::local() const {
    std::uint64_t g = _generation.load(std::memory_order_acquire);
    Handle& h = t_handle;
    if (h.owner != _id || h.generation != g) {
        std::lock_guard<std::mutex> lock(_m);
        h.snapshot = _snapshot;
        h.generation = _generation.load(std::memory_order_relaxed);
        h.owner = _id;
    }
    return *h.snapshot;
}

std::shared_ptr<const SchemaSnapshot> SchemaCache::current() const {
    local();
    return t_handle.snapshot;
}

void SchemaCache::publish(std::shared_ptr<const SchemaSnapshot> snapshot) {
    std::lock_guard<std::mutex> lock(_m);
    _snapshot = std::move(snapshot);
    _generation.fetch_add(1, std::memory_order_release);
}

VELSmrPtr<IVelaClass> SchemaCache::getClass(const VELString& nameSpace,
                                            const VELString& className) const {
    const SchemaSnapshot::NameSpace* ns = local().find(nameSpace);
    const ClassLayout* c = ns ? ns->findClass(className) : nullptr;
    return c ? VELSmrPtr<IVelaClass>(c->cls()) : VELSmrPtr<IVelaClass>();
}

VELSmrPtr<IQualifierDef> SchemaCache::getQualifierDef(const VELString& nameSpace,
                                                      const VELString& name) const {
    const SchemaSnapshot::NameSpace* ns = local().find(nameSpace);
    return ns ? ns->findQualifier(name) : VELSmrPtr<IQualifierDef>();
}

}  // namespace tarn
