// IPullInstancesWithPathOperation: pulls the next instances, with their paths, of an open
// enumeration. The object manager hands over what the open asked for (the
// class, DeepInheritance, IncludeClassOrigin, PropertyList), so that each
// batch is written as the first one was.
#pragma once

#include "vela/IPullOperation.h"
#include "vela/IVelaClassOriginatedOperation.h"
#include "vela/IVelaDeeplyInheritedOperation.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaPropertyListOperation.h"

class IPullInstancesWithPathOperation
    : public virtual IPullOperation,
      public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaObject>>,
      public virtual IVelaPropertyListOperation,
      public virtual IVelaDeeplyInheritedOperation,
      public virtual IVelaClassOriginatedOperation {
  public:
    // The class the enumeration was opened on (empty for associations and references).
    virtual void setOpenedClassName(const VELString& className) = 0;
};
