// tarn::IProviderRegistrar: where providers are registered, per namespace
// and class. A provider plug-in (a shared library named in [Providers]
// Modules of tarn.conf) exports
//
//   extern "C" void tarnRegisterProviders(tarn::IProviderRegistrar& registrar);
//
// which tarnd calls once at start-up, before it serves requests.
#pragma once

#include <memory>

#include "tarn/IAssociationProvider.h"
#include "tarn/IInstanceProvider.h"
#include "tarn/IMethodProvider.h"
#include "tarn/ProfileRegistration.h"

namespace tarn {

class IProviderRegistrar {
  public:
    virtual ~IProviderRegistrar() = default;
    // The provider serves the instances of exactly this class in this
    // namespace. Throws VelaBaseException when another provider already does.
    virtual void registerInstanceProvider(const VELString& nameSpace, const VELString& className,
                                          std::shared_ptr<IInstanceProvider> provider) = 0;

    // The provider follows the instances of exactly this association class
    // in this namespace. Throws VelaBaseException when another provider
    // already does. Without one, a class whose instances a provider serves
    // is followed through that provider's enumeration of the class (every
    // request reads all its instances); other classes through the
    // repository's index.
    virtual void registerAssociationProvider(const VELString& nameSpace, const VELString& className,
                                             std::shared_ptr<IAssociationProvider> provider) = 0;

    // The provider serves the methods of this class in this namespace, and
    // those of its subclasses that have no method provider of their own.
    // Throws VelaBaseException when another provider already does.
    virtual void registerMethodProvider(const VELString& nameSpace, const VELString& className,
                                        std::shared_ptr<IMethodProvider> provider) = 0;

    // The object manager advertises the profile in its interop namespace (see
    // ProfileRegistration.h). Throws VelaBaseException when a profile of the
    // same organisation, name and version is registered already.
    virtual void registerProfile(const ProfileRegistration& profile) = 0;
};

// The entry point of provider plug-ins.
using RegisterProvidersFunction = void (*)(IProviderRegistrar&);
constexpr const char* REGISTER_PROVIDERS_SYMBOL = "tarnRegisterProviders";

}  // namespace tarn
