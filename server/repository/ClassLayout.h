// tarn::ClassLayout: a resolved class as the repository stores its
// instances: the class, its row id, its properties in class order with the
// type each is stored under, and the positions of its keys. Built once per
// class when the schema is loaded or extended; immutable afterwards.
//
// The stored type is the property's type, except that a string property
// qualified EmbeddedInstance or EmbeddedObject holds embedded instances, and
// a string key qualified TARN_ReferenceKey holds a reference (written to
// clients as path text).
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "vela/CVelaClass.h"
#include "vela/IVelaProperty.h"

namespace tarn {

class ClassLayout {
  public:
    enum class Kind : std::uint8_t { Plain, EmbeddedInstance, EmbeddedObject, ReferenceKey };

    ClassLayout(VELSmrPtr<CVelaClass> cls, std::int64_t id);

    const VELSmrPtr<CVelaClass>& cls() const { return _cls; }
    const VELString& name() const { return _cls->getName(); }
    std::int64_t id() const { return _id; }
    std::size_t size() const { return _properties.size(); }
    const VELSmrPtr<IPropertyDef>& property(std::size_t i) const { return _properties[i]; }
    const VELSmrPtr<IVelaType>& storedType(std::size_t i) const { return _types[i]; }
    Kind kind(std::size_t i) const { return _kinds[i]; }
    // An unset value and a property holding it, shared by all instances.
    const VELSmrPtr<IVelaValue>& nullValue(std::size_t i) const { return _nullValues[i]; }
    const VELSmrPtr<IVelaProperty>& nullProperty(std::size_t i) const { return _nullProperties[i]; }
    const std::vector<std::size_t>& keys() const { return _keys; }
    bool isKey(std::size_t i) const { return _properties[i]->isKey(); }
    bool isAssociation() const { return _association; }
    // Positions of the scalar reference properties: an association's roles.
    const std::vector<std::size_t>& references() const { return _references; }
    // Some property holds references (scalar, array or reference key).
    bool holdsReferences() const { return _holdsReferences; }
    // Position of the property (ignoring case), or -1. hint is tried first.
    long indexOf(const VELString& name, std::size_t hint = 0) const;

  private:
    VELSmrPtr<CVelaClass> _cls;
    std::int64_t _id;
    std::vector<VELSmrPtr<IPropertyDef>> _properties;
    std::vector<VELSmrPtr<IVelaType>> _types;
    std::vector<Kind> _kinds;
    std::vector<VELSmrPtr<IVelaValue>> _nullValues;
    std::vector<VELSmrPtr<IVelaProperty>> _nullProperties;
    std::vector<std::size_t> _keys;
    std::vector<std::size_t> _references;
    bool _association = false;
    bool _holdsReferences = false;
    std::unordered_map<VELString, std::size_t, VELStringHashIgnoreCase, VELStringEqualIgnoreCase>
        _index;
};

}  // namespace tarn
