// Pulled enumerations: the opens start an enumeration in the registry and
// answer its first batch; the pulls answer the next batches; CloseEnumeration
// ends one early. An open enumeration keeps its producer paused between
// responses (see EnumerationRegistry), never its whole result.
#include "handler/Producers.h"
#include "handler/Route.h"
#include "vela/ICloseEnumerationOperation.h"
#include "vela/IOpenAssociatorInstancePathsOperation.h"
#include "vela/IOpenAssociatorInstancesOperation.h"
#include "vela/IOpenEnumerateInstancePathsOperation.h"
#include "vela/IOpenEnumerateInstancesOperation.h"
#include "vela/IOpenQueryInstancesOperation.h"
#include "vela/IOpenReferenceInstancePathsOperation.h"
#include "vela/IOpenReferenceInstancesOperation.h"
#include "vela/IPullInstancePathsOperation.h"
#include "vela/IPullInstancesOperation.h"
#include "vela/IPullInstancesWithPathOperation.h"

namespace tarn {

namespace {

using Kind = EnumerationContext::Kind;

EnumerationRegistry& registryOf(OperationCall& call) {
    if (!call.services.enumerations) {
        call.fail(CIM_ERR_NOT_SUPPORTED, "Pulled enumerations are not offered");
    }
    return *call.services.enumerations;
}

// The batch size a response may give: MaxObjectCount, within the maximum.
std::size_t batchSize(const EnumerationRegistry& registry, const IMaxObjectCount& op) {
    const PullSettings& s = registry.settings();
    if (!op.isMaxObjectCountPresent()) {
        return s.defaultObjectCount;
    }
    std::int32_t asked = op.getMaxObjectCount();
    return asked < 0 ? 0 : std::min<std::size_t>(static_cast<std::size_t>(asked), s.maxObjectCount);
}

// The enumeration's common request: who, where, what, for how long.
EnumerationContext::Origin originOf(OperationCall& call, const IOpenOperation& op, Kind kind) {
    const PullSettings& s = registryOf(call).settings();
    EnumerationContext::Origin origin;
    origin.owner = call.context.userName;
    origin.nameSpace = call.nameSpace();
    origin.kind = kind;
    origin.timeoutSeconds = s.defaultOperationTimeout;
    if (op.isOperationTimeoutPresent()) {
        std::int32_t t = op.getOperationTimeout();
        if (t < 0 || static_cast<std::uint32_t>(t) > s.maxOperationTimeout ||
            (t == 0 && !s.allowUnlimitedTimeout)) {
            call.fail(CIM_ERR_INVALID_OPERATION_TIMEOUT,
                      "OperationTimeout " + VELString::valueOf(static_cast<long long>(t)) +
                          " is not allowed: give 1 to " +
                          VELString::valueOf(static_cast<unsigned long>(s.maxOperationTimeout)) +
                          " seconds" + (s.allowUnlimitedTimeout ? " or 0" : ""));
        }
        origin.timeoutSeconds = static_cast<std::uint32_t>(t);
    }
    if (op.getContinueOnError()) {
        call.fail(CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED, "ContinueOnError is not supported");
    }
    return origin;
}

// Answers one batch of the enumeration to op: up to the batch size, waiting
// a bounded time for it, then EnumerationContext and EndOfSequence. The
// registry gets the context back when the batch is written.
template <class T>
void answerBatch(OperationCall& call, IVelaMultiResponseOperation<T>& op, IPullOperation& pull,
                 std::shared_ptr<EnumerationResults<T>> context) {
    EnumerationRegistry& registry = registryOf(call);
    std::size_t count = batchSize(registry, pull);
    auto wait = std::chrono::milliseconds(registry.settings().batchWaitMs);
    IPullOperation* target = &pull;
    auto producer = [&registry, context, count, wait, target](IMultiResponse<T>& out) {
        std::size_t given = 0;
        bool ended = false;
        try {
            ended = context->queue->take(count, PullQueue<T>::Clock::now() + wait, [&](T item) {
                ++given;
                return out.add(std::move(item), true);
            });
        } catch (...) {
            registry.release(context, false);
            throw;
        }
        VELSmrPtr<VelaBaseException> failure = ended ? context->queue->failure() : nullptr;
        if (!failure.isNull() && given == 0) {
            registry.release(context, true);
            throw VelaBaseException(*failure);
        }
        // A failure after results of this batch is answered by the next pull.
        ended = ended && failure.isNull();
        target->setEndOfSequence(ended);
        target->setEnumerationContext(ended ? VELString() : context->id);
        registry.release(context, ended);
    };
    try {
        call.stream(op, {producer});
    } catch (...) {
        registry.release(context, true);
        throw;
    }
}

template <class T>
std::shared_ptr<EnumerationResults<T>> typed(const std::shared_ptr<EnumerationContext>& c) {
    return std::static_pointer_cast<EnumerationResults<T>>(c);
}

void openEnumerateInstances(OperationCall& call, IOpenEnumerateInstancesOperation& op) {
    auto producers = call.instanceProducers(op.getClassName());
    EnumerationContext::Origin origin = originOf(call, op, Kind::Instances);
    origin.className = op.getClassName();
    origin.deepInheritance = op.getDeepInheritance();
    origin.classOrigin = op.getClassOrigin();
    origin.propertyList = op.getPropertyList();
    answerBatch(call, op, op, registryOf(call).open(std::move(origin), std::move(producers)));
}

void openEnumerateInstancePaths(OperationCall& call, IOpenEnumerateInstancePathsOperation& op) {
    auto producers = call.instanceNameProducers(op.getClassName());
    EnumerationContext::Origin origin = originOf(call, op, Kind::Paths);
    origin.className = op.getClassName();
    answerBatch(call, op, op, registryOf(call).open(std::move(origin), std::move(producers)));
}

// An enumeration of the instances at the ends of associations, written with
// the open's property list and class origins (no class to restrict them to).
template <class Op>
EnumerationContext::Origin instancesOrigin(OperationCall& call, Op& op) {
    EnumerationContext::Origin origin = originOf(call, op, Kind::Instances);
    origin.classOrigin = op.getClassOrigin();
    origin.propertyList = op.getPropertyList();
    return origin;
}

void openAssociatorInstances(OperationCall& call, IOpenAssociatorInstancesOperation& op) {
    auto producers = associatorProducers(call, op.getObjectName(), op.getAssocClass(),
                                         op.getResultClass(), op.getRole(), op.getResultRole());
    answerBatch(call, op, op,
                registryOf(call).open(instancesOrigin(call, op), std::move(producers)));
}

void openAssociatorInstancePaths(OperationCall& call, IOpenAssociatorInstancePathsOperation& op) {
    auto producers = associatorNameProducers(call, op.getObjectName(), op.getAssocClass(),
                                             op.getResultClass(), op.getRole(), op.getResultRole());
    answerBatch(call, op, op,
                registryOf(call).open(originOf(call, op, Kind::Paths), std::move(producers)));
}

void openReferenceInstances(OperationCall& call, IOpenReferenceInstancesOperation& op) {
    auto producers =
        referenceProducers(call, op.getObjectName(), op.getResultClass(), op.getRole());
    answerBatch(call, op, op,
                registryOf(call).open(instancesOrigin(call, op), std::move(producers)));
}

void openReferenceInstancePaths(OperationCall& call, IOpenReferenceInstancePathsOperation& op) {
    auto producers =
        referenceNameProducers(call, op.getObjectName(), op.getResultClass(), op.getRole());
    answerBatch(call, op, op,
                registryOf(call).open(originOf(call, op, Kind::Paths), std::move(producers)));
}

void openQueryInstances(OperationCall& call, IOpenQueryInstancesOperation& op) {
    auto query = compileQuery(call, op);
    auto producers = queryProducers(call, query);
    EnumerationContext::Origin origin = originOf(call, op, Kind::QueryInstances);
    origin.className = query->queryClass()->getName();
    if (op.getReturnQueryResultClass()) {
        // The results are instances of the query's class, reduced to what it selects.
        op.setQueryResultClass(query->queryClass());
    }
    answerBatch(call, op, op, registryOf(call).open(std::move(origin), std::move(producers)));
}

std::shared_ptr<EnumerationContext> acquire(OperationCall& call, const IEnumerationContext& op,
                                            Kind kind) {
    return registryOf(call).acquire(op.getEnumerationContext(), call.context.userName,
                                    call.nameSpace(), kind);
}

void pullInstancesWithPath(OperationCall& call, IPullInstancesWithPathOperation& op) {
    auto context = acquire(call, op, Kind::Instances);
    const EnumerationContext::Origin& origin = context->origin;
    op.setOpenedClassName(origin.className);
    op.setDeepInheritance(origin.deepInheritance);
    op.setClassOrigin(origin.classOrigin);
    op.setPropertyList(origin.propertyList);
    answerBatch(call, op, op, typed<VELSmrPtr<IVelaObject>>(context));
}

void pullInstances(OperationCall& call, IPullInstancesOperation& op) {
    answerBatch(call, op, op,
                typed<VELSmrPtr<IVelaObject>>(acquire(call, op, Kind::QueryInstances)));
}

void pullInstancePaths(OperationCall& call, IPullInstancePathsOperation& op) {
    answerBatch(call, op, op, typed<VELSmrPtr<IVelaInstanceName>>(acquire(call, op, Kind::Paths)));
}

void closeEnumeration(OperationCall& call, ICloseEnumerationOperation& op) {
    registryOf(call).close(op.getEnumerationContext(), call.context.userName, call.nameSpace());
}

const Route kRoutes[] = {
    route<openEnumerateInstances>("OpenEnumerateInstances", Access::Read),
    route<openEnumerateInstancePaths>("OpenEnumerateInstancePaths", Access::Read),
    route<openAssociatorInstances>("OpenAssociatorInstances", Access::Read),
    route<openAssociatorInstancePaths>("OpenAssociatorInstancePaths", Access::Read),
    route<openReferenceInstances>("OpenReferenceInstances", Access::Read),
    route<openReferenceInstancePaths>("OpenReferenceInstancePaths", Access::Read),
    route<openQueryInstances>("OpenQueryInstances", Access::Read),
    route<pullInstancesWithPath>("PullInstancesWithPath", Access::Read),
    route<pullInstances>("PullInstances", Access::Read),
    route<pullInstancePaths>("PullInstancePaths", Access::Read),
    route<closeEnumeration>("CloseEnumeration", Access::Read),
};

}  // namespace

std::span<const Route> pullRoutes() {
    return kRoutes;
}

}  // namespace tarn
