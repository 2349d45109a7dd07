// CVelaKeyBinding: the platform's key binding.
#pragma once

#include "vela/IVelaKeyBinding.h"

class CVelaKeyBinding : public IVelaKeyBinding {
  public:
    CVelaKeyBinding(VELString name, VELSmrPtr<IVelaValue> value)
        : _name(std::move(name)), _value(std::move(value)) {}
    const VELString& getPropertyName() const override { return _name; }
    const VELSmrPtr<IVelaValue>& getValue() const override { return _value; }

  private:
    VELString _name;
    VELSmrPtr<IVelaValue> _value;
};
