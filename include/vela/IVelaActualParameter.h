// IVelaActualParameter: a named parameter value of a method call or result.
#pragma once

#include "vela/IVelaType.h"
#include "vela/IVelaValue.h"

class IVelaActualParameter {
  public:
    virtual ~IVelaActualParameter() = default;
    virtual const VELString& getName() const = 0;
    virtual const VELSmrPtr<IVelaType>& getType() const = 0;
    // May be null.
    virtual const VELSmrPtr<IVelaValue>& getValue() const = 0;
};
