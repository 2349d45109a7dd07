// VelaEnumerateInstanceNamesOperationBase: holds the request fields and results of
// EnumerateInstanceNames; the handler fills the results, the adapter's operation class reads the
// request and writes the response.
#pragma once

#include "vela/IVelaEnumerateInstanceNamesOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaMultiResponseOperationBase.h"

class VelaEnumerateInstanceNamesOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>,
      public virtual IVelaEnumerateInstanceNamesOperation {
  public:
    explicit VelaEnumerateInstanceNamesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>(
              context, VELCIMStrings::ENUMERATEINSTANCENAMES) {}
};
