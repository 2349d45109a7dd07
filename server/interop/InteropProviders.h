// tarn::InteropProviders: the built-in providers of the interop namespace
// (see InteropModel) and the profiles TARN implements itself. tarnd
// registers them at start-up, before the provider modules, so that a module
// cannot take their classes.
//
// Instance provider per class of InteropModel::classNames(): instances are
// read-only, except CIM_Namespace, whose CreateInstance and DeleteInstance
// create and delete namespaces (admin role). Their associations are followed
// through the registry's enumerating association provider. A method provider
// serves CIM_RegisteredProfile.GetCentralInstances.
#pragma once

#include <memory>

#include "interop/InteropModel.h"

namespace tarn {

class InteropProviders {
  public:
    // The profiles TARN implements, one line each in InteropProviders.cpp.
    static const std::vector<ProfileRegistration>& builtInProfiles();

    // Registers the providers of the model's classes in its namespace and
    // the built-in profiles. The model must outlive the registry's use.
    static void registerAll(ProviderRegistry& registry, std::shared_ptr<InteropModel> model);
};

}  // namespace tarn
