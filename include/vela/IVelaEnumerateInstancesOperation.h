// IVelaEnumerateInstancesOperation: the interface of the operation EnumerateInstances: the
// instances of the class and its subclasses, streamed.
#pragma once

#include "vela/IVelaClassOriginatedOperation.h"
#include "vela/IVelaDeeplyInheritedOperation.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaPropertyListOperation.h"
#include "vela/VELSmrPtr.h"

class IVelaEnumerateInstancesOperation
    : public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaObject>>,
      public virtual IVelaPropertyListOperation,
      public virtual IVelaDeeplyInheritedOperation,
      public virtual IVelaClassOriginatedOperation {
  public:
};
