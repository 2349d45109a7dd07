// IOpenReferenceInstancesOperation: opens an enumeration of the association instances that
// refer to an instance.
#pragma once

#include "vela/IPulledEnumOpenOperation.h"
#include "vela/IVelaClassOriginatedOperation.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaPropertyListOperation.h"
#include "vela/IVelaReferences.h"

class IOpenReferenceInstancesOperation
    : public virtual IPulledEnumOpenOperation,
      public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaObject>>,
      public virtual IVelaReferences,
      public virtual IVelaPropertyListOperation,
      public virtual IVelaClassOriginatedOperation {
  public:
    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const = 0;
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& name) = 0;
};
