// cimxmlpa::ClassOriginDictionary: for one class, the class in which each of
// its properties originates. Cheap to build: it answers from the class's own
// resolved property index.
#pragma once

#include "vela/IVelaClass.h"

namespace cimxmlpa {

class ClassOriginDictionary {
  public:
    explicit ClassOriginDictionary(VELSmrPtr<IVelaClass> cls) : _class(std::move(cls)) {}

    // The origin class of the property; empty when the class has no such property.
    const VELString& getPropertyOrigin(const VELString& propertyName) const;
    const VELSmrPtr<IVelaClass>& getClass() const { return _class; }

  private:
    VELSmrPtr<IVelaClass> _class;
};

}  // namespace cimxmlpa
