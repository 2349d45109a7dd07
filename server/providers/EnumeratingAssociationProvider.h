// tarn::EnumeratingAssociationProvider: follows association classes whose
// instances a provider other than the repository serves, by asking that
// provider to enumerate each class and keeping the association instances
// that refer to the source object (compared as InstancePaths::same does). It reads every instance
// of the class on each request, which suits classes of a few instances (the interop namespace's); a
// provider of many association instances registers an association provider of its own. Installed in
// the provider registry, it is the association provider of every class that has an instance
// provider and no association provider.
#pragma once

#include <functional>

#include "providers/ProviderRegistry.h"
#include "tarn/IAssociationProvider.h"
#include "tarn/ISchemaCatalog.h"

namespace tarn {

class EnumeratingAssociationProvider : public IAssociationProvider {
  public:
    EnumeratingAssociationProvider(const ISchemaCatalog& schema, const ProviderRegistry& providers)
        : _schema(schema), _providers(providers) {}

    void associators(const ProviderContext& context, const Classes& assocClasses,
                     const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& resultClass,
                     const VELString& role, const VELString& resultRole,
                     IMultiResponse<VELSmrPtr<IVelaObject>>& out) override;
    void associatorNames(const ProviderContext& context, const Classes& assocClasses,
                         const VELSmrPtr<IVelaInstanceName>& objectName,
                         const VELString& resultClass, const VELString& role,
                         const VELString& resultRole,
                         IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override;
    void references(const ProviderContext& context, const Classes& assocClasses,
                    const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
                    IMultiResponse<VELSmrPtr<IVelaObject>>& out) override;
    void referenceNames(const ProviderContext& context, const Classes& assocClasses,
                        const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
                        IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override;

  private:
    // An association instance that refers to the source object, and the
    // reference properties through which it does (those Role admits).
    using Each = std::function<bool(const VELSmrPtr<IVelaObject>& association,
                                    const std::vector<VELString>& roles)>;
    void referrers(const ProviderContext& context, const Classes& assocClasses,
                   const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
                   const Each& each) const;
    // The names at the other ends of the associations, as they give them.
    using EndCallback = std::function<bool(const VELSmrPtr<IVelaInstanceName>&)>;
    void otherEnds(const ProviderContext& context, const Classes& assocClasses,
                   const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& resultClass,
                   const VELString& role, const VELString& resultRole,
                   const EndCallback& each) const;

    const ISchemaCatalog& _schema;
    const ProviderRegistry& _providers;
};

}  // namespace tarn
