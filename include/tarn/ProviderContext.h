// tarn::ProviderContext: what a provider learns about the request it serves:
// the namespace, who asks, and the hints of the request (properties wanted).
#pragma once

#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

namespace tarn {

struct ProviderContext {
    VELString nameSpace;
    VELString userName;
    // Never null.
    VELSmrPtr<VELValSlist<VELString>> roles;
    // The properties the client asked for, or null for all. A hint: the
    // object manager filters the output itself, so a provider may ignore it.
    VELSmrPtr<VELValSlist<VELString>> propertyList;
};

}  // namespace tarn
