// tarn::ProviderContext: what a provider learns about the request it serves:
// the namespace, who asks, and the hints of the request (properties wanted);
// and the way to raise indications.
#pragma once

#include "tarn/IIndicationSink.h"
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
    // The object manager's indication service; null where none runs.
    IIndicationSink* indications = nullptr;

    // Raises an indication (an instance of an indication class) in the
    // request's namespace: each subscription whose filter selects it gets it
    // once. Returns at once; delivery happens later, on other threads.
    void raiseIndication(const VELSmrPtr<IVelaObject>& indication) const {
        if (indications != nullptr && !indication.isNull() &&
            indications->wants(nameSpace, indication->getClassName())) {
            indications->raise(nameSpace, indication);
        }
    }
};

}  // namespace tarn
