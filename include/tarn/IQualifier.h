// tarn::IQualifier: a qualifier as applied to a class, property, method or
// parameter, with its effective flavor.
#pragma once

#include <cstdint>

#include "vela/IVelaType.h"
#include "vela/IVelaValue.h"

namespace tarn {

class IQualifier {
  public:
    virtual ~IQualifier() = default;
    virtual const VELString& getName() const = 0;
    virtual const VELSmrPtr<IVelaType>& getType() const = 0;
    // QualifierFlavor bits.
    virtual std::uint32_t getFlavor() const = 0;
    // May be null (a qualifier without value).
    virtual const VELSmrPtr<IVelaValue>& getValue() const = 0;
    // The class in which the qualifier was specified.
    virtual const VELString& getDefiningClassName() const = 0;
};

}  // namespace tarn
