// tarn::Route: one row of the operation handler's route table: the CIM
// operation it serves (by the name the adapter gives the operation), the
// access it needs, and the function that serves it.
//
// Rows are written with route<function>(name, access), where the function
// takes the operation's own interface:
//
//     void getInstance(OperationCall& call, IVelaGetInstanceOperation& op);
//     route<getInstance>("GetInstance", Access::Read)
//
// and are grouped by family, one file each (InstanceRoutes.cpp, ...), listed
// in OperationHandler.cpp.
#pragma once

#include <span>

#include "handler/OperationCall.h"
#include "tarn/CIMStatus.h"

namespace tarn {

// What an operation needs of the user's roles: "reader" reads, "writer" also
// writes, "admin" may do everything.
enum class Access { Read, Write, Admin };

struct Route {
    const char* operation;
    Access access;
    void (*serve)(OperationCall& call, IVelaOperation& operation);
};

template <auto Function>
struct RouteThunk;

template <class Operation, void (*Function)(OperationCall&, Operation&)>
struct RouteThunk<Function> {
    static void serve(OperationCall& call, IVelaOperation& operation) {
        auto* typed = dynamic_cast<Operation*>(&operation);
        if (!typed) {
            call.fail(CIM_ERR_NOT_SUPPORTED, "The operation " + operation.getOperationName() +
                                                 " does not have the interface its route expects");
        }
        Function(call, *typed);
    }
};

template <auto Function>
constexpr Route route(const char* operation, Access access) {
    return Route{operation, access, &RouteThunk<Function>::serve};
}

// The families of the route table.
std::span<const Route> instanceRoutes();
std::span<const Route> classRoutes();
std::span<const Route> propertyRoutes();
std::span<const Route> queryRoutes();
std::span<const Route> methodRoutes();
std::span<const Route> associationRoutes();
std::span<const Route> pullRoutes();

// The route name of extrinsic method calls, whose operation name is the
// method's own.
constexpr const char* INVOKE_METHOD_ROUTE = "InvokeMethod";

}  // namespace tarn
