// tarn::AdapterRegistry: the protocol adapters of the object manager, in load
// order. Libraries are loaded with dlopen and their adapter made by the
// exported getVelaProtocolAdapter; at destruction each adapter is deleted and
// then its library unloaded, in reverse order. Filled before the server
// starts and only read afterwards.
#pragma once

#include <memory>
#include <vector>

#include "vela/IVelaOperationHandlerContext.h"
#include "vela/IVelaProtocolAdapter.h"

namespace tarn {

class AdapterRegistry {
  public:
    explicit AdapterRegistry(IVelaOperationHandlerContext& context);
    ~AdapterRegistry();
    AdapterRegistry(const AdapterRegistry&) = delete;
    AdapterRegistry& operator=(const AdapterRegistry&) = delete;

    // Loads the adapter library at path. Throws VelaBaseException ("Plugin")
    // when it cannot be loaded, lacks the entry point or its adapter cannot
    // be made. Logs "Loaded protocol adapter '<name>' (<protocol>) from <path>".
    void load(const VELString& path);
    // Adds an adapter object that lives in the process (tests, built-ins).
    void add(std::unique_ptr<IVelaProtocolAdapter> adapter);

    // The first adapter whose canProcess is true, null when none is. An
    // adapter whose canProcess throws is logged and passed over.
    IVelaProtocolAdapter* find(const VELHTTPRequest& request) const;
    std::size_t size() const { return _entries.size(); }
    IVelaProtocolAdapter* at(std::size_t index) const { return _entries.at(index).adapter; }

  private:
    struct Entry {
        IVelaProtocolAdapter* adapter;
        void* library;  // null for adapters added in process
        VELString path;
    };
    IVelaOperationHandlerContext& _context;
    std::vector<Entry> _entries;
};

}  // namespace tarn
