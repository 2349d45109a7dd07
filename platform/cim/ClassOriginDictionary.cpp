#include "vela/ClassOriginDictionary.h"

namespace cimxmlpa {

const VELString& ClassOriginDictionary::getPropertyOrigin(const VELString& propertyName) const {
    static const VELString none;
    if (_class.isNull()) {
        return none;
    }
    VELSmrPtr<tarn::IPropertyDef> def = _class->getPropertyDef(propertyName);
    return def.isNull() ? none : def->getOriginClassName();
}

}  // namespace cimxmlpa
