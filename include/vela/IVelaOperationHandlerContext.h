// IVelaOperationHandlerContext: what the object manager offers its protocol
// adapters: its state, request registration and logging, its port
// information and host name, and class lookup. The object manager owns it;
// it outlives every adapter. All operations are thread-safe.
//
// Adapters reach the operation handler (and later the indication manager)
// only through this context.
#pragma once

#include "tarn/PortInfo.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"

class IVelaClass;
class VELHTTPRequest;
namespace tarn {
class IOperationHandler;
}

class IVelaOperationHandlerContext {
  public:
    // The object manager's life: STARTING until the repository and providers
    // are ready, STARTED while serving, SHUTTING_DOWN from the stop signal
    // (requests in flight finish, new ones are refused), SHUT_DOWN at the end.
    enum CIMOMState { STARTING, STARTED, SHUTTING_DOWN, SHUT_DOWN };

    virtual ~IVelaOperationHandlerContext();

    virtual CIMOMState getCurrentState() const = 0;
    static const char* stateName(CIMOMState state);

    // Counts the request as accepted for processing by an adapter.
    virtual void registerRequest(const VELHTTPRequest& request) = 0;
    // Writes the request's method, target and CIM headers to the trace log
    // (severity 4).
    virtual void logRequest(const VELHTTPRequest& request) = 0;

    // The listening ports and how they are advertised; never null.
    virtual VELSmrPtr<tarn::PortInfo> getPortInfo() const = 0;
    // The host name the object manager advertises.
    virtual VELString getHostName() const = 0;

    // The class of this name in this namespace, with its inheritance
    // resolved; null when there is none.
    virtual VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace,
                                           const VELString& className) = 0;

    // The handler that runs operations; null while none is installed.
    virtual tarn::IOperationHandler* getOperationHandler() = 0;
};
