// IVelaDeleteInstanceOperation: the interface of the operation DeleteInstance: deletes an instance.
#pragma once

#include "vela/IVelaInstanceName.h"
#include "vela/IVelaOperation.h"
#include "vela/VELSmrPtr.h"

class IVelaDeleteInstanceOperation : public virtual IVelaOperation {
  public:
    // The instance to delete.
    virtual const VELSmrPtr<IVelaInstanceName>& getInstanceName() const = 0;
    virtual void setInstanceName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
};
