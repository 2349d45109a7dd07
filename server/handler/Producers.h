// The producers that more than one family of routes runs: those of a query
// (ExecQuery, OpenQueryInstances).
#pragma once

#include <memory>

#include "handler/OperationCall.h"
#include "query/CompiledQuery.h"
#include "vela/IExecQueryOperation.h"

namespace tarn {

// The operation's query, compiled against its class (CIM_ERR_INVALID_QUERY,
// CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED).
std::shared_ptr<const query::CompiledQuery> compileQuery(const OperationCall& call,
                                                         const IExecQueryOperation& op);
// One producer per class of the query's class and its subclasses: the
// class's provider enumerates, the query filters and projects.
std::vector<OperationCall::Producer<VELSmrPtr<IVelaObject>>> queryProducers(
    const OperationCall& call, std::shared_ptr<const query::CompiledQuery> query);

}  // namespace tarn
