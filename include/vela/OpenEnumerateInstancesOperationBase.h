// OpenEnumerateInstancesOperationBase: holds the request fields and first batch of
// OpenEnumerateInstances.
#pragma once

#include "vela/IOpenEnumerateInstancesOperation.h"
#include "vela/PulledEnumOpenOperationBase.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaClassOriginatedMixin.h"
#include "vela/VelaDeeplyInheritedMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"
#include "vela/VelaPropertyListMixin.h"

class OpenEnumerateInstancesOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>,
      public virtual IOpenEnumerateInstancesOperation,
      public virtual PulledEnumOpenOperationBase,
      public VelaPropertyListMixin,
      public VelaDeeplyInheritedMixin,
      public VelaClassOriginatedMixin {
  public:
    explicit OpenEnumerateInstancesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>(
              context, VELCIMStrings::OPENENUMERATEINSTANCES) {
        setDeepInheritance(true);
    }
};
