// tarn::RepositoryAssociationProvider: the default association provider. It
// finds the association instances of the repository through its index of
// references, so that a traversal reads only what it returns, and asks
// whichever instance provider serves an object at the other end for that
// object. Results stream into the operation's writer as they are found.
#pragma once

#include "providers/ReferrerAssociationProvider.h"
#include "repository/Repository.h"

namespace tarn {

class RepositoryAssociationProvider : public ReferrerAssociationProvider {
  public:
    RepositoryAssociationProvider(const Repository& repository, const ProviderRegistry& providers)
        : ReferrerAssociationProvider(*repository.catalog(), providers), _repository(repository) {}

  protected:
    void referrers(const ProviderContext& context, const Classes& assocClasses,
                   const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
                   const Each& each) const override;

  private:
    const Repository& _repository;
};

}  // namespace tarn
