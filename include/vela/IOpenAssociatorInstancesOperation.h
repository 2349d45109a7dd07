// IOpenAssociatorInstancesOperation: opens an enumeration of the instances associated with an
// instance.
#pragma once

#include "vela/IPulledEnumOpenOperation.h"
#include "vela/IVelaAssociators.h"
#include "vela/IVelaClassOriginatedOperation.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaPropertyListOperation.h"

class IOpenAssociatorInstancesOperation
    : public virtual IPulledEnumOpenOperation,
      public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaObject>>,
      public virtual IVelaAssociators,
      public virtual IVelaPropertyListOperation,
      public virtual IVelaClassOriginatedOperation {
  public:
    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const = 0;
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& name) = 0;
};
