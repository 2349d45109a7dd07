// PullInstancesOperationBase: holds the request fields and batch of PullInstances.
#pragma once

#include "vela/IPullInstancesOperation.h"
#include "vela/PullOperationBase.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaMultiResponseOperationBase.h"

class PullInstancesOperationBase : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>,
                                   public virtual IPullInstancesOperation,
                                   public virtual PullOperationBase {
  public:
    explicit PullInstancesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>(context,
                                                                 VELCIMStrings::PULLINSTANCES) {}
};
