// VELCIMParamValue: one parameter of a parsed method call (IPARAMVALUE,
// PARAMVALUE or EXPPARAMVALUE): its name, declared type and value.
#pragma once

#include "vela/IVelaActualParameter.h"

namespace tarn {
class IQualifierDef;
}

class VELCIMParamValue : public IVelaActualParameter {
  public:
    // value may be null (a parameter given without a value). typeName is the
    // PARAMTYPE or TYPE as written in the request, empty when none was given.
    VELCIMParamValue(VELString name, VELSmrPtr<IVelaValue> value, VELString typeName = {},
                     bool unknownType = false);
    // A parameter that carries a qualifier declaration (QUALIFIER.DECLARATION),
    // which is not a value: getValue() is null, getQualifierDeclaration() holds it.
    VELCIMParamValue(VELString name, VELSmrPtr<tarn::IQualifierDef> declaration);

    const VELString& getName() const override { return _name; }
    const VELSmrPtr<IVelaType>& getType() const override { return _type; }
    const VELSmrPtr<IVelaValue>& getValue() const override { return _value; }
    // Null unless the parameter carries a qualifier declaration.
    const VELSmrPtr<tarn::IQualifierDef>& getQualifierDeclaration() const { return _declaration; }

    // True when the request declared a PARAMTYPE that is not a CIM type name;
    // the value then stays untyped text.
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
    VELSmrPtr<tarn::IQualifierDef> _declaration;
    VELString _typeName;
    bool _unknownType;
};
