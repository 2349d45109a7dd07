#include "tarn/CPropertyDef.h"

#include "vela/VelaBaseException.h"

namespace tarn {

void CPropertyDef::resolve(const CPropertyDef* overridden, const VELString& origin) {
    _origin = origin;
    if (overridden) {
        const IVelaType& mine = *_type;
        const IVelaType& theirs = *overridden->getType();
        if (mine.getTypeId() != theirs.getTypeId() || mine.isArray() != theirs.isArray()) {
            throw VelaBaseException("InvalidData", "tarn::CPropertyDef", "resolve",
                                    "property " + origin + "." + _name + " overrides a " +
                                        theirs.getName() + (theirs.isArray() ? " array" : "") +
                                        " property with a " + mine.getName() +
                                        (mine.isArray() ? " array" : ""),
                                    4);
        }
        if (_default.isNull()) {
            _default = overridden->getDefaultValue();
        }
    }
    _qualifiers.resolve(overridden ? &overridden->_qualifiers : nullptr, origin,
                        "property " + origin + "." + _name);
    _key = _qualifiers.isTrue("Key");
}

VELSmrPtr<CPropertyDef> CPropertyDef::inheritedCopy() const {
    auto copy = makeVELSmrPtr<CPropertyDef>(_name, _type, _default, _arraySize);
    copy->_origin = _origin;
    copy->_qualifiers.inheritFrom(_qualifiers);
    copy->_key = copy->_qualifiers.isTrue("Key");
    return copy;
}

}  // namespace tarn
