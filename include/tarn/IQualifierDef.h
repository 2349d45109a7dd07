// tarn::IQualifierDef: a qualifier declaration of a namespace.
#pragma once

#include <cstdint>

#include "vela/IVelaType.h"
#include "vela/IVelaValue.h"

namespace tarn {

class IQualifierDef {
  public:
    virtual ~IQualifierDef() = default;
    virtual const VELString& getName() const = 0;
    virtual const VELSmrPtr<IVelaType>& getType() const = 0;
    // QualifierFlavor bits.
    virtual std::uint32_t getFlavor() const = 0;
    // QualifierScope bits.
    virtual std::uint32_t getScope() const = 0;
    // May be null (no default).
    virtual const VELSmrPtr<IVelaValue>& getDefaultValue() const = 0;
};

}  // namespace tarn
