// The instance operations: served by the instance provider of the class (the
// repository unless a provider module claims the class). Enumerations run
// the class and its subclasses, one provider call per class. A write that
// succeeded is reported to the indication service when a subscription could
// want its life-cycle indication (the instances are read only then).
#include "handler/Route.h"
#include "providers/InstancePaths.h"
#include "vela/CVelaObject.h"
#include "vela/IVelaCreateInstanceOperation.h"
#include "vela/IVelaDeleteInstanceOperation.h"
#include "vela/IVelaEnumerateInstanceNamesOperation.h"
#include "vela/IVelaEnumerateInstancesOperation.h"
#include "vela/IVelaGetInstanceOperation.h"
#include "vela/IVelaModifyInstanceOperation.h"

namespace tarn {

namespace {

void getInstance(OperationCall& call, IVelaGetInstanceOperation& op) {
    const VELSmrPtr<IVelaInstanceName>& name = op.getName();
    call.requireClass(name->getClassName());
    op.setInstance(call.instanceProvider(name->getClassName()).getInstance(call.context, name));
}

using LifeCycle = IIndicationSink::LifeCycle;

void createInstance(OperationCall& call, IVelaCreateInstanceOperation& op) {
    const VELSmrPtr<IVelaObject>& instance = op.getInstance();
    call.requireClass(instance->getClassName());
    VELSmrPtr<IVelaInstanceName> name =
        call.instanceProvider(instance->getClassName()).createInstance(call.context, instance);
    op.setInstanceName(name);
    if (IIndicationSink* sink = call.lifeCycleWanted(LifeCycle::Creation)) {
        VELSmrPtr<IVelaObject> created = call.lifeCycleSource(name);
        if (created.isNull()) {
            // A provider that cannot read back what it made: the client's instance.
            auto given = makeVELSmrPtr<CVelaObject>(
                instance->getClassName(), InstancePaths::withNameSpace(name, call.nameSpace()));
            for (std::size_t i = 0; i < instance->getPropertyCount(); ++i) {
                given->addProperty(instance->getProperty(i));
            }
            created = given;
        }
        sink->instanceChanged(LifeCycle::Creation, call.nameSpace(), created, nullptr);
    }
}

void modifyInstance(OperationCall& call, IVelaModifyInstanceOperation& op) {
    VELSmrPtr<IVelaInstanceName> name = op.getInstanceName();
    if (name.isNull()) {
        name = op.getInstance()->getPath();
    }
    if (name.isNull()) {
        call.fail(CIM_ERR_INVALID_PARAMETER, "The modified instance has no name");
    }
    call.requireClass(name->getClassName());
    IIndicationSink* sink = call.lifeCycleWanted(LifeCycle::Modification);
    VELSmrPtr<IVelaObject> previous = sink ? call.lifeCycleSource(name) : nullptr;
    call.instanceProvider(name->getClassName())
        .modifyInstance(call.context, name, op.getInstance(), op.getPropertyList());
    if (sink) {
        VELSmrPtr<IVelaObject> current = call.lifeCycleSource(name);
        if (!current.isNull()) {
            sink->instanceChanged(LifeCycle::Modification, call.nameSpace(), current, previous);
        }
    }
}

void deleteInstance(OperationCall& call, IVelaDeleteInstanceOperation& op) {
    const VELSmrPtr<IVelaInstanceName>& name = op.getInstanceName();
    call.requireClass(name->getClassName());
    IIndicationSink* sink = call.lifeCycleWanted(LifeCycle::Deletion);
    VELSmrPtr<IVelaObject> deleted = sink ? call.lifeCycleSource(name) : nullptr;
    call.instanceProvider(name->getClassName()).deleteInstance(call.context, name);
    if (!deleted.isNull()) {
        sink->instanceChanged(LifeCycle::Deletion, call.nameSpace(), deleted, nullptr);
    }
}

void enumerateInstances(OperationCall& call, IVelaEnumerateInstancesOperation& op) {
    call.stream(op, call.instanceProducers(op.getClassName()));
}

void enumerateInstanceNames(OperationCall& call, IVelaEnumerateInstanceNamesOperation& op) {
    call.stream(op, call.instanceNameProducers(op.getClassName()));
}

const Route kRoutes[] = {
    route<getInstance>("GetInstance", Access::Read),
    route<createInstance>("CreateInstance", Access::Write),
    route<modifyInstance>("ModifyInstance", Access::Write),
    route<deleteInstance>("DeleteInstance", Access::Write),
    route<enumerateInstances>("EnumerateInstances", Access::Read),
    route<enumerateInstanceNames>("EnumerateInstanceNames", Access::Read),
};

}  // namespace

std::span<const Route> instanceRoutes() {
    return kRoutes;
}

}  // namespace tarn
