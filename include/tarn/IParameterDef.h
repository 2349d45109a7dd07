// tarn::IParameterDef: a parameter definition of a method.
#pragma once

#include "tarn/IQualifier.h"
#include "tarn/Iterator.h"

namespace tarn {

class IParameterDef {
  public:
    virtual ~IParameterDef() = default;
    virtual const VELString& getName() const = 0;
    virtual const VELSmrPtr<IVelaType>& getType() const = 0;
    // Qualifiers; without includeInherited only those specified in the class
    // that defines the method.
    virtual VELSmrPtr<Iterator<VELSmrPtr<IQualifier>>> getQualifiers(
        bool includeInherited) const = 0;
    virtual VELSmrPtr<IQualifier> getQualifier(const VELString& name) const = 0;
};

}  // namespace tarn
