// OpenEnumerateInstancePathsOperationBase: holds the request fields and first batch of
// OpenEnumerateInstancePaths.
#pragma once

#include "vela/IOpenEnumerateInstancePathsOperation.h"
#include "vela/PulledEnumOpenOperationBase.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaMultiResponseOperationBase.h"

class OpenEnumerateInstancePathsOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>,
      public virtual IOpenEnumerateInstancePathsOperation,
      public virtual PulledEnumOpenOperationBase {
  public:
    explicit OpenEnumerateInstancePathsOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>(
              context, VELCIMStrings::OPENENUMERATEINSTANCEPATHS) {}
};
