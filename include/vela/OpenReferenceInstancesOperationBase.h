// OpenReferenceInstancesOperationBase: holds the request fields and first batch of
// OpenReferenceInstances.
#pragma once

#include "vela/IOpenReferenceInstancesOperation.h"
#include "vela/PulledEnumOpenOperationBase.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaClassOriginatedMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"
#include "vela/VelaPropertyListMixin.h"
#include "vela/VelaReferencesMixin.h"

class OpenReferenceInstancesOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>,
      public virtual IOpenReferenceInstancesOperation,
      public virtual PulledEnumOpenOperationBase,
      public VelaPropertyListMixin,
      public VelaReferencesMixin,
      public VelaClassOriginatedMixin {
  public:
    explicit OpenReferenceInstancesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>(
              context, VELCIMStrings::OPENREFERENCEINSTANCES) {}

    const VELSmrPtr<IVelaInstanceName>& getObjectName() const override { return _objectName; }
    void setObjectName(const VELSmrPtr<IVelaInstanceName>& name) override { _objectName = name; }

  private:
    VELSmrPtr<IVelaInstanceName> _objectName;
};
