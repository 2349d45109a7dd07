// The instance operations: served by the instance provider of the class (the
// repository unless a provider module claims the class). Enumerations run
// the class and its subclasses, one provider call per class.
#include "handler/Route.h"
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

void createInstance(OperationCall& call, IVelaCreateInstanceOperation& op) {
    const VELSmrPtr<IVelaObject>& instance = op.getInstance();
    call.requireClass(instance->getClassName());
    op.setInstanceName(
        call.instanceProvider(instance->getClassName()).createInstance(call.context, instance));
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
    call.instanceProvider(name->getClassName())
        .modifyInstance(call.context, name, op.getInstance(), op.getPropertyList());
}

void deleteInstance(OperationCall& call, IVelaDeleteInstanceOperation& op) {
    const VELSmrPtr<IVelaInstanceName>& name = op.getInstanceName();
    call.requireClass(name->getClassName());
    call.instanceProvider(name->getClassName()).deleteInstance(call.context, name);
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
