// tarn::RepositoryAssociationProvider: the default association provider. It
// finds the association instances of the repository through its index of
// references, so that a traversal reads only what it returns, and asks
// whichever instance provider serves an object at the other end for that
// object. Results stream into the operation's writer as they are found.
#pragma once

#include "providers/ProviderRegistry.h"
#include "repository/Repository.h"
#include "tarn/IAssociationProvider.h"

namespace tarn {

class RepositoryAssociationProvider : public IAssociationProvider {
  public:
    RepositoryAssociationProvider(const Repository& repository, const ProviderRegistry& providers)
        : _repository(repository), _providers(providers) {}

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
    using EndCallback = std::function<bool(const VELSmrPtr<IVelaInstanceName>&)>;
    // Calls each with the names of the objects at the other ends, as the
    // association instances give them, until it returns false.
    void otherEnds(const ProviderContext& context, const Classes& assocClasses,
                   const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& resultClass,
                   const VELString& role, const VELString& resultRole,
                   const EndCallback& each) const;

    const Repository& _repository;
    const ProviderRegistry& _providers;
};

}  // namespace tarn
