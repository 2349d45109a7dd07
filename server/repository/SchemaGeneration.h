// tarn::SchemaGeneration: a count of the schema changes made to one
// repository, shared by every process that opens it (tarnd, and tarn-mof
// writing while tarnd runs). It lives in a small file mapped into memory
// beside the database ("<database>-schema"), so that a reader learns of
// another process's change with one atomic load, without asking SQLite.
// Where the file cannot be made (a read-only directory), the count is the
// process's own and changes by other processes go unnoticed until a restart.
#pragma once

#include <atomic>
#include <cstdint>

#include "vela/VELString.h"

namespace tarn {

class SchemaGeneration {
  public:
    explicit SchemaGeneration(const VELString& databasePath);
    ~SchemaGeneration();
    SchemaGeneration(const SchemaGeneration&) = delete;
    SchemaGeneration& operator=(const SchemaGeneration&) = delete;

    std::uint64_t load() const {
        return std::atomic_ref<std::uint64_t>(*_count).load(std::memory_order_acquire);
    }
    // Counts one change, after it was committed; returns the count before it.
    std::uint64_t advance() {
        return std::atomic_ref<std::uint64_t>(*_count).fetch_add(1, std::memory_order_acq_rel);
    }
    bool isShared() const { return _map != nullptr; }

  private:
    static_assert(std::atomic_ref<std::uint64_t>::is_always_lock_free,
                  "a count shared between processes must be lock-free");
    void* _map = nullptr;
    std::uint64_t _own = 0;
    std::uint64_t* _count = &_own;
};

}  // namespace tarn
