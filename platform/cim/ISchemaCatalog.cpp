#include "tarn/ISchemaCatalog.h"

#include <atomic>
#include <mutex>

namespace tarn {

namespace {

std::atomic<const ISchemaCatalog*> g_installed{nullptr};

// Every catalog ever installed, so that a reader's raw pointer never dangles.
struct Keeper {
    std::mutex m;
    std::vector<std::shared_ptr<const ISchemaCatalog>> all;
};

Keeper& keeper() {
    static Keeper* k = new Keeper;  // lives as long as the process
    return *k;
}

}  // namespace

void ISchemaCatalog::install(std::shared_ptr<const ISchemaCatalog> catalog) {
    Keeper& k = keeper();
    std::lock_guard<std::mutex> lock(k.m);
    const ISchemaCatalog* raw = catalog.get();
    if (catalog) {
        k.all.push_back(std::move(catalog));
    }
    g_installed.store(raw, std::memory_order_release);
}

const ISchemaCatalog* ISchemaCatalog::installed() {
    return g_installed.load(std::memory_order_acquire);
}

}  // namespace tarn
