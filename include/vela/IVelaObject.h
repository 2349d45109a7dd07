// IVelaObject: a CIM instance: class name, path, and ordered properties.
#pragma once

#include "vela/IVelaInstanceName.h"
#include "vela/IVelaProperty.h"

class IVelaObject {
  public:
    virtual ~IVelaObject() = default;
    virtual const VELString& getClassName() const = 0;
    // The instance's name; may be null (an embedded instance has none).
    virtual const VELSmrPtr<IVelaInstanceName>& getPath() const = 0;
    virtual std::size_t getPropertyCount() const = 0;
    // Property by position; throws for a position out of range.
    virtual const VELSmrPtr<IVelaProperty>& getProperty(std::size_t index) const = 0;
    // Property by name, ignoring case as CIM names do; null when absent.
    virtual VELSmrPtr<IVelaProperty> getProperty(const VELString& name) const = 0;
};
