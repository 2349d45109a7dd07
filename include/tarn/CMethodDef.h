// tarn::CMethodDef: the platform's method definition.
#pragma once

#include <memory>
#include <vector>

#include "tarn/CParameterDef.h"
#include "tarn/IMethodDef.h"
#include "tarn/QualifierList.h"

namespace tarn {

class CMethodDef : public IMethodDef {
  public:
    CMethodDef(VELString name, VELSmrPtr<IVelaType> returnType)
        : _name(std::move(name)),
          _returnType(std::move(returnType)),
          _parameters(std::make_shared<std::vector<VELSmrPtr<IParameterDef>>>()) {}

    void addQualifier(const VELSmrPtr<IQualifier>& q) { _qualifiers.addLocal(q); }
    void addParameter(const VELSmrPtr<CParameterDef>& p);

    // Resolves a method defined (or overriding) in class origin.
    void resolve(const CMethodDef* overridden, const VELString& origin);
    VELSmrPtr<CMethodDef> inheritedCopy() const;

    const VELString& getName() const override { return _name; }
    const VELSmrPtr<IVelaType>& getReturnType() const override { return _returnType; }
    const VELString& getOriginClassName() const override { return _origin; }
    VELSmrPtr<Iterator<VELSmrPtr<IQualifier>>> getQualifiers(bool includeInherited) const override {
        return _qualifiers.iterate(includeInherited);
    }
    VELSmrPtr<IQualifier> getQualifier(const VELString& name) const override {
        return _qualifiers.find(name);
    }
    VELSmrPtr<Iterator<VELSmrPtr<IParameterDef>>> getParameters() const override {
        return makeIterator<VELSmrPtr<IParameterDef>>(_parameters);
    }
    VELSmrPtr<IParameterDef> getParameter(const VELString& name) const override;

  private:
    VELString _name;
    VELSmrPtr<IVelaType> _returnType;
    VELString _origin;
    QualifierList _qualifiers;
    std::shared_ptr<std::vector<VELSmrPtr<IParameterDef>>> _parameters;
    std::vector<VELSmrPtr<CParameterDef>> _params;
};

}  // namespace tarn
