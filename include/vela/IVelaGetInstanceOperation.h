// IVelaGetInstanceOperation: the interface of the operation GetInstance: one instance by name.
#pragma once

#include "vela/IVelaClassOriginatedOperation.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaOperation.h"
#include "vela/IVelaPropertyListOperation.h"
#include "vela/VELSmrPtr.h"

class IVelaGetInstanceOperation : public virtual IVelaOperation,
                                  public virtual IVelaPropertyListOperation,
                                  public virtual IVelaClassOriginatedOperation {
  public:
    // The requested instance.
    virtual const VELSmrPtr<IVelaInstanceName>& getName() const = 0;
    virtual void setName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
    // The instance found.
    virtual const VELSmrPtr<IVelaObject>& getInstance() const = 0;
    virtual void setInstance(const VELSmrPtr<IVelaObject>& value) = 0;
};
