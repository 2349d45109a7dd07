// IVelaSetPropertyOperation: the interface of the operation SetProperty: sets one property of an
// instance.
#pragma once

#include "vela/IVelaInstanceName.h"
#include "vela/IVelaOperation.h"
#include "vela/IVelaValue.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"

class IVelaSetPropertyOperation : public virtual IVelaOperation {
  public:
    // The instance.
    virtual const VELSmrPtr<IVelaInstanceName>& getInstanceName() const = 0;
    virtual void setInstanceName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
    // The property.
    virtual const VELString& getPropertyName() const = 0;
    virtual void setPropertyName(const VELString& value) = 0;
    // The new value; null sets the property to null.
    virtual const VELSmrPtr<IVelaValue>& getNewValue() const = 0;
    virtual void setNewValue(const VELSmrPtr<IVelaValue>& value) = 0;
};
