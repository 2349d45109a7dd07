// IPullInstancePathsOperation: pulls the next instance paths of an open enumeration.
#pragma once

#include "vela/IPullOperation.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaMultiResponseOperation.h"

class IPullInstancePathsOperation
    : public virtual IPullOperation,
      public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaInstanceName>> {};
