// CVelaProperty: the platform's property class.
#pragma once

#include "vela/IVelaProperty.h"

class CVelaProperty : public IVelaProperty {
  public:
    // The type is the value's type.
    CVelaProperty(VELString name, VELSmrPtr<IVelaValue> value);
    // A property of the type; value may be null.
    CVelaProperty(VELString name, VELSmrPtr<IVelaType> type, VELSmrPtr<IVelaValue> value);

    const VELString& getName() const override { return _name; }
    const VELSmrPtr<IVelaType>& getType() const override { return _type; }
    const VELSmrPtr<IVelaValue>& getValue() const override { return _value; }
    void setValue(VELSmrPtr<IVelaValue> value) { _value = std::move(value); }

  private:
    VELString _name;
    VELSmrPtr<IVelaType> _type;
    VELSmrPtr<IVelaValue> _value;
};
