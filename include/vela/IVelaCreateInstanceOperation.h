// IVelaCreateInstanceOperation: the interface of the operation CreateInstance: creates an instance
// and returns its name.
#pragma once

#include "vela/IVelaInstanceName.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaOperation.h"
#include "vela/VELSmrPtr.h"

class IVelaCreateInstanceOperation : public virtual IVelaOperation {
  public:
    // The new instance.
    virtual const VELSmrPtr<IVelaObject>& getInstance() const = 0;
    virtual void setInstance(const VELSmrPtr<IVelaObject>& value) = 0;
    // The name of the created instance.
    virtual const VELSmrPtr<IVelaInstanceName>& getInstanceName() const = 0;
    virtual void setInstanceName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
};
