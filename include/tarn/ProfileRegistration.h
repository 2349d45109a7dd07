// tarn::ProfileRegistration: a management profile that the object manager
// implements, as a provider registers it (IProviderRegistrar). The object
// manager advertises each in its interop namespace as a CIM_RegisteredProfile,
// associated with CIM_ElementConformsToProfile to the profile's central
// instances and with CIM_ReferencedProfile to the profiles it references.
//
//   registrar.registerProfile({{"DMTF", "Indications", "1.2.2"}, "interop",
//                              "CIM_IndicationService", {}});
#pragma once

#include <vector>

#include "vela/VELString.h"

namespace tarn {

struct ProfileId {
    // The organisation that defines the profile, by its name in the Values of
    // CIM_RegisteredProfile.RegisteredOrganization ("DMTF", "SNIA"...); any
    // other name is advertised as Other, with the name in
    // OtherRegisteredOrganization. Compared without regard to case.
    VELString organization;
    // RegisteredName, compared without regard to case.
    VELString name;
    // RegisteredVersion (major.minor.update). Empty in a reference: any version.
    VELString version;

    bool matches(const ProfileId& registered) const {
        return organization.equalsIgnoreCase(registered.organization) &&
               name.equalsIgnoreCase(registered.name) &&
               (version.isNull() || version == registered.version);
    }
};

struct ProfileRegistration {
    ProfileId profile;
    // The central instances: the instances of centralClass and of its
    // subclasses in centralNameSpace (empty: the interop namespace), as their
    // providers enumerate them. No centralClass: the profile has none.
    VELString centralNameSpace;
    VELString centralClass;
    // The profiles this one references (it is their CIM_ReferencedProfile
    // Dependent). A reference that matches no registered profile is left out.
    std::vector<ProfileId> references;
};

}  // namespace tarn
