// IVelaGetPropertyOperation: the interface of the operation GetProperty: the value of one property
// of an instance.
#pragma once

#include "vela/IVelaInstanceName.h"
#include "vela/IVelaOperation.h"
#include "vela/IVelaValue.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"

class IVelaGetPropertyOperation : public virtual IVelaOperation {
  public:
    // The instance.
    virtual const VELSmrPtr<IVelaInstanceName>& getInstanceName() const = 0;
    virtual void setInstanceName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
    // The property.
    virtual const VELString& getPropertyName() const = 0;
    virtual void setPropertyName(const VELString& value) = 0;
    // Its value, null when it has none.
    virtual const VELSmrPtr<IVelaValue>& getValue() const = 0;
    virtual void setValue(const VELSmrPtr<IVelaValue>& value) = 0;
};
