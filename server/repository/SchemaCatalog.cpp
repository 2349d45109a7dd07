#include "repository/SchemaCatalog.h"

#include "vela/AdapterUtils.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

constexpr std::uint64_t kStale = ~std::uint64_t{0};

std::atomic<std::uint64_t> g_nextId{1};

// One handle per thread; it follows whichever catalog the thread used last.
struct Handle {
    std::uint64_t owner = 0;
    std::uint64_t generation = 0;
    std::shared_ptr<const SchemaSnapshot> snapshot;
};
thread_local Handle t_handle;

}  // namespace

SchemaCatalog::SchemaCatalog(const VELString& databasePath)
    : _id(g_nextId.fetch_add(1, std::memory_order_relaxed)),
      _shared(databasePath),
      _snapshot(std::make_shared<const SchemaSnapshot>()) {
    _loaded = _shared.load();
}

void SchemaCatalog::attach(Loader loader) {
    std::lock_guard<std::mutex> lock(_m);
    _loader = std::move(loader);
    if (_loader) {
        _loaded = kStale;
        refreshLocked();
    }
}

void SchemaCatalog::refreshLocked() const {
    std::uint64_t shared = _shared.load();
    if (shared == _loaded) {
        return;
    }
    if (!_loader) {
        _loaded = shared;  // detached: nothing newer can be had
        return;
    }
    // Read before loading: a change committed meanwhile moves it again and
    // is picked up by the next read.
    try {
        _snapshot = _loader();
    } catch (const VelaBaseException& e) {
        AdapterUtils::log("tarn::SchemaCatalog",
                          "Reloading the schema failed; the previous one stays: " + e.getMessage(),
                          1);
    }
    _loaded = shared;
}

const SchemaSnapshot& SchemaCatalog::local() const {
    std::uint64_t g = _shared.load();
    Handle& h = t_handle;
    if (h.owner != _id || h.generation != g) {
        std::lock_guard<std::mutex> lock(_m);
        refreshLocked();
        h.snapshot = _snapshot;
        h.generation = _loaded;
        h.owner = _id;
    }
    return *h.snapshot;
}

std::shared_ptr<const SchemaSnapshot> SchemaCatalog::current() const {
    local();
    return t_handle.snapshot;
}

void SchemaCatalog::publish(std::shared_ptr<const SchemaSnapshot> snapshot) {
    std::lock_guard<std::mutex> lock(_m);
    std::uint64_t before = _shared.advance();
    _snapshot = std::move(snapshot);
    // When another process changed the schema too since the last load, this
    // snapshot lacks its change: the next reader reloads.
    _loaded = before == _loaded ? before + 1 : kStale;
}

std::vector<VELString> SchemaCatalog::getNameSpaces() const {
    return local().nameSpaceNames();
}

bool SchemaCatalog::hasNameSpace(const VELString& nameSpace) const {
    return local().find(nameSpace) != nullptr;
}

VELSmrPtr<IVelaClass> SchemaCatalog::getClass(const VELString& nameSpace,
                                              const VELString& className) const {
    const SchemaSnapshot::NameSpace* ns = local().find(nameSpace);
    const ClassLayout* c = ns ? ns->findClass(className) : nullptr;
    return c ? VELSmrPtr<IVelaClass>(c->cls()) : VELSmrPtr<IVelaClass>();
}

std::vector<VELSmrPtr<IVelaClass>> SchemaCatalog::getSubclasses(const VELString& nameSpace,
                                                                const VELString& className,
                                                                bool deep) const {
    std::vector<VELSmrPtr<IVelaClass>> out;
    const SchemaSnapshot::NameSpace* ns = local().find(nameSpace);
    if (!ns || (!className.isNull() && !ns->findClass(className))) {
        return out;
    }
    for (const ClassLayout* c : ns->subclasses(className, deep)) {
        out.emplace_back(c->cls());
    }
    return out;
}

VELSmrPtr<IQualifierDef> SchemaCatalog::getQualifierDef(const VELString& nameSpace,
                                                        const VELString& name) const {
    const SchemaSnapshot::NameSpace* ns = local().find(nameSpace);
    return ns ? ns->findQualifier(name) : VELSmrPtr<IQualifierDef>();
}

std::vector<VELSmrPtr<IQualifierDef>> SchemaCatalog::getQualifierDefs(
    const VELString& nameSpace) const {
    const SchemaSnapshot::NameSpace* ns = local().find(nameSpace);
    return ns ? ns->qualifiers : std::vector<VELSmrPtr<IQualifierDef>>();
}

}  // namespace tarn
