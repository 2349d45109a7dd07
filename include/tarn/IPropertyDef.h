// tarn::IPropertyDef: a property definition of a class.
#pragma once

#include <cstdint>

#include "tarn/IQualifier.h"
#include "tarn/Iterator.h"

namespace tarn {

class IPropertyDef {
  public:
    virtual ~IPropertyDef() = default;
    virtual const VELString& getName() const = 0;
    virtual const VELSmrPtr<IVelaType>& getType() const = 0;
    // The class that introduced the property, or that overrides it last.
    virtual const VELString& getOriginClassName() const = 0;
    // Effective qualifiers; without includeInherited only those specified in
    // the origin class.
    virtual VELSmrPtr<Iterator<VELSmrPtr<IQualifier>>> getQualifiers(
        bool includeInherited) const = 0;
    virtual VELSmrPtr<IQualifier> getQualifier(const VELString& name) const = 0;
    // May be null.
    virtual const VELSmrPtr<IVelaValue>& getDefaultValue() const = 0;
    // Fixed array size; 0 for variable arrays and scalars.
    virtual std::uint32_t getArraySize() const = 0;
    // The Key qualifier is present and true.
    virtual bool isKey() const = 0;
};

}  // namespace tarn
