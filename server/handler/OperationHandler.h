// tarn::OperationHandler: tarnd's operation handler. For each operation it
// checks the user's role, resolves namespace and class, and routes the work to
// the provider registered for the class or to the default (repository)
// provider. Single-result operations finish before processOperation returns;
// streaming ones get one writer per provider call, all handed out before
// processOperation returns, and their providers run on the provider pool
// while the request thread writes the results.
#pragma once

#include <cstdint>

#include "handler/ISchemaCatalog.h"
#include "handler/ProviderRegistry.h"
#include "http/WorkerPool.h"
#include "tarn/IOperationHandler.h"

namespace tarn {

class OperationHandler : public IOperationHandler {
  public:
    // What an operation needs of the user's roles.
    enum class Access { Read, Write, Admin };

    OperationHandler(const ISchemaCatalog& schema, const ProviderRegistry& providers,
                     WorkerPool& providerPool);

    void processOperation(const VELSmrPtr<IVelaOperation>& operation) override;

    // True when roles allow the access: "reader" reads, "writer" also
    // writes instances, "admin" may do everything.
    static bool allows(const VELValSlist<VELString>& roles, Access access);

  private:
    void _process(const VELSmrPtr<IVelaOperation>& operation);
    VELSmrPtr<IVelaClass> _requireClass(const VELString& nameSpace,
                                        const VELString& className) const;
    // The class and all its subclasses, superclasses first.
    std::vector<VELSmrPtr<IVelaClass>> _subtree(const VELString& nameSpace,
                                                const VELSmrPtr<IVelaClass>& cls) const;
    IInstanceProvider& _provider(const VELString& nameSpace, const VELString& className) const;
    // Fails (code 7) unless every class has a provider.
    void _checkProviders(const VELString& nameSpace,
                         const std::vector<VELSmrPtr<IVelaClass>>& classes) const;

    const ISchemaCatalog& _schema;
    const ProviderRegistry& _providers;
    WorkerPool& _pool;
};

}  // namespace tarn
