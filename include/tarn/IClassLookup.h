// tarn::IClassLookup: finds a class definition by namespace and class name.
#pragma once

#include "vela/IVelaClass.h"

namespace tarn {

class IClassLookup {
  public:
    virtual ~IClassLookup() = default;
    // Null when the namespace or the class does not exist. Names ignore case.
    virtual VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace,
                                           const VELString& className) const = 0;
};

}  // namespace tarn
