#include "vela/CVelaProperty.h"

#include "vela/CVelaType.h"

namespace {

// A NULL array is held as a null handle (see the header).
VELSmrPtr<IVelaValue> held(VELSmrPtr<IVelaValue> value, const IVelaType& type) {
    if (!value.isNull() && type.isArray() && !value->isSet()) {
        return nullptr;
    }
    return value;
}

}  // namespace

CVelaProperty::CVelaProperty(VELString name, VELSmrPtr<IVelaValue> value)
    : _name(std::move(name)),
      _type(value.isNull() ? CVelaType::get(CIMTypeId::String) : value->getType()),
      _value(held(std::move(value), *_type)) {}

CVelaProperty::CVelaProperty(VELString name, VELSmrPtr<IVelaType> type, VELSmrPtr<IVelaValue> value)
    : _name(std::move(name)), _type(std::move(type)) {
    if (_type.isNull()) {
        _type = value.isNull() ? CVelaType::get(CIMTypeId::String) : value->getType();
    }
    _value = held(std::move(value), *_type);
}

void CVelaProperty::setValue(VELSmrPtr<IVelaValue> value) {
    _value = held(std::move(value), *_type);
}
