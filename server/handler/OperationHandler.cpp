#include "handler/OperationHandler.h"

#include <algorithm>

#include "vela/IVelaInvokeMethodOperation.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* accessName(Access a) {
    switch (a) {
        case Access::Read:
            return "read";
        case Access::Write:
            return "write";
        default:
            return "administer";
    }
}

}  // namespace

OperationHandler::OperationHandler(const ISchemaCatalog& schema, const ProviderRegistry& providers,
                                   WorkerPool& providerPool, EnumerationRegistry* enumerations)
    : _associations(schema),
      _services{schema, providers, providerPool, _associations, enumerations} {
    for (std::span<const Route> family :
         {instanceRoutes(), classRoutes(), propertyRoutes(), queryRoutes(), methodRoutes(),
          associationRoutes(), pullRoutes()}) {
        for (const Route& r : family) {
            _routes.emplace(r.operation, &r);
            _routeList.push_back(&r);
        }
    }
}

bool OperationHandler::allows(const VELValSlist<VELString>& roles, Access access) {
    for (const VELString& role : roles) {
        if (role.equalsIgnoreCase("admin")) {
            return true;
        }
        if (role.equalsIgnoreCase("writer") && access != Access::Admin) {
            return true;
        }
        if (role.equalsIgnoreCase("reader") && access == Access::Read) {
            return true;
        }
    }
    return false;
}

const Route* OperationHandler::findRoute(const VELString& operationName) const {
    auto it = _routes.find(operationName.view());
    return it == _routes.end() ? nullptr : it->second;
}

void OperationHandler::enableMetrics(Metrics& metrics) {
    std::vector<const char*> names;
    for (const Route* r : _routeList) {
        names.push_back(r->operation);
    }
    _metrics = std::make_unique<OperationMetrics>(metrics, std::move(names));
}

void OperationHandler::processOperation(const VELSmrPtr<IVelaOperation>& operation) {
    if (_metrics) {
        const Route* route = dynamic_cast<IVelaInvokeMethodOperation*>(operation.get())
                                 ? findRoute(INVOKE_METHOD_ROUTE)
                                 : findRoute(operation->getOperationName());
        auto it = std::find(_routeList.begin(), _routeList.end(), route);
        _metrics->attach(*operation, static_cast<std::size_t>(it - _routeList.begin()));
    }
    try {
        OperationCall call(_services, operation);
        _process(call);
    } catch (...) {
        reportCaught(*operation);
    }
}

void OperationHandler::_process(OperationCall& call) {
    IVelaOperation& op = *call.operation;
    // An extrinsic method may have any name, even that of an intrinsic operation.
    const Route* route = dynamic_cast<IVelaInvokeMethodOperation*>(&op)
                             ? findRoute(INVOKE_METHOD_ROUTE)
                             : findRoute(op.getOperationName());
    if (!route) {
        call.fail(CIM_ERR_NOT_SUPPORTED,
                  "The operation " + op.getOperationName() + " is not supported");
    }
    if (!allows(*call.context.roles, route->access)) {
        call.fail(CIM_ERR_ACCESS_DENIED, "User '" + call.context.userName + "' may not " +
                                             accessName(route->access) + " (" +
                                             op.getOperationName() + ")");
    }
    if (!_services.schema.hasNameSpace(call.nameSpace())) {
        call.fail(CIM_ERR_INVALID_NAMESPACE, "Namespace '" + call.nameSpace() + "' does not exist");
    }
    route->serve(call, op);
}

}  // namespace tarn
