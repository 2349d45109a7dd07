// tarn::ObjectManagerContext: tarnd's operation-handler context, the one
// object through which protocol adapters reach the object manager.
//
// Class lookup goes through a replaceable hook; until the repository installs
// one, getClass answers null (no class is known).
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "vela/IVelaOperationHandlerContext.h"

namespace tarn {

class ObjectManagerContext : public IVelaOperationHandlerContext {
  public:
    using ClassLookup = std::function<VELSmrPtr<IVelaClass>(const VELString& nameSpace,
                                                            const VELString& className)>;

    explicit ObjectManagerContext(VELSmrPtr<PortInfo> portInfo);

    CIMOMState getCurrentState() const override;
    // Changes the state and logs "Object manager state: " + name (severity 3).
    void setState(CIMOMState state);

    void registerRequest(const VELHTTPRequest& request) override;
    std::uint64_t getRegisteredRequests() const;
    void logRequest(const VELHTTPRequest& request) override;

    VELSmrPtr<PortInfo> getPortInfo() const override;
    VELString getHostName() const override;

    VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace, const VELString& className) override;
    // Installs the class lookup (null removes it). Thread-safe.
    void setClassLookup(ClassLookup lookup);

    IOperationHandler* getOperationHandler() override;
    // Installs the operation handler before the server starts; it must
    // outlive the context's use by adapters.
    void setOperationHandler(IOperationHandler* handler);

  private:
    std::atomic<CIMOMState> _state{STARTING};
    std::atomic<std::uint64_t> _requests{0};
    VELSmrPtr<PortInfo> _portInfo;
    mutable std::mutex _m;
    std::shared_ptr<const ClassLookup> _classLookup;
    std::atomic<IOperationHandler*> _handler{nullptr};
};

}  // namespace tarn
