// CVelaProperty: the platform's property class. An array property whose
// value is not set (NULL, unlike an empty array) holds a null value handle,
// whatever it was given: that is the one form of a NULL array, and the
// encoders leave it out of INSTANCE instead of writing an empty VALUE.ARRAY.
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
    void setValue(VELSmrPtr<IVelaValue> value);

  private:
    VELString _name;
    VELSmrPtr<IVelaType> _type;
    VELSmrPtr<IVelaValue> _value;
};
