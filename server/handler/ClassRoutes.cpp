// The class and qualifier operations: served from the schema catalog.
#include "handler/Route.h"
#include "vela/IVelaGetClassOperation.h"

namespace tarn {

namespace {

void getClass(OperationCall& call, IVelaGetClassOperation& op) {
    // The whole definition; the adapter applies LocalOnly, the qualifier and
    // class origin flags and the property list while writing it.
    op.setClass(call.requireClass(op.getClassName()));
}

const Route kRoutes[] = {
    route<getClass>("GetClass", Access::Read),
};

}  // namespace

std::span<const Route> classRoutes() {
    return kRoutes;
}

}  // namespace tarn
