#include "vela/CVelaObject.h"

#include "vela/CVelaProperty.h"
#include "vela/VelaBaseException.h"

CVelaObject::CVelaObject(VELString className, VELSmrPtr<IVelaInstanceName> path)
    : _className(std::move(className)), _path(std::move(path)) {}

void CVelaObject::addProperty(VELSmrPtr<IVelaProperty> property) {
    _properties.push_back(std::move(property));
}

void CVelaObject::addProperty(const VELString& name, VELSmrPtr<IVelaValue> value) {
    _properties.push_back(makeVELSmrPtr<CVelaProperty>(name, std::move(value)));
}

void CVelaObject::setProperty(VELSmrPtr<IVelaProperty> property) {
    long i = findProperty(property->getName());
    if (i < 0) {
        _properties.push_back(std::move(property));
    } else {
        _properties[static_cast<std::size_t>(i)] = std::move(property);
    }
}

bool CVelaObject::removeProperty(const VELString& name) {
    long i = findProperty(name);
    if (i < 0) {
        return false;
    }
    _properties.erase(_properties.begin() + i);
    return true;
}

const VELSmrPtr<IVelaProperty>& CVelaObject::getProperty(std::size_t index) const {
    if (index >= _properties.size()) {
        throw VelaBaseException("IndexOutOfRange", "CVelaObject", "getProperty",
                                "no property at position " +
                                    VELString::valueOf(static_cast<unsigned long long>(index)) +
                                    " of an instance of " + _className,
                                1);
    }
    return _properties[index];
}

long CVelaObject::findProperty(const VELString& name) const {
    for (std::size_t i = 0; i < _properties.size(); ++i) {
        const VELSmrPtr<IVelaProperty>& p = _properties[i];
        if (!p.isNull() && p->getName().equalsIgnoreCase(name)) {
            return static_cast<long>(i);
        }
    }
    return -1;
}

VELSmrPtr<IVelaProperty> CVelaObject::getProperty(const VELString& name) const {
    long i = findProperty(name);
    return i < 0 ? VELSmrPtr<IVelaProperty>() : _properties[static_cast<std::size_t>(i)];
}
