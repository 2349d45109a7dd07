// IVelaEnumerateClassesOperation: the interface of the operation EnumerateClasses: the subclasses
// of the class name (all classes when it is empty), streamed.
#pragma once

#include "vela/IVelaClass.h"
#include "vela/IVelaClassOriginatedOperation.h"
#include "vela/IVelaDeeplyInheritedOperation.h"
#include "vela/IVelaIncludeQualifiersOperation.h"
#include "vela/IVelaLocalOnlyOperation.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/VELSmrPtr.h"

class IVelaEnumerateClassesOperation
    : public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaClass>>,
      public virtual IVelaLocalOnlyOperation,
      public virtual IVelaDeeplyInheritedOperation,
      public virtual IVelaClassOriginatedOperation,
      public virtual IVelaIncludeQualifiersOperation {
  public:
};
