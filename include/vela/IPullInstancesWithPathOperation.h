// IPullInstancesWithPathOperation: pulls the next instances, with their paths, of an open
// enumeration.
#pragma once

#include "vela/IPullOperation.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaObject.h"

class IPullInstancesWithPathOperation
    : public virtual IPullOperation,
      public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaObject>> {};
