#include "vela/CIMApi.h"

#include "tarn/CIMStatus.h"
#include "tarn/IOperationHandler.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/TARNClientInfo.h"
#include "vela/VelaEnumerateInstancesOperationBase.h"

namespace {

const char* const WHO = "CIMApi";

VELSmrPtr<TARNClientInfo> inProcessClient() {
    return makeVELSmrPtr<TARNClientInfo>(
        "", 0, "", 0, false, true, "",
        makeVELSmrPtr<VELValSlist<VELString>>(VELValSlist<VELString>{"reader"}), nullptr, false);
}

// EnumerateInstances as an in-process request: every property, the class
// and all its subclasses, no response element of its own.
class InProcessEnumerateInstances : public VelaEnumerateInstancesOperationBase {
  public:
    InProcessEnumerateInstances(IVelaOperationHandlerContext* context, const VELString& nameSpace,
                                const VELString& className, std::uint32_t timeoutSeconds)
        : VelaEnumerateInstancesOperationBase(context) {
        setNameSpace(nameSpace);
        setClassName(className);
        setDeepInheritance(true);
        setClientInfo(inProcessClient());
        if (timeoutSeconds != CIMApi::DEFAULT_TIMEOUT) {
            // The collection waits in slices of the provider time-out; a
            // caller's own time-out needs a collection made with it.
            setProviderTimeout(timeoutSeconds);
            response = makeVELSmrPtr<tarn::MultiResponseCollection<VELSmrPtr<IVelaObject>>>(
                vela_detail::responseQueueCapacity(), static_cast<std::int32_t>(timeoutSeconds));
        }
    }
    void writeResponse(VELGenericHTTPOStream&) override {}
};

// Tells the providers that nobody reads any more, however reading ends.
struct ConsumerDone {
    IVelaOperation& operation;
    ~ConsumerDone() { operation.signalProcessCompletion(); }
};

}  // namespace

VELSmrPtr<CIMApi::InstanceList> CIMApi::enumerateInstances(const VELString& nameSpace,
                                                           const VELString& className,
                                                           std::uint32_t timeoutSeconds) const {
    auto list = makeVELSmrPtr<InstanceList>();
    enumerateInstances(
        nameSpace, className,
        [&](const VELSmrPtr<IVelaObject>& instance) {
            list->append(instance);
            return true;
        },
        timeoutSeconds);
    return list;
}

void CIMApi::enumerateInstances(const VELString& nameSpace, const VELString& className,
                                const InstanceCallback& callback,
                                std::uint32_t timeoutSeconds) const {
    tarn::IOperationHandler* handler = _context.getOperationHandler();
    if (handler == nullptr) {
        throw VelaBaseException("CIM", WHO, "enumerateInstances",
                                "no operation handler is available", tarn::CIM_ERR_FAILED);
    }
    auto op =
        makeVELSmrPtr<InProcessEnumerateInstances>(&_context, nameSpace, className, timeoutSeconds);
    handler->processOperation(op);
    op->allowComplete();
    ConsumerDone done{*op};
    if (op->response->waitForResponse() != 0) {
        const int code = op->getErrorCode();
        if (code == 0) {
            throw VelaBaseException("CIM", WHO, "enumerateInstances",
                                    "no answer for " + nameSpace + ":" + className + " within " +
                                        VELString::valueOf(op->getProviderTimeout()) + " seconds",
                                    tarn::CIM_ERR_FAILED);
        }
        VELSmrPtr<VelaBaseException> error = op->getErrorContext();
        if (!error.isNull()) {
            throw VelaBaseException(*error);
        }
        throw VelaBaseException("CIM", WHO, "enumerateInstances",
                                "EnumerateInstances of " + nameSpace + ":" + className + " failed",
                                code);
    }
    while (op->hasNext()) {
        if (!callback(op->next())) {
            break;
        }
    }
}
