// The producers that more than one family of routes runs: those of a query
// (ExecQuery, OpenQueryInstances) and of an association traversal from an
// instance (Associators and the others, their pulled forms).
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

template <class T>
using AssociationProducers = std::vector<OperationCall::Producer<T>>;

// From the instance named by object (CIM_ERR_INVALID_PARAMETER for a class
// or an unknown class): the objects at the other ends of its associations,
// or their names; the association instances, or their names.
AssociationProducers<VELSmrPtr<IVelaObject>> associatorProducers(
    const OperationCall& call, const VELSmrPtr<IVelaInstanceName>& object,
    const VELString& assocClass, const VELString& resultClass, const VELString& role,
    const VELString& resultRole);
AssociationProducers<VELSmrPtr<IVelaInstanceName>> associatorNameProducers(
    const OperationCall& call, const VELSmrPtr<IVelaInstanceName>& object,
    const VELString& assocClass, const VELString& resultClass, const VELString& role,
    const VELString& resultRole);
AssociationProducers<VELSmrPtr<IVelaObject>> referenceProducers(
    const OperationCall& call, const VELSmrPtr<IVelaInstanceName>& object,
    const VELString& resultClass, const VELString& role);
AssociationProducers<VELSmrPtr<IVelaInstanceName>> referenceNameProducers(
    const OperationCall& call, const VELSmrPtr<IVelaInstanceName>& object,
    const VELString& resultClass, const VELString& role);

}  // namespace tarn
