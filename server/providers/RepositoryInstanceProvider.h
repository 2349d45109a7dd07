// tarn::RepositoryInstanceProvider: the default instance provider, which
// keeps instances in the repository. Enumerations stream from the
// repository's cursor straight into the operation's writer and stop as soon
// as the client has gone.
#pragma once

#include "repository/Repository.h"
#include "tarn/IInstanceProvider.h"

namespace tarn {

class RepositoryInstanceProvider : public IInstanceProvider {
  public:
    explicit RepositoryInstanceProvider(Repository& repository) : _repository(repository) {}

    VELSmrPtr<IVelaObject> getInstance(const ProviderContext& context,
                                       const VELSmrPtr<IVelaInstanceName>& name) override;
    void enumerateInstances(const ProviderContext& context, const VELSmrPtr<IVelaClass>& cls,
                            IMultiResponse<VELSmrPtr<IVelaObject>>& out) override;
    void enumerateInstanceNames(const ProviderContext& context, const VELSmrPtr<IVelaClass>& cls,
                                IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override;
    VELSmrPtr<IVelaInstanceName> createInstance(const ProviderContext& context,
                                                const VELSmrPtr<IVelaObject>& instance) override;
    void modifyInstance(const ProviderContext& context, const VELSmrPtr<IVelaInstanceName>& name,
                        const VELSmrPtr<IVelaObject>& instance,
                        const VELSmrPtr<VELValSlist<VELString>>& propertyList) override;
    void deleteInstance(const ProviderContext& context,
                        const VELSmrPtr<IVelaInstanceName>& name) override;

  private:
    Repository& _repository;
};

}  // namespace tarn
