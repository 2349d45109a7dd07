// VELCIMParamValue: one parameter of a parsed method call (IPARAMVALUE,
// PARAMVALUE or EXPPARAMVALUE): its name, declared type and value.
#pragma once

#include "vela/IVelaActualParameter.h"

class VELCIMParamValue : public IVelaActualParameter {
  public:
    // value may be null (a parameter given without a value). typeName is the
    // PARAMTYPE or TYPE as written in the request, empty when none was given.
    VELCIMParamValue(VELString name, VELSmrPtr<IVelaValue> value, VELString typeName = {},
                     bool unknownType = false);

    const VELString& getName() const override { return _name; }
    const VELSmrPtr<IVelaType>& getType() const override { return _type; }
    const VELSmrPtr<IVelaValue>& getValue() const override { return _value; }

    // True when the request declared a PARAMTYPE that is not a CIM type name.
    bool isUnknownType() const { return _unknownType; }
    // The type name as written in the request (PARAMTYPE, TYPE or "reference"
    // for a reference value), empty when none was given.
    const VELString& getInternalTypeName() const { return _typeName; }
    // The value's text form; empty for a missing or unset value, and for
    // values without a text form (arrays, embedded objects).
    VELString getValueAsString() const;

  private:
    VELString _name;
    VELSmrPtr<IVelaValue> _value;
    VELSmrPtr<IVelaType> _type;
    VELString _typeName;
    bool _unknownType;
};
