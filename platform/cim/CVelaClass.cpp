#include "vela/CVelaClass.h"

#include "vela/VelaBaseException.h"

namespace {

[[noreturn]] void conflict(const VELString& where, const VELString& what) {
    throw VelaBaseException("InvalidData", "CVelaClass", where, what, 4);
}

}  // namespace

CVelaClass::CVelaClass(VELString name, VELString superClassName, VELString nameSpace)
    : _name(std::move(name)),
      _superClassName(std::move(superClassName)),
      _nameSpace(std::move(nameSpace)),
      _properties(std::make_shared<PropertyVec>()),
      _ownProperties(std::make_shared<PropertyVec>()),
      _methods(std::make_shared<MethodVec>()),
      _ownMethods(std::make_shared<MethodVec>()),
      _ownPropertyNames(std::make_shared<std::vector<VELString>>()) {}

void CVelaClass::addQualifier(const VELSmrPtr<tarn::IQualifier>& q) {
    for (const auto& existing : _qualifiers.local()) {
        if (existing->getName().equalsIgnoreCase(q->getName())) {
            conflict("addQualifier",
                     "class " + _name + " has two qualifiers named " + q->getName());
        }
    }
    _qualifiers.addLocal(q);
}

void CVelaClass::addProperty(const VELSmrPtr<tarn::CPropertyDef>& p) {
    if (!_localPropertyNames.emplace(p->getName(), _localProperties.size()).second) {
        conflict("addProperty", "class " + _name + " has two properties named " + p->getName());
    }
    _localProperties.push_back(p);
}

void CVelaClass::addMethod(const VELSmrPtr<tarn::CMethodDef>& m) {
    if (!_localMethodNames.emplace(m->getName(), _localMethods.size()).second) {
        conflict("addMethod", "class " + _name + " has two methods named " + m->getName());
    }
    _localMethods.push_back(m);
}

void CVelaClass::resolve(const VELSmrPtr<IVelaClass>& superClass) {
    if (_resolved) {
        conflict("resolve", "class " + _name + " is already resolved");
    }
    const CVelaClass* parent = dynamic_cast<const CVelaClass*>(superClass.get());
    if (!superClass.isNull() && (!parent || !parent->_resolved)) {
        conflict("resolve", "the superclass of " + _name + " is not a resolved class");
    }
    if (!_superClassName.isNull() &&
        (parent == nullptr || !parent->getName().equalsIgnoreCase(_superClassName))) {
        conflict("resolve", "class " + _name + " needs its superclass " + _superClassName);
    }
    _superClass = superClass;
    _qualifiers.resolve(parent ? &parent->_qualifiers : nullptr, _name, "class " + _name);

    // Properties: inherited ones first (copies that carry only propagating
    // qualifiers), then local ones, which override in place.
    PropertyVec props;
    Index propIndex;
    if (parent) {
        for (const auto& p : *parent->_properties) {
            auto* cp = static_cast<const tarn::CPropertyDef*>(p.get());
            propIndex.emplace(p->getName(), props.size());
            props.push_back(cp->inheritedCopy());
        }
    }
    for (const auto& p : _localProperties) {
        auto it = propIndex.find(p->getName());
        const tarn::CPropertyDef* overridden = nullptr;
        if (it != propIndex.end() && parent) {
            overridden =
                static_cast<const tarn::CPropertyDef*>((*parent->_properties)[it->second].get());
        }
        p->resolve(overridden, _name);
        if (it != propIndex.end()) {
            props[it->second] = p;
        } else {
            propIndex.emplace(p->getName(), props.size());
            props.push_back(p);
        }
        _ownProperties->push_back(p);
        _ownPropertyNames->push_back(p->getName());
    }

    MethodVec methods;
    Index methodIndex;
    if (parent) {
        for (const auto& m : *parent->_methods) {
            auto* cm = static_cast<const tarn::CMethodDef*>(m.get());
            methodIndex.emplace(m->getName(), methods.size());
            methods.push_back(cm->inheritedCopy());
        }
    }
    for (const auto& m : _localMethods) {
        auto it = methodIndex.find(m->getName());
        const tarn::CMethodDef* overridden = nullptr;
        if (it != methodIndex.end() && parent) {
            overridden =
                static_cast<const tarn::CMethodDef*>((*parent->_methods)[it->second].get());
        }
        m->resolve(overridden, _name);
        if (it != methodIndex.end()) {
            methods[it->second] = m;
        } else {
            methodIndex.emplace(m->getName(), methods.size());
            methods.push_back(m);
        }
        _ownMethods->push_back(m);
    }

    *_properties = std::move(props);
    *_methods = std::move(methods);
    _propertyIndex = std::move(propIndex);
    _methodIndex = std::move(methodIndex);
    _keyNames.clear();
    for (const auto& p : *_properties) {
        if (p->isKey()) {
            _keyNames.push_back(p->getName());
        }
    }
    _resolved = true;
}

VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IQualifier>>> CVelaClass::getQualifiers(
    bool includeInherited) const {
    return _qualifiers.iterate(includeInherited);
}

VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IPropertyDef>>> CVelaClass::getPropertyDefs(
    bool includeInherited) const {
    if (!_resolved) {
        auto local =
            std::make_shared<PropertyVec>(_localProperties.begin(), _localProperties.end());
        return tarn::makeIterator<VELSmrPtr<tarn::IPropertyDef>>(std::move(local));
    }
    return tarn::makeIterator<VELSmrPtr<tarn::IPropertyDef>>(includeInherited ? _properties
                                                                              : _ownProperties);
}

VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IMethodDef>>> CVelaClass::getMethodDefs(
    bool includeInherited) const {
    if (!_resolved) {
        auto local = std::make_shared<MethodVec>(_localMethods.begin(), _localMethods.end());
        return tarn::makeIterator<VELSmrPtr<tarn::IMethodDef>>(std::move(local));
    }
    return tarn::makeIterator<VELSmrPtr<tarn::IMethodDef>>(includeInherited ? _methods
                                                                            : _ownMethods);
}

VELSmrPtr<tarn::Iterator<VELString>> CVelaClass::getOwnPropertyNames() const {
    return tarn::makeIterator<VELString>(_ownPropertyNames);
}

VELSmrPtr<tarn::IQualifier> CVelaClass::getQualifier(const VELString& name) const {
    return _qualifiers.find(name);
}

VELSmrPtr<tarn::IPropertyDef> CVelaClass::getPropertyDef(const VELString& name) const {
    auto it = _propertyIndex.find(name);
    return it == _propertyIndex.end() ? VELSmrPtr<tarn::IPropertyDef>()
                                      : (*_properties)[it->second];
}

VELSmrPtr<tarn::IMethodDef> CVelaClass::getMethodDef(const VELString& name) const {
    auto it = _methodIndex.find(name);
    return it == _methodIndex.end() ? VELSmrPtr<tarn::IMethodDef>() : (*_methods)[it->second];
}

bool CVelaClass::isA(const VELString& className) const {
    if (_name.equalsIgnoreCase(className)) {
        return true;
    }
    return !_superClass.isNull() && _superClass->isA(className);
}
