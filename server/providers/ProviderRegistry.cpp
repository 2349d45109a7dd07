#include "providers/ProviderRegistry.h"

#include <dlfcn.h>

#include "providers/InstancePaths.h"
#include "tarn/CIMStatus.h"
#include "vela/AdapterUtils.h"
#include "vela/TARNConfigManager.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::ProviderRegistry";

VELString key(const VELString& nameSpace, const VELString& className) {
    return nameSpace.toLower() + ":" + className.toLower();
}

}  // namespace

ProviderRegistry::~ProviderRegistry() {
    // Providers must be gone before the code that implements them.
    _instanceProviders.clear();
    _default.reset();
    _associationProviders.clear();
    _defaultAssociation.reset();
    _enumeratingAssociation.reset();
    _methodProviders.clear();
    for (void* handle : _modules) {
        ::dlclose(handle);
    }
}

void ProviderRegistry::registerInstanceProvider(const VELString& nameSpace,
                                                const VELString& className,
                                                std::shared_ptr<IInstanceProvider> provider) {
    if (!provider) {
        throw VelaBaseException("InvalidData", WHO, "registerInstanceProvider",
                                "no provider given for " + nameSpace + ":" + className,
                                CIM_ERR_INVALID_PARAMETER);
    }
    if (!_instanceProviders.emplace(key(nameSpace, className), std::move(provider)).second) {
        throw VelaBaseException(
            "InvalidData", WHO, "registerInstanceProvider",
            "a provider is already registered for " + nameSpace + ":" + className,
            CIM_ERR_ALREADY_EXISTS);
    }
    AdapterUtils::log(WHO, "Instance provider registered for " + nameSpace + ":" + className, 3);
}

void ProviderRegistry::setDefaultInstanceProvider(std::shared_ptr<IInstanceProvider> provider) {
    _default = std::move(provider);
}

IInstanceProvider* ProviderRegistry::findInstanceProvider(const VELString& nameSpace,
                                                          const VELString& className) const {
    if (!_instanceProviders.empty()) {
        auto it = _instanceProviders.find(key(nameSpace, className));
        if (it != _instanceProviders.end()) {
            return it->second.get();
        }
    }
    return _default.get();
}

void ProviderRegistry::registerAssociationProvider(const VELString& nameSpace,
                                                   const VELString& className,
                                                   std::shared_ptr<IAssociationProvider> provider) {
    if (!provider) {
        throw VelaBaseException("InvalidData", WHO, "registerAssociationProvider",
                                "no provider given for " + nameSpace + ":" + className,
                                CIM_ERR_INVALID_PARAMETER);
    }
    if (!_associationProviders.emplace(key(nameSpace, className), std::move(provider)).second) {
        throw VelaBaseException(
            "InvalidData", WHO, "registerAssociationProvider",
            "an association provider is already registered for " + nameSpace + ":" + className,
            CIM_ERR_ALREADY_EXISTS);
    }
    AdapterUtils::log(WHO, "Association provider registered for " + nameSpace + ":" + className, 3);
}

void ProviderRegistry::setDefaultAssociationProvider(
    std::shared_ptr<IAssociationProvider> provider) {
    _defaultAssociation = std::move(provider);
}

void ProviderRegistry::setEnumeratingAssociationProvider(
    std::shared_ptr<IAssociationProvider> provider) {
    _enumeratingAssociation = std::move(provider);
}

IAssociationProvider* ProviderRegistry::findAssociationProvider(const VELString& nameSpace,
                                                                const VELString& className) const {
    if (_instanceProviders.empty() && _associationProviders.empty()) {
        return _defaultAssociation.get();
    }
    const VELString k = key(nameSpace, className);
    auto it = _associationProviders.find(k);
    if (it != _associationProviders.end()) {
        return it->second.get();
    }
    if (_enumeratingAssociation && _instanceProviders.count(k) != 0) {
        return _enumeratingAssociation.get();
    }
    return _defaultAssociation.get();
}

VELSmrPtr<IVelaObject> ProviderRegistry::fetchInstance(
    const ProviderContext& context, const VELSmrPtr<IVelaInstanceName>& name) const {
    const VELString& ns = InstancePaths::nameSpaceOf(*name, context.nameSpace);
    ProviderContext elsewhere;
    const ProviderContext* at = &context;
    if (!ns.equalsIgnoreCase(context.nameSpace)) {
        elsewhere = context;
        elsewhere.nameSpace = ns;
        at = &elsewhere;
    }
    IInstanceProvider* provider = findInstanceProvider(ns, name->getClassName());
    if (!provider) {
        return nullptr;
    }
    try {
        return provider->getInstance(*at, name);
    } catch (const VelaBaseException& e) {
        if (e.getCode() == CIM_ERR_NOT_FOUND || e.getCode() == CIM_ERR_INVALID_CLASS ||
            e.getCode() == CIM_ERR_INVALID_NAMESPACE) {
            return nullptr;
        }
        throw;
    }
}

void ProviderRegistry::registerMethodProvider(const VELString& nameSpace,
                                              const VELString& className,
                                              std::shared_ptr<IMethodProvider> provider) {
    if (!provider) {
        throw VelaBaseException("InvalidData", WHO, "registerMethodProvider",
                                "no method provider given for " + nameSpace + ":" + className,
                                CIM_ERR_INVALID_PARAMETER);
    }
    if (!_methodProviders.emplace(key(nameSpace, className), std::move(provider)).second) {
        throw VelaBaseException(
            "InvalidData", WHO, "registerMethodProvider",
            "a method provider is already registered for " + nameSpace + ":" + className,
            CIM_ERR_ALREADY_EXISTS);
    }
    AdapterUtils::log(WHO, "Method provider registered for " + nameSpace + ":" + className, 3);
}

IMethodProvider* ProviderRegistry::findMethodProvider(const VELString& nameSpace,
                                                      const IVelaClass& cls) const {
    if (_methodProviders.empty()) {
        return nullptr;
    }
    VELSmrPtr<IVelaClass> held;
    for (const IVelaClass* c = &cls; c != nullptr; c = held.get()) {
        auto it = _methodProviders.find(key(nameSpace, c->getName()));
        if (it != _methodProviders.end()) {
            return it->second.get();
        }
        held = c->getSuperClass();
    }
    return nullptr;
}

void ProviderRegistry::registerProfile(const ProfileRegistration& profile) {
    const ProfileId& id = profile.profile;
    const VELString text = id.organization + " " + id.name + " " + id.version;
    if (id.organization.isNull() || id.name.isNull() || id.version.isNull()) {
        throw VelaBaseException(
            "InvalidData", WHO, "registerProfile",
            "a profile needs an organisation, a name and a version: '" + text + "'",
            CIM_ERR_INVALID_PARAMETER);
    }
    for (const ProfileRegistration& p : _profiles) {
        if (id.matches(p.profile) && id.version == p.profile.version) {
            throw VelaBaseException("InvalidData", WHO, "registerProfile",
                                    "the profile " + text + " is already registered",
                                    CIM_ERR_ALREADY_EXISTS);
        }
    }
    _profiles.push_back(profile);
    AdapterUtils::log(WHO, "Profile registered: " + text, 3);
}

void ProviderRegistry::loadConfiguredModules() {
    VELString modules;
    if (!TARNConfigManager::getInstance().getString("Providers", "Modules", modules)) {
        return;
    }
    std::size_t start = 0;
    while (start <= modules.length()) {
        std::size_t comma = modules.find(',', start);
        VELString path =
            modules.substring(start, comma == VELString::npos ? VELString::npos : comma - start)
                .trim();
        if (!path.isNull()) {
            loadModule(path);
        }
        if (comma == VELString::npos) {
            break;
        }
        start = comma + 1;
    }
}

void ProviderRegistry::loadModule(const VELString& path) {
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = ::dlerror();
        throw VelaBaseException(
            "Configuration", WHO, "loadModule",
            "cannot load provider module '" + path + "': " + (why ? why : "unknown error"),
            CIM_ERR_FAILED);
    }
    auto entry =
        reinterpret_cast<RegisterProvidersFunction>(::dlsym(handle, REGISTER_PROVIDERS_SYMBOL));
    if (!entry) {
        ::dlclose(handle);
        throw VelaBaseException(
            "Configuration", WHO, "loadModule",
            "provider module '" + path + "' does not export " + REGISTER_PROVIDERS_SYMBOL,
            CIM_ERR_FAILED);
    }
    _modules.push_back(handle);
    entry(*this);
    AdapterUtils::log(WHO, "Provider module loaded: " + path, 3);
}

}  // namespace tarn
