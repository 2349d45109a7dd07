// IVelaModifyInstanceOperation: the interface of the operation ModifyInstance: changes the
// properties of an instance (those of the property list, or all when it is null).
#pragma once

#include "vela/IVelaInstanceName.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaOperation.h"
#include "vela/IVelaPropertyListOperation.h"
#include "vela/VELSmrPtr.h"

class IVelaModifyInstanceOperation : public virtual IVelaOperation,
                                     public virtual IVelaPropertyListOperation {
  public:
    // The new property values.
    virtual const VELSmrPtr<IVelaObject>& getInstance() const = 0;
    virtual void setInstance(const VELSmrPtr<IVelaObject>& value) = 0;
    // The instance to modify.
    virtual const VELSmrPtr<IVelaInstanceName>& getInstanceName() const = 0;
    virtual void setInstanceName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
};
