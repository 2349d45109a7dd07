// IVelaEnumerateInstanceNamesOperation: the interface of the operation EnumerateInstanceNames: the
// names of the instances of the class and its subclasses, streamed.
#pragma once

#include "vela/IVelaInstanceName.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/VELSmrPtr.h"

class IVelaEnumerateInstanceNamesOperation
    : public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaInstanceName>> {
  public:
};
