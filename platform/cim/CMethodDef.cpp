#include "tarn/CMethodDef.h"

#include "vela/VelaBaseException.h"

namespace tarn {

void CMethodDef::addParameter(const VELSmrPtr<CParameterDef>& p) {
    for (const auto& existing : _params) {
        if (existing->getName().equalsIgnoreCase(p->getName())) {
            throw VelaBaseException("InvalidData", "tarn::CMethodDef", "addParameter",
                                    "method " + _name + " has two parameters named " + p->getName(),
                                    4);
        }
    }
    _params.push_back(p);
    _parameters->push_back(p);
}

VELSmrPtr<IParameterDef> CMethodDef::getParameter(const VELString& name) const {
    for (const auto& p : _params) {
        if (p->getName().equalsIgnoreCase(name)) {
            return p;
        }
    }
    return nullptr;
}

void CMethodDef::resolve(const CMethodDef* overridden, const VELString& origin) {
    _origin = origin;
    VELString element = "method " + origin + "." + _name;
    _qualifiers.resolve(overridden ? &overridden->_qualifiers : nullptr, origin, element);
    for (const auto& p : _params) {
        const CParameterDef* old = nullptr;
        if (overridden) {
            for (const auto& q : overridden->_params) {
                if (q->getName().equalsIgnoreCase(p->getName())) {
                    old = q.get();
                }
            }
        }
        p->qualifierList().resolve(old ? &old->qualifierList() : nullptr, origin,
                                   "parameter " + p->getName() + " of " + element);
    }
}

VELSmrPtr<CMethodDef> CMethodDef::inheritedCopy() const {
    auto copy = makeVELSmrPtr<CMethodDef>(_name, _returnType);
    copy->_origin = _origin;
    copy->_qualifiers.inheritFrom(_qualifiers);
    for (const auto& p : _params) {
        auto q = makeVELSmrPtr<CParameterDef>(p->getName(), p->getType());
        q->qualifierList().inheritFrom(p->qualifierList());
        copy->_params.push_back(q);
        copy->_parameters->push_back(q);
    }
    return copy;
}

}  // namespace tarn
