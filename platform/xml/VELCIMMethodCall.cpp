#include "vela/VELCIMMethodCall.h"

#include "tarn/IQualifierDef.h"
#include "vela/CVelaType.h"

VELCIMParamValue::VELCIMParamValue(VELString name, VELSmrPtr<IVelaValue> value, VELString typeName,
                                   bool unknownType)
    : _name(std::move(name)),
      _value(std::move(value)),
      _typeName(std::move(typeName)),
      _unknownType(unknownType) {
    _type = _value.isNull() ? CVelaType::get(CIMTypeId::String) : _value->getType();
}

VELCIMParamValue::VELCIMParamValue(VELString name, VELSmrPtr<tarn::IQualifierDef> declaration)
    : _name(std::move(name)),
      _type(CVelaType::get(CIMTypeId::String)),
      _declaration(std::move(declaration)),
      _unknownType(false) {}

VELString VELCIMParamValue::getValueAsString() const {
    if (_value.isNull() || !_value->isSet() || _value->getType()->isArray() ||
        _value->getType()->isEmbeddedObject()) {
        return VELString();
    }
    return _value->toString();
}

VELCIMMethodCall::VELCIMMethodCall(VELString methodName, Kind kind, VELString nameSpace,
                                   bool isAsync)
    : _methodName(std::move(methodName)),
      _kind(kind),
      _nameSpace(std::move(nameSpace)),
      _async(isAsync),
      _params(makeVELSmrPtr<ParamList>()) {}

void VELCIMMethodCall::addParameter(const VELSmrPtr<VELCIMParamValue>& param) {
    _params->append(param);
}

VELSmrPtr<VELCIMParamValue> VELCIMMethodCall::getParameterByName(const VELString& name) const {
    if (!_target.isNull() && _target->getName() == name) {
        return _target;
    }
    for (const auto& p : *_params) {
        if (!p.isNull() && p->getName() == name) {
            return p;
        }
    }
    return nullptr;
}

VELString VELCIMMethodCall::getParameterValueByName(const VELString& name) const {
    VELSmrPtr<VELCIMParamValue> p = getParameterByName(name);
    return p.isNull() ? VELString() : p->getValueAsString();
}
