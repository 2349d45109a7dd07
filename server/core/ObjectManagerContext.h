// tarn::ObjectManagerContext: tarnd's operation-handler context, the one
// object through which protocol adapters reach the object manager. Classes
// come from the schema catalog it is built with.
#pragma once

#include <atomic>
#include <cstdint>

#include "tarn/ISchemaCatalog.h"
#include "vela/IVelaOperationHandlerContext.h"

namespace tarn {

class ObjectManagerContext : public IVelaOperationHandlerContext {
  public:
    // The catalog must outlive the context.
    ObjectManagerContext(VELSmrPtr<PortInfo> portInfo, const ISchemaCatalog& schema);

    CIMOMState getCurrentState() const override;
    // Changes the state and logs "Object manager state: " + name (severity 3).
    void setState(CIMOMState state);

    void registerRequest(const VELHTTPRequest& request) override;
    std::uint64_t getRegisteredRequests() const;
    void logRequest(const VELHTTPRequest& request) override;

    VELSmrPtr<PortInfo> getPortInfo() const override;
    VELString getHostName() const override;

    VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace, const VELString& className) override;

    IOperationHandler* getOperationHandler() override;
    // Installs the operation handler before the server starts; it must
    // outlive the context's use by adapters.
    void setOperationHandler(IOperationHandler* handler);

  private:
    std::atomic<CIMOMState> _state{STARTING};
    std::atomic<std::uint64_t> _requests{0};
    VELSmrPtr<PortInfo> _portInfo;
    const ISchemaCatalog& _schema;
    std::atomic<IOperationHandler*> _handler{nullptr};
};

}  // namespace tarn
