// tarn::ProviderRegistry: the providers of tarnd by namespace and class, and
// the default provider (the repository) for every class without one; the
// management profiles the providers implement. Registration happens at
// start-up; afterwards the registry is only read, so lookups take no lock.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "tarn/IProviderRegistrar.h"

namespace tarn {

class ProviderRegistry : public IProviderRegistrar {
  public:
    ProviderRegistry() = default;
    ~ProviderRegistry() override;
    ProviderRegistry(const ProviderRegistry&) = delete;
    ProviderRegistry& operator=(const ProviderRegistry&) = delete;

    void registerInstanceProvider(const VELString& nameSpace, const VELString& className,
                                  std::shared_ptr<IInstanceProvider> provider) override;
    void setDefaultInstanceProvider(std::shared_ptr<IInstanceProvider> provider);

    // The provider of exactly this class, else the default one (may be null).
    IInstanceProvider* findInstanceProvider(const VELString& nameSpace,
                                            const VELString& className) const;
    std::size_t size() const { return _instanceProviders.size(); }

    void registerAssociationProvider(const VELString& nameSpace, const VELString& className,
                                     std::shared_ptr<IAssociationProvider> provider) override;
    void setDefaultAssociationProvider(std::shared_ptr<IAssociationProvider> provider);
    // The association provider of the classes that have an instance provider
    // and no association provider (an EnumeratingAssociationProvider).
    void setEnumeratingAssociationProvider(std::shared_ptr<IAssociationProvider> provider);
    // The association provider of exactly this class; else the enumerating
    // one when the class has an instance provider of its own; else the
    // default one (may be null).
    IAssociationProvider* findAssociationProvider(const VELString& nameSpace,
                                                  const VELString& className) const;

    // The instance of that name (in its own namespace, else the context's)
    // from the provider that serves its class; null when it does not exist
    // (any more), its class or namespace included.
    VELSmrPtr<IVelaObject> fetchInstance(const ProviderContext& context,
                                         const VELSmrPtr<IVelaInstanceName>& name) const;

    void registerMethodProvider(const VELString& nameSpace, const VELString& className,
                                std::shared_ptr<IMethodProvider> provider) override;
    // The method provider of the class, else of its nearest ancestor that
    // has one; null when none has.
    IMethodProvider* findMethodProvider(const VELString& nameSpace, const IVelaClass& cls) const;

    void registerProfile(const ProfileRegistration& profile) override;
    // In registration order.
    const std::vector<ProfileRegistration>& profiles() const { return _profiles; }

    // Loads each shared library named in [Providers] Modules (comma
    // separated) and calls its tarnRegisterProviders. Throws
    // VelaBaseException naming the module when one cannot be loaded.
    void loadConfiguredModules();
    void loadModule(const VELString& path);

  private:
    std::map<VELString, std::shared_ptr<IInstanceProvider>>
        _instanceProviders;  // "ns:class", lower case
    std::shared_ptr<IInstanceProvider> _default;
    std::map<VELString, std::shared_ptr<IAssociationProvider>>
        _associationProviders;  // "ns:class", lower case
    std::shared_ptr<IAssociationProvider> _defaultAssociation;
    std::shared_ptr<IAssociationProvider> _enumeratingAssociation;

    std::map<VELString, std::shared_ptr<IMethodProvider>>
        _methodProviders;  // "ns:class", lower case
    std::vector<ProfileRegistration> _profiles;
    std::vector<void*> _modules;
};

}  // namespace tarn
