// CVelaActualParameter: the platform's parameter value.
#pragma once

#include "vela/CVelaType.h"
#include "vela/IVelaActualParameter.h"

class CVelaActualParameter : public IVelaActualParameter {
  public:
    CVelaActualParameter(VELString name, VELSmrPtr<IVelaValue> value,
                         VELSmrPtr<IVelaType> type = nullptr)
        : _name(std::move(name)), _type(std::move(type)), _value(std::move(value)) {
        if (_type.isNull()) {
            _type = _value.isNull() ? CVelaType::get(CIMTypeId::String) : _value->getType();
        }
    }
    const VELString& getName() const override { return _name; }
    const VELSmrPtr<IVelaType>& getType() const override { return _type; }
    const VELSmrPtr<IVelaValue>& getValue() const override { return _value; }

  private:
    VELString _name;
    VELSmrPtr<IVelaType> _type;
    VELSmrPtr<IVelaValue> _value;
};
