// OpenReferenceInstancePathsOperationBase: holds the request fields and first batch of
// OpenReferenceInstancePaths.
#pragma once

#include "vela/IOpenReferenceInstancePathsOperation.h"
#include "vela/PulledEnumOpenOperationBase.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaMultiResponseOperationBase.h"
#include "vela/VelaReferencesMixin.h"

class OpenReferenceInstancePathsOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>,
      public virtual IOpenReferenceInstancePathsOperation,
      public virtual PulledEnumOpenOperationBase,
      public VelaReferencesMixin {
  public:
    explicit OpenReferenceInstancePathsOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>(
              context, VELCIMStrings::OPENREFERENCEINSTANCEPATHS) {}

    const VELSmrPtr<IVelaInstanceName>& getObjectName() const override { return _objectName; }
    void setObjectName(const VELSmrPtr<IVelaInstanceName>& name) override { _objectName = name; }

  private:
    VELSmrPtr<IVelaInstanceName> _objectName;
};
