// VelaEnumerateInstancesOperationBase: holds the request fields and results of EnumerateInstances;
// the handler fills the results, the adapter's operation class reads the request and writes the
// response.
#pragma once

#include "vela/IVelaEnumerateInstancesOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaClassOriginatedMixin.h"
#include "vela/VelaDeeplyInheritedMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"
#include "vela/VelaPropertyListMixin.h"

class VelaEnumerateInstancesOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>,
      public virtual IVelaEnumerateInstancesOperation,
      public VelaPropertyListMixin,
      public VelaDeeplyInheritedMixin,
      public VelaClassOriginatedMixin {
  public:
    explicit VelaEnumerateInstancesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>(
              context, VELCIMStrings::ENUMERATEINSTANCES) {}
};
