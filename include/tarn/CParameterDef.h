// tarn::CParameterDef: the platform's parameter definition.
#pragma once

#include "tarn/IParameterDef.h"
#include "tarn/QualifierList.h"

namespace tarn {

class CParameterDef : public IParameterDef {
  public:
    CParameterDef(VELString name, VELSmrPtr<IVelaType> type)
        : _name(std::move(name)), _type(std::move(type)) {}

    void addQualifier(const VELSmrPtr<IQualifier>& q) { _qualifiers.addLocal(q); }
    QualifierList& qualifierList() { return _qualifiers; }
    const QualifierList& qualifierList() const { return _qualifiers; }

    const VELString& getName() const override { return _name; }
    const VELSmrPtr<IVelaType>& getType() const override { return _type; }
    VELSmrPtr<Iterator<VELSmrPtr<IQualifier>>> getQualifiers(bool includeInherited) const override {
        return _qualifiers.iterate(includeInherited);
    }
    VELSmrPtr<IQualifier> getQualifier(const VELString& name) const override {
        return _qualifiers.find(name);
    }

  private:
    VELString _name;
    VELSmrPtr<IVelaType> _type;
    QualifierList _qualifiers;
};

}  // namespace tarn
