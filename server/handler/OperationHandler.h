// tarn::OperationHandler: tarnd's operation handler. It finds the operation's
// route by its name (see Route.h), checks that the user's roles allow the
// route's access and that the namespace exists, and calls the route's
// function, which resolves the class and hands the work to a provider.
// Single-result operations finish before processOperation returns; streaming
// ones get their writers before it returns and their providers run on the
// provider pool while the request thread writes the results.
#pragma once

#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "handler/OperationMetrics.h"
#include "handler/Route.h"
#include "tarn/IOperationHandler.h"

namespace tarn {

class OperationHandler : public IOperationHandler {
  public:
    // enumerations: the registry of pulled enumerations (null: none are offered).
    OperationHandler(const ISchemaCatalog& schema, const ProviderRegistry& providers,
                     WorkerPool& providerPool, EnumerationRegistry* enumerations = nullptr);

    // Counts operations and their latency in metrics from now on; called
    // before the first operation.
    void enableMetrics(Metrics& metrics);

    void processOperation(const VELSmrPtr<IVelaOperation>& operation) override;

    // Reports committed writes to the indication service (null: none);
    // set before the handler serves requests.
    void setIndicationSink(IIndicationSink* sink) { _services.indications = sink; }

    // True when the roles allow the access.
    static bool allows(const VELValSlist<VELString>& roles, Access access);
    // The route of an operation name; null when none serves it.
    const Route* findRoute(const VELString& operationName) const;

  private:
    void _process(OperationCall& call);

    AssociationSchema _associations;
    HandlerServices _services;
    std::unordered_map<std::string_view, const Route*> _routes;
    std::vector<const Route*> _routeList;  // the metrics slots
    std::unique_ptr<OperationMetrics> _metrics;
};

}  // namespace tarn
