// OpenAssociatorInstancesOperationBase: holds the request fields and first batch of
// OpenAssociatorInstances.
#pragma once

#include "vela/IOpenAssociatorInstancesOperation.h"
#include "vela/PulledEnumOpenOperationBase.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaAssociatorsMixin.h"
#include "vela/VelaClassOriginatedMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"
#include "vela/VelaPropertyListMixin.h"

class OpenAssociatorInstancesOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>,
      public virtual IOpenAssociatorInstancesOperation,
      public virtual PulledEnumOpenOperationBase,
      public VelaPropertyListMixin,
      public VelaAssociatorsMixin,
      public VelaClassOriginatedMixin {
  public:
    explicit OpenAssociatorInstancesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>(
              context, VELCIMStrings::OPENASSOCIATORINSTANCES) {}

    const VELSmrPtr<IVelaInstanceName>& getObjectName() const override { return _objectName; }
    void setObjectName(const VELSmrPtr<IVelaInstanceName>& name) override { _objectName = name; }

  private:
    VELSmrPtr<IVelaInstanceName> _objectName;
};
