// tarn::InteropModel: what the interop namespace says about tarnd, built
// from the running server whenever it is asked (only what depends on the
// schema alone is kept, until the schema changes):
//
//   CIM_ComputerSystem        the host tarnd runs on (Name: the advertised
//                             host name of Port_settings.xml); every other
//                             instance names it as its system
//   CIM_ObjectManager         tarnd itself, hosted by it (CIM_HostedService)
//   CIM_Namespace             one per namespace of the repository, in the
//                             object manager (CIM_NamespaceInManager)
//   CIM_CIMXMLCommunicationMechanism (CIM_ObjectManagerCommunicationMechanism
//                             for other protocols): one per protocol adapter
//                             and listening port, from the adapter's
//                             advertised identity (CIM_CommMechanismForManager)
//   CIM_RegisteredProfile     one per registered profile, with
//                             CIM_ElementConformsToProfile to its central
//                             instances and CIM_ReferencedProfile to the
//                             profiles it references (Antecedent: the
//                             referenced one)
//
// The computer system is served in the interop namespace itself, so that a
// client follows CIM_HostedService from the object manager without leaving
// the namespace; it is the machine under its advertised name, not a model
// of it (root/cimv2's TARN_ComputerSystem is example data).
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "core/AdapterRegistry.h"
#include "providers/ProviderRegistry.h"
#include "pull/PullSettings.h"
#include "repository/Repository.h"
#include "tarn/ISchemaCatalog.h"
#include "tarn/PortInfo.h"

namespace tarn {

class InteropModel {
  public:
    struct Settings {
        // The interop namespace and the host name that names the system.
        VELString nameSpace = "interop";
        VELString hostName;
        // Where the qualifiers of new namespaces come from (DefaultSchema).
        VELString schemaDir;
        PullSettings pull;
    };

    // Everything given must outlive the model.
    InteropModel(Settings settings, const ISchemaCatalog& schema, Repository& repository,
                 const ProviderRegistry& providers, const AdapterRegistry& adapters,
                 VELSmrPtr<PortInfo> portInfo);

    const Settings& settings() const { return _settings; }

    // Receives the instances of one class; false stops the enumeration.
    using Sink = std::function<bool(const VELSmrPtr<IVelaObject>&)>;
    // The instances of exactly className (one of the classes above, or an
    // association of them), with their paths.
    void enumerate(const ProviderContext& context, const VELString& className,
                   const Sink& sink) const;
    // The classes enumerate serves.
    static const std::vector<VELString>& classNames();

    // CreateInstance of CIM_Namespace: creates the namespace named by Name.
    // 2 without the admin role; 4 for a missing Name or keys that name
    // another object manager; 11 when it exists.
    VELSmrPtr<IVelaInstanceName> createNameSpace(const ProviderContext& context,
                                                 const IVelaObject& instance);
    // DeleteInstance of CIM_Namespace: deletes an empty namespace. 2 without
    // the admin role; 6 when there is none of that name; 20
    // (CIM_ERR_NAMESPACE_NOT_EMPTY) when it holds classes.
    void deleteNameSpace(const ProviderContext& context, const IVelaInstanceName& name);

    // The central instances of the registered profile of that path, as
    // CIM_ElementConformsToProfile names them. 6 when there is no such profile.
    std::vector<VELSmrPtr<IVelaInstanceName>> centralInstances(
        const ProviderContext& context, const IVelaInstanceName& profile) const;

  private:
    class Builder;
    struct Profile;
    // The system, the object manager and the service that joins them: made
    // from the schema and the settings alone, and read by clients often, so
    // built once per schema generation.
    struct Fixed;
    std::shared_ptr<const Fixed> fixed() const;

    Builder builder(const char* className) const;
    VELSmrPtr<IVelaInstanceName> computerSystemPath() const;
    VELSmrPtr<IVelaInstanceName> objectManagerPath() const;
    VELSmrPtr<IVelaObject> nameSpaceInstance(const VELString& name) const;
    std::vector<Profile> profiles() const;
    // The central instances of a profile, until each returns false.
    bool eachCentralInstance(
        const ProviderContext& context, const Profile& profile,
        const std::function<bool(const VELSmrPtr<IVelaInstanceName>&)>& each) const;

    bool computerSystems(const Sink& sink) const;
    bool objectManagers(const Sink& sink) const;
    bool nameSpaces(const Sink& sink) const;
    bool mechanisms(const VELString& className, const Sink& sink) const;
    bool hostedServices(const Sink& sink) const;
    bool nameSpacesInManager(const Sink& sink) const;
    bool mechanismsForManager(const Sink& sink) const;
    bool registeredProfiles(const Sink& sink) const;
    bool conformingElements(const ProviderContext& context, const Sink& sink) const;
    bool referencedProfiles(const Sink& sink) const;

    Settings _settings;
    const ISchemaCatalog& _schema;
    Repository& _repository;
    const ProviderRegistry& _providers;
    const AdapterRegistry& _adapters;
    VELSmrPtr<PortInfo> _portInfo;
    mutable std::atomic<std::shared_ptr<const Fixed>> _fixed;
};

}  // namespace tarn
