// IVelaKeyBinding: one key of an instance name: property name and value.
#pragma once

#include "vela/IVelaValue.h"

class IVelaKeyBinding {
  public:
    virtual ~IVelaKeyBinding() = default;
    virtual const VELString& getPropertyName() const = 0;
    // May be null.
    virtual const VELSmrPtr<IVelaValue>& getValue() const = 0;
};
