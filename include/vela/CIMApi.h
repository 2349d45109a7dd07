// CIMApi: the object manager's client interface for code that runs inside
// it, such as a protocol adapter. Its operations take the road a client's
// request takes: an operation object goes through the operation handler of
// the context, which resolves namespace and class and asks the providers;
// nothing reaches into the object manager behind the handler's back.
//
// In-process requests carry no user name and the reader role: CIMApi only
// reads. Failures are thrown as VelaBaseException with the CIM status code
// of the handler (CIM_ERR_INVALID_NAMESPACE, CIM_ERR_INVALID_CLASS, ...);
// without an operation handler (before start-up, after shutdown) the code
// is CIM_ERR_FAILED.
#pragma once

#include <cstdint>
#include <functional>

#include "vela/IVelaObject.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

class IVelaOperationHandlerContext;

class CIMApi {
  public:
    using InstanceList = VELValSlist<VELSmrPtr<IVelaObject>>;
    // Called with each result as it arrives; false stops the enumeration.
    using InstanceCallback = std::function<bool(const VELSmrPtr<IVelaObject>&)>;

    // The wait of an operation for its first result (or its end) when the
    // caller gives none: the object manager's provider time-out.
    static constexpr std::uint32_t DEFAULT_TIMEOUT = 0;

    // The context must outlive the CIMApi.
    explicit CIMApi(IVelaOperationHandlerContext& context) : _context(context) {}

    // The instances of className and its subclasses in nameSpace, with all
    // their properties. timeoutSeconds bounds the wait for the first
    // instance (or for the end when there is none); it is CIM_ERR_FAILED
    // when it passes.
    VELSmrPtr<InstanceList> enumerateInstances(
        const VELString& nameSpace, const VELString& className,
        std::uint32_t timeoutSeconds = DEFAULT_TIMEOUT) const;
    // The same, each instance handed to callback as the providers deliver
    // it, so that a large class needs no memory for all its instances.
    void enumerateInstances(const VELString& nameSpace, const VELString& className,
                            const InstanceCallback& callback,
                            std::uint32_t timeoutSeconds = DEFAULT_TIMEOUT) const;

  private:
    IVelaOperationHandlerContext& _context;
};
