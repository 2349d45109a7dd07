// tarn::EnumeratingAssociationProvider: follows association classes whose
// instances a provider other than the repository serves, by asking that
// provider to enumerate each class and keeping the association instances
// that refer to the source object (compared as InstancePaths::same does). It reads every instance
// of the class on each request, which suits classes of a few instances (the interop namespace's); a
// provider of many association instances registers an association provider of its own. Installed in
// the provider registry, it is the association provider of every class that has an instance
// provider and no association provider.
#pragma once

#include "providers/ReferrerAssociationProvider.h"

namespace tarn {

class EnumeratingAssociationProvider : public ReferrerAssociationProvider {
  public:
    EnumeratingAssociationProvider(const ISchemaCatalog& schema, const ProviderRegistry& providers)
        : ReferrerAssociationProvider(schema, providers) {}

  protected:
    void referrers(const ProviderContext& context, const Classes& assocClasses,
                   const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
                   const Each& each) const override;
    // Ends in the request's namespace are named with it: the instances of
    // such providers may leave it out.
    VELSmrPtr<IVelaInstanceName> endName(const VELSmrPtr<IVelaInstanceName>& end,
                                         const VELString& nameSpace) const override;
};

}  // namespace tarn
