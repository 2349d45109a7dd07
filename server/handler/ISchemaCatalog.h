// tarn::ISchemaCatalog: what the operation handler needs to know about the
// schema to route an operation: namespaces, classes and their subclasses.
#pragma once

#include <vector>

#include "vela/IVelaClass.h"

namespace tarn {

class ISchemaCatalog {
  public:
    virtual ~ISchemaCatalog() = default;
    virtual bool hasNameSpace(const VELString& nameSpace) const = 0;
    // Null when the class does not exist.
    virtual VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace,
                                           const VELString& className) const = 0;
    // The names of all subclasses, superclasses before subclasses.
    virtual std::vector<VELString> getSubclassNames(const VELString& nameSpace,
                                                    const VELString& className) const = 0;
};

}  // namespace tarn
