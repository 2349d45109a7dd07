// IVelaProperty: one property of an instance: name, type and value.
#pragma once

#include "vela/IVelaType.h"
#include "vela/IVelaValue.h"

class IVelaProperty {
  public:
    virtual ~IVelaProperty() = default;
    virtual const VELString& getName() const = 0;
    virtual const VELSmrPtr<IVelaType>& getType() const = 0;
    // Null when the property carries no value object at all, which is how a
    // NULL array is held (see CVelaProperty): encoders leave such a property
    // out, since CIM-XML has no element for an array without a value.
    virtual const VELSmrPtr<IVelaValue>& getValue() const = 0;
};
