#include "core/ObjectManagerContext.h"

#include "vela/AdapterUtils.h"
#include "vela/VELHTTPRequest.h"

namespace tarn {

namespace {
const char* const WHO = "tarn::ObjectManagerContext";
}

ObjectManagerContext::ObjectManagerContext(VELSmrPtr<PortInfo> portInfo,
                                           const ISchemaCatalog& schema)
    : _portInfo(portInfo ? portInfo : makeVELSmrPtr<PortInfo>()), _schema(schema) {}

IVelaOperationHandlerContext::CIMOMState ObjectManagerContext::getCurrentState() const {
    return _state.load();
}

void ObjectManagerContext::setState(CIMOMState state) {
    _state.store(state);
    AdapterUtils::log(WHO, VELString("Object manager state: ") + stateName(state), 3);
}

void ObjectManagerContext::registerRequest(const VELHTTPRequest&) {
    _requests.fetch_add(1);
}

std::uint64_t ObjectManagerContext::getRegisteredRequests() const {
    return _requests.load();
}

void ObjectManagerContext::logRequest(const VELHTTPRequest& request) {
    if (!AdapterUtils::isLogged(4)) {
        return;
    }
    VELString line =
        request.getMethod() + " " + request.getRequestURI() + " " + request.getProtocol();
    // The CIM headers say what is asked, plain or in an extension group.
    for (const char* name :
         {"CIMOperation", "CIMMethod", "CIMObject", "CIMExport", "CIMExportMethod"}) {
        const VELString* v = request.getHeaderField(name);
        if (!v) {
            for (const auto& g : request.getExtHeaderGroups()) {
                if ((v = g->getHeaderField(name)) != nullptr) {
                    break;
                }
            }
        }
        if (v) {
            line += VELString("; ") + name + ": " + *v;
        }
    }
    line += "; Content-Length: " +
            VELString::valueOf(static_cast<long long>(request.getContentLength()));
    AdapterUtils::log(WHO, line, 4);
}

VELSmrPtr<PortInfo> ObjectManagerContext::getPortInfo() const {
    return _portInfo;
}

VELString ObjectManagerContext::getHostName() const {
    return _portInfo->getHostName();
}

VELSmrPtr<IVelaClass> ObjectManagerContext::getClass(const VELString& nameSpace,
                                                     const VELString& className) {
    return _schema.getClass(nameSpace, className);
}

IOperationHandler* ObjectManagerContext::getOperationHandler() {
    return _handler.load(std::memory_order_acquire);
}

void ObjectManagerContext::setOperationHandler(IOperationHandler* handler) {
    _handler.store(handler, std::memory_order_release);
}

}  // namespace tarn
