// tarn::ProviderRegistry: the providers of tarnd by namespace and class, and
// the default provider (the repository) for every class without one.
// Registration happens at start-up; afterwards the registry is only read, so
// lookups take no lock.
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
    // The association provider of exactly this class, else the default one (may be null).
    IAssociationProvider* findAssociationProvider(const VELString& nameSpace,
                                                  const VELString& className) const;

    void registerMethodProvider(const VELString& nameSpace, const VELString& className,
                                std::shared_ptr<IMethodProvider> provider) override;
    // The method provider of the class, else of its nearest ancestor that
    // has one; null when none has.
    IMethodProvider* findMethodProvider(const VELString& nameSpace, const IVelaClass& cls) const;

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

    std::map<VELString, std::shared_ptr<IMethodProvider>>
        _methodProviders;  // "ns:class", lower case
    std::vector<void*> _modules;
};

}  // namespace tarn
