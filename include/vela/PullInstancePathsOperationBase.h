// PullInstancePathsOperationBase: holds the request fields and batch of PullInstancePaths.
#pragma once

#include "vela/IPullInstancePathsOperation.h"
#include "vela/PullOperationBase.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaMultiResponseOperationBase.h"

class PullInstancePathsOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>,
      public virtual IPullInstancePathsOperation,
      public virtual PullOperationBase {
  public:
    explicit PullInstancePathsOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>(
              context, VELCIMStrings::PULLINSTANCEPATHS) {}
};
