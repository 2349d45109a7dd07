// The property operations: one property of one instance, through the
// instance provider of its class. SetProperty is a modification of that one
// property; the provider checks the instance and types the value.
#include "handler/Route.h"
#include "tarn/IPropertyDef.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaProperty.h"
#include "vela/IVelaGetPropertyOperation.h"
#include "vela/IVelaSetPropertyOperation.h"

namespace tarn {

namespace {

// The class of the instance and the definition of the property in it.
struct Target {
    VELSmrPtr<IVelaClass> cls;
    VELSmrPtr<IPropertyDef> property;
};

Target requireProperty(OperationCall& call, const VELSmrPtr<IVelaInstanceName>& name,
                       const VELString& propertyName) {
    Target t;
    t.cls = call.requireClass(name->getClassName());
    t.property = t.cls->getPropertyDef(propertyName);
    if (t.property.isNull()) {
        call.fail(CIM_ERR_NO_SUCH_PROPERTY,
                  "Class '" + t.cls->getName() + "' has no property '" + propertyName + "'");
    }
    return t;
}

VELSmrPtr<VELValSlist<VELString>> only(const VELString& propertyName) {
    auto list = makeVELSmrPtr<VELValSlist<VELString>>();
    list->append(propertyName);
    return list;
}

void getProperty(OperationCall& call, IVelaGetPropertyOperation& op) {
    const VELSmrPtr<IVelaInstanceName>& name = op.getInstanceName();
    Target t = requireProperty(call, name, op.getPropertyName());
    call.context.propertyList = only(t.property->getName());
    VELSmrPtr<IVelaObject> instance =
        call.instanceProvider(t.cls->getName()).getInstance(call.context, name);
    VELSmrPtr<IVelaProperty> p = instance->getProperty(t.property->getName());
    op.setValue(p.isNull() ? VELSmrPtr<IVelaValue>() : p->getValue());
}

void setProperty(OperationCall& call, IVelaSetPropertyOperation& op) {
    const VELSmrPtr<IVelaInstanceName>& name = op.getInstanceName();
    Target t = requireProperty(call, name, op.getPropertyName());
    if (t.property->isKey()) {
        call.fail(CIM_ERR_INVALID_PARAMETER,
                  "Property '" + t.property->getName() + "' is a key of class '" +
                      t.cls->getName() +
                      "': keys name the instance and cannot be changed (create an instance with "
                      "the new key instead)");
    }
    auto modified = makeVELSmrPtr<CVelaObject>(t.cls->getName(), name);
    modified->addProperty(makeVELSmrPtr<CVelaProperty>(t.property->getName(), t.property->getType(),
                                                       op.getNewValue()));
    IIndicationSink* sink = call.lifeCycleWanted(IIndicationSink::LifeCycle::Modification);
    VELSmrPtr<IVelaObject> previous = sink ? call.lifeCycleSource(name) : nullptr;
    call.instanceProvider(t.cls->getName())
        .modifyInstance(call.context, name, modified, only(t.property->getName()));
    if (sink) {
        VELSmrPtr<IVelaObject> current = call.lifeCycleSource(name);
        if (!current.isNull()) {
            sink->instanceChanged(IIndicationSink::LifeCycle::Modification, call.nameSpace(),
                                  current, previous);
        }
    }
}

const Route kRoutes[] = {
    route<getProperty>("GetProperty", Access::Read),
    route<setProperty>("SetProperty", Access::Write),
};

}  // namespace

std::span<const Route> propertyRoutes() {
    return kRoutes;
}

}  // namespace tarn
