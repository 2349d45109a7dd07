// OpenAssociatorInstancePathsOperationBase: holds the request fields and first batch of
// OpenAssociatorInstancePaths.
#pragma once

#include "vela/IOpenAssociatorInstancePathsOperation.h"
#include "vela/PulledEnumOpenOperationBase.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaAssociatorsMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"

class OpenAssociatorInstancePathsOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>,
      public virtual IOpenAssociatorInstancePathsOperation,
      public virtual PulledEnumOpenOperationBase,
      public VelaAssociatorsMixin {
  public:
    explicit OpenAssociatorInstancePathsOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>(
              context, VELCIMStrings::OPENASSOCIATORINSTANCEPATHS) {}

    const VELSmrPtr<IVelaInstanceName>& getObjectName() const override { return _objectName; }
    void setObjectName(const VELSmrPtr<IVelaInstanceName>& name) override { _objectName = name; }

  private:
    VELSmrPtr<IVelaInstanceName> _objectName;
};
