#include "handler/OperationCall.h"

#include "handler/OperationMetrics.h"
#include "vela/AdapterUtils.h"
#include "vela/IVelaPropertyListOperation.h"
#include "vela/TARNClientInfo.h"

namespace tarn {

namespace {
const char* const WHO = "tarn::OperationHandler";
}

OperationCall::OperationCall(const HandlerServices& services,
                             const VELSmrPtr<IVelaOperation>& operation)
    : services(services), operation(operation) {
    IVelaOperation& op = *operation;
    context.nameSpace = op.getNameSpace();
    VELSmrPtr<TARNClientInfo> client = op.getClientInfo();
    if (!client.isNull()) {
        context.userName = client->getUserName();
        context.roles = client->getRoles();
    }
    if (context.roles.isNull()) {
        context.roles = makeVELSmrPtr<VELValSlist<VELString>>();
    }
    if (auto* pl = dynamic_cast<IVelaPropertyListOperation*>(&op)) {
        context.propertyList = pl->getPropertyList();
    }
    context.indications = services.indications;
}

IIndicationSink* OperationCall::lifeCycleWanted(IIndicationSink::LifeCycle change) const {
    IIndicationSink* sink = services.indications;
    return sink != nullptr && sink->wants(nameSpace(), IIndicationSink::className(change))
               ? sink
               : nullptr;
}

VELSmrPtr<IVelaObject> OperationCall::lifeCycleSource(
    const VELSmrPtr<IVelaInstanceName>& name) const {
    ProviderContext whole = context;
    whole.propertyList = nullptr;
    try {
        return instanceProvider(name->getClassName()).getInstance(whole, name);
    } catch (...) {
        return nullptr;
    }
}

void OperationCall::fail(CIMStatus code, const VELString& message) const {
    throw VelaBaseException(cimStatusName(code), WHO, operation->getOperationName(), message, code);
}

VELSmrPtr<IVelaClass> OperationCall::requireClass(const VELString& className) const {
    if (className.isNull()) {
        fail(CIM_ERR_INVALID_PARAMETER, "No class name given");
    }
    VELSmrPtr<IVelaClass> cls = services.schema.getClass(nameSpace(), className);
    if (cls.isNull()) {
        fail(CIM_ERR_INVALID_CLASS,
             "Class '" + className + "' does not exist in namespace '" + nameSpace() + "'");
    }
    return cls;
}

std::vector<VELSmrPtr<IVelaClass>> OperationCall::withSubclasses(
    const VELSmrPtr<IVelaClass>& cls) const {
    std::vector<VELSmrPtr<IVelaClass>> classes{cls};
    auto subclasses = services.schema.getSubclasses(nameSpace(), cls->getName(), true);
    classes.insert(classes.end(), subclasses.begin(), subclasses.end());
    return classes;
}

IInstanceProvider& OperationCall::instanceProvider(const VELString& className) const {
    IInstanceProvider* p = services.providers.findInstanceProvider(nameSpace(), className);
    if (!p) {
        fail(CIM_ERR_NOT_SUPPORTED,
             "No provider serves the instances of class '" + className + "'");
    }
    return *p;
}

template <class T, class Enumerate>
std::vector<OperationCall::Producer<T>> OperationCall::perClass(const VELString& className,
                                                                Enumerate enumerate) const {
    std::vector<Producer<T>> producers;
    for (const auto& cls : withSubclasses(requireClass(className))) {
        IInstanceProvider* provider = &instanceProvider(cls->getName());
        producers.push_back([provider, cls, context = context, enumerate](IMultiResponse<T>& out) {
            (provider->*enumerate)(context, cls, out);
        });
    }
    return producers;
}

std::vector<OperationCall::Producer<VELSmrPtr<IVelaObject>>> OperationCall::instanceProducers(
    const VELString& className) const {
    return perClass<VELSmrPtr<IVelaObject>>(className, &IInstanceProvider::enumerateInstances);
}

std::vector<OperationCall::Producer<VELSmrPtr<IVelaInstanceName>>>
OperationCall::instanceNameProducers(const VELString& className) const {
    return perClass<VELSmrPtr<IVelaInstanceName>>(className,
                                                  &IInstanceProvider::enumerateInstanceNames);
}

bool OperationCall::post(std::function<void()> task) const {
    return services.pool.post(std::move(task));
}

int reportCaught(IVelaOperation& operation, bool setCode) {
    VELSmrPtr<VelaBaseException> context;
    try {
        throw;
    } catch (const VelaBaseException& e) {
        context = VELSmrPtr<VelaBaseException>(new VelaBaseException(e));
    } catch (const std::exception& e) {
        context = VELSmrPtr<VelaBaseException>(new VelaBaseException(
            "CIM", WHO, operation.getOperationName(), e.what(), CIM_ERR_FAILED));
    } catch (...) {
        context = VELSmrPtr<VelaBaseException>(new VelaBaseException(
            "CIM", WHO, operation.getOperationName(), "an unknown exception", CIM_ERR_FAILED));
    }
    int code = context->getCode() == CIM_SUCCESS ? CIM_ERR_FAILED : context->getCode();
    AdapterUtils::log(WHO,
                      operation.getOperationName() + " failed: " + context->getMessage() + " (" +
                          cimStatusName(code) + ")",
                      4);
    OperationMetrics::setStatus(operation, code);
    int status = handlerStatusOf(code);
    context->setCode(status);
    operation.setErrorContext(context);
    if (setCode) {
        operation.setErrorCode(status);
    }
    return status;
}

}  // namespace tarn
