#include "vela/CVelaProperty.h"

#include "vela/CVelaType.h"

CVelaProperty::CVelaProperty(VELString name, VELSmrPtr<IVelaValue> value)
    : _name(std::move(name)),
      _type(value.isNull() ? CVelaType::get(CIMTypeId::String) : value->getType()),
      _value(std::move(value)) {}

CVelaProperty::CVelaProperty(VELString name, VELSmrPtr<IVelaType> type, VELSmrPtr<IVelaValue> value)
    : _name(std::move(name)), _type(std::move(type)), _value(std::move(value)) {
    if (_type.isNull()) {
        _type = _value.isNull() ? CVelaType::get(CIMTypeId::String) : _value->getType();
    }
}
