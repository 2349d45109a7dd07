#include "tarn/ClassLookup.h"

#include <atomic>
#include <mutex>
#include <vector>

namespace tarn {

namespace {

std::atomic<const IClassLookup*> g_current{nullptr};
std::atomic<std::uint64_t> g_generation{1};

struct Keeper {
    std::mutex m;
    std::vector<std::shared_ptr<const IClassLookup>> all;
};

Keeper& keeper() {
    static Keeper* k = new Keeper;  // lives as long as the process: readers hold raw pointers
    return *k;
}

}  // namespace

void ClassLookup::install(std::shared_ptr<const IClassLookup> lookup) {
    Keeper& k = keeper();
    std::lock_guard<std::mutex> lock(k.m);
    const IClassLookup* raw = lookup.get();
    if (lookup) {
        k.all.push_back(std::move(lookup));
    }
    g_current.store(raw, std::memory_order_release);
    g_generation.fetch_add(1, std::memory_order_acq_rel);
}

const IClassLookup* ClassLookup::get() {
    return g_current.load(std::memory_order_acquire);
}

VELSmrPtr<IVelaClass> ClassLookup::getClass(const VELString& nameSpace,
                                            const VELString& className) {
    const IClassLookup* l = get();
    return l ? l->getClass(nameSpace, className) : VELSmrPtr<IVelaClass>();
}

std::uint64_t ClassLookup::generation() {
    return g_generation.load(std::memory_order_acquire);
}

void ClassLookup::invalidate() {
    g_generation.fetch_add(1, std::memory_order_acq_rel);
}

}  // namespace tarn
