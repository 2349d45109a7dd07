// tarn::IMethodDef: a method definition of a class.
#pragma once

#include "tarn/IParameterDef.h"
#include "tarn/IQualifier.h"
#include "tarn/Iterator.h"

namespace tarn {

class IMethodDef {
  public:
    virtual ~IMethodDef() = default;
    virtual const VELString& getName() const = 0;
    virtual const VELSmrPtr<IVelaType>& getReturnType() const = 0;
    virtual const VELString& getOriginClassName() const = 0;
    virtual VELSmrPtr<Iterator<VELSmrPtr<IQualifier>>> getQualifiers(
        bool includeInherited) const = 0;
    virtual VELSmrPtr<IQualifier> getQualifier(const VELString& name) const = 0;
    virtual VELSmrPtr<Iterator<VELSmrPtr<IParameterDef>>> getParameters() const = 0;
    virtual VELSmrPtr<IParameterDef> getParameter(const VELString& name) const = 0;
};

}  // namespace tarn
