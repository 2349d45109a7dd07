// tarn::IIndicationSink: where indications enter the object manager's
// indication service. The operation handler reports the life of instances
// through it once a write has committed; providers raise their own through
// their ProviderContext. Every call is safe on any thread and returns
// without waiting for any listener.
#pragma once

#include "vela/IVelaObject.h"
#include "vela/VELString.h"

namespace tarn {

class IIndicationSink {
  public:
    enum class LifeCycle { Creation, Modification, Deletion };

    virtual ~IIndicationSink() = default;

    // Whether some active subscription could select an indication of this
    // class raised in nameSpace. Cheap: callers ask before building one.
    virtual bool wants(const VELString& nameSpace, const VELString& indicationClass) const = 0;

    // Delivers the indication (an instance of an indication class, raised in
    // nameSpace) once to each active subscription whose filter selects it.
    virtual void raise(const VELString& nameSpace, const VELSmrPtr<IVelaObject>& indication) = 0;

    // Raises CIM_InstCreation, CIM_InstModification or CIM_InstDeletion for
    // the instance source (with its path) of nameSpace; previous is the
    // instance before a modification (null otherwise).
    virtual void instanceChanged(LifeCycle change, const VELString& nameSpace,
                                 const VELSmrPtr<IVelaObject>& source,
                                 const VELSmrPtr<IVelaObject>& previous) = 0;

    // The class of a life-cycle indication.
    static const char* className(LifeCycle change) {
        switch (change) {
            case LifeCycle::Creation:
                return "CIM_InstCreation";
            case LifeCycle::Modification:
                return "CIM_InstModification";
            default:
                return "CIM_InstDeletion";
        }
    }
};

}  // namespace tarn
