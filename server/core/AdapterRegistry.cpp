#include "core/AdapterRegistry.h"

#include <dlfcn.h>

#include "tarn/CIMStatus.h"
#include "vela/AdapterUtils.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {
const char* const WHO = "tarn::AdapterRegistry";
}

AdapterRegistry::AdapterRegistry(IVelaOperationHandlerContext& context) : _context(context) {}

AdapterRegistry::~AdapterRegistry() {
    for (auto it = _entries.rbegin(); it != _entries.rend(); ++it) {
        delete it->adapter;
        if (it->library) {
            ::dlclose(it->library);
        }
    }
}

void AdapterRegistry::load(const VELString& path) {
    void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        const char* why = ::dlerror();
        throw VelaBaseException("Plugin", WHO, "load",
                                "cannot load protocol adapter '" + path +
                                    "': " + VELString(why ? why : "unknown error"),
                                1);
    }
    void* symbol = ::dlsym(library, VELA_PROTOCOL_ADAPTER_ENTRY_POINT);
    if (!symbol) {
        ::dlclose(library);
        throw VelaBaseException(
            "Plugin", WHO, "load",
            "'" + path + "' does not export " + VELA_PROTOCOL_ADAPTER_ENTRY_POINT, CIM_ERR_FAILED);
    }
    auto create = reinterpret_cast<GetVelaProtocolAdapterFunction>(symbol);
    IVelaProtocolAdapter* adapter = nullptr;
    try {
        adapter = create(_context);
    } catch (const VelaBaseException& e) {
        ::dlclose(library);
        throw VelaBaseException("Plugin", WHO, "load",
                                "the adapter of '" + path + "' failed to start: " + e.toString(),
                                1);
    } catch (const std::exception& e) {
        ::dlclose(library);
        throw VelaBaseException("Plugin", WHO, "load",
                                "the adapter of '" + path + "' failed to start: " + e.what(),
                                CIM_ERR_FAILED);
    }
    if (!adapter) {
        ::dlclose(library);
        throw VelaBaseException("Plugin", WHO, "load",
                                "the entry point of '" + path + "' returned no adapter",
                                CIM_ERR_FAILED);
    }
    _entries.push_back(Entry{adapter, library, path});
    AdapterUtils::log(WHO,
                      "Loaded protocol adapter '" + adapter->getAdapterName() + "' (" +
                          adapter->getProtocol() + ") from " + path,
                      3);
}

void AdapterRegistry::add(std::unique_ptr<IVelaProtocolAdapter> adapter) {
    _entries.push_back(Entry{adapter.release(), nullptr, VELString()});
}

IVelaProtocolAdapter* AdapterRegistry::find(const VELHTTPRequest& request) const {
    for (const Entry& e : _entries) {
        try {
            if (e.adapter->canProcess(request)) {
                return e.adapter;
            }
        } catch (const std::exception& ex) {
            AdapterUtils::log(
                WHO,
                "canProcess of adapter '" + e.adapter->getAdapterName() + "' failed: " + ex.what(),
                1);
        }
    }
    return nullptr;
}

}  // namespace tarn
