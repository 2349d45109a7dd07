// The class and qualifier operations: served from the schema catalog.
// Enumerations stream the catalog's classes in its order, superclasses
// before their subclasses; the adapter applies LocalOnly, the qualifier and
// class origin flags and the property list while writing each class.
#include "handler/Route.h"
#include "vela/IVelaEnumerateClassNamesOperation.h"
#include "vela/IVelaEnumerateClassesOperation.h"
#include "vela/IVelaEnumerateQualifiersOperation.h"
#include "vela/IVelaGetClassOperation.h"
#include "vela/IVelaGetQualifierOperation.h"

namespace tarn {

namespace {

void getClass(OperationCall& call, IVelaGetClassOperation& op) {
    const VELString& className = op.getClassName();
    if (className.isNull()) {
        call.fail(CIM_ERR_INVALID_PARAMETER, "No class name given");
    }
    // Unlike the instance operations (CIM_ERR_INVALID_CLASS), GetClass
    // reports a class that does not exist as an object not found.
    VELSmrPtr<IVelaClass> cls = call.services.schema.getClass(call.nameSpace(), className);
    if (cls.isNull()) {
        call.fail(CIM_ERR_NOT_FOUND, "Class '" + className + "' does not exist in namespace '" +
                                         call.nameSpace() + "'");
    }
    op.setClass(cls);
}

// The classes below the operation's ClassName (below the roots without one),
// each handed to add until it refuses.
template <class T, class Op, class Add>
void streamSubclasses(OperationCall& call, Op& op, Add add) {
    const VELString& className = op.getClassName();
    if (!className.isNull()) {
        call.requireClass(className);
    }
    const ISchemaCatalog* schema = &call.services.schema;
    call.stream(op,
                std::vector<OperationCall::Producer<T>>{[schema, nameSpace = call.nameSpace(),
                                                         className, deep = op.getDeepInheritance(),
                                                         add](IMultiResponse<T>& out) {
                    for (const auto& cls : schema->getSubclasses(nameSpace, className, deep)) {
                        if (!add(out, cls)) {
                            return;
                        }
                    }
                }});
}

void enumerateClasses(OperationCall& call, IVelaEnumerateClassesOperation& op) {
    streamSubclasses<VELSmrPtr<IVelaClass>>(
        call, op, [](IMultiResponse<VELSmrPtr<IVelaClass>>& out, const VELSmrPtr<IVelaClass>& c) {
            return out.add(c, true);
        });
}

void enumerateClassNames(OperationCall& call, IVelaEnumerateClassNamesOperation& op) {
    streamSubclasses<VELString>(call, op,
                                [](IMultiResponse<VELString>& out, const VELSmrPtr<IVelaClass>& c) {
                                    return out.add(c->getName(), true);
                                });
}

void getQualifier(OperationCall& call, IVelaGetQualifierOperation& op) {
    VELSmrPtr<IQualifierDef> def =
        call.services.schema.getQualifierDef(call.nameSpace(), op.getQualifierName());
    if (def.isNull()) {
        call.fail(CIM_ERR_NOT_FOUND, "Qualifier '" + op.getQualifierName() +
                                         "' is not declared in namespace '" + call.nameSpace() +
                                         "'");
    }
    op.setQualifierDef(def);
}

void enumerateQualifiers(OperationCall& call, IVelaEnumerateQualifiersOperation& op) {
    auto defs = makeVELSmrPtr<VELValSlist<VELSmrPtr<IQualifierDef>>>();
    for (VELSmrPtr<IQualifierDef>& def : call.services.schema.getQualifierDefs(call.nameSpace())) {
        defs->append(std::move(def));
    }
    op.setQualifierDefs(defs);
}

const Route kRoutes[] = {
    route<getClass>("GetClass", Access::Read),
    route<enumerateClasses>("EnumerateClasses", Access::Read),
    route<enumerateClassNames>("EnumerateClassNames", Access::Read),
    route<getQualifier>("GetQualifier", Access::Read),
    route<enumerateQualifiers>("EnumerateQualifiers", Access::Read),
};

}  // namespace

std::span<const Route> classRoutes() {
    return kRoutes;
}

}  // namespace tarn
