// tarn::CPropertyDef: the platform's property definition.
#pragma once

#include "tarn/IPropertyDef.h"
#include "tarn/QualifierList.h"

namespace tarn {

class CPropertyDef : public IPropertyDef {
  public:
    CPropertyDef(VELString name, VELSmrPtr<IVelaType> type, VELSmrPtr<IVelaValue> defaultValue = {},
                 std::uint32_t arraySize = 0)
        : _name(std::move(name)),
          _type(std::move(type)),
          _default(std::move(defaultValue)),
          _arraySize(arraySize) {}

    void addQualifier(const VELSmrPtr<IQualifier>& q) { _qualifiers.addLocal(q); }
    void setDefaultValue(VELSmrPtr<IVelaValue> v) { _default = std::move(v); }

    // Resolves a property defined (or overriding) in class origin; overridden
    // is the inherited property of the same name, or null.
    void resolve(const CPropertyDef* overridden, const VELString& origin);
    // The same property as a subclass inherits it unchanged.
    VELSmrPtr<CPropertyDef> inheritedCopy() const;

    const VELString& getName() const override { return _name; }
    const VELSmrPtr<IVelaType>& getType() const override { return _type; }
    const VELString& getOriginClassName() const override { return _origin; }
    VELSmrPtr<Iterator<VELSmrPtr<IQualifier>>> getQualifiers(bool includeInherited) const override {
        return _qualifiers.iterate(includeInherited);
    }
    VELSmrPtr<IQualifier> getQualifier(const VELString& name) const override {
        return _qualifiers.find(name);
    }
    const VELSmrPtr<IVelaValue>& getDefaultValue() const override { return _default; }
    std::uint32_t getArraySize() const override { return _arraySize; }
    bool isKey() const override { return _key; }
    const QualifierList& qualifierList() const { return _qualifiers; }

  private:
    VELString _name;
    VELSmrPtr<IVelaType> _type;
    VELSmrPtr<IVelaValue> _default;
    std::uint32_t _arraySize;
    VELString _origin;
    QualifierList _qualifiers;
    bool _key = false;
};

}  // namespace tarn
