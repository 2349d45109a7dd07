// IPullInstancesOperation: pulls the next instances of an open query enumeration.
#pragma once

#include "vela/IPullOperation.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaObject.h"

class IPullInstancesOperation : public virtual IPullOperation,
                                public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaObject>> {
};
