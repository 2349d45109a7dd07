// IOpenAssociatorInstancePathsOperation: opens an enumeration of the paths of the instances
// associated with an instance.
#pragma once

#include "vela/IPulledEnumOpenOperation.h"
#include "vela/IVelaAssociators.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaMultiResponseOperation.h"

class IOpenAssociatorInstancePathsOperation
    : public virtual IPulledEnumOpenOperation,
      public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaInstanceName>>,
      public virtual IVelaAssociators {
  public:
    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const = 0;
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& name) = 0;
};
