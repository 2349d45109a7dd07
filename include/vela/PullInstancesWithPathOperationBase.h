// PullInstancesWithPathOperationBase: holds the request fields and batch of
// PullInstancesWithPath. The object manager also fills in, from the open
// enumeration, its class, DeepInheritance, IncludeClassOrigin and
// PropertyList, so that every batch is written as the first one was.
#pragma once

#include "vela/IPullInstancesWithPathOperation.h"
#include "vela/PullOperationBase.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaClassOriginatedMixin.h"
#include "vela/VelaDeeplyInheritedMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"
#include "vela/VelaPropertyListMixin.h"

class PullInstancesWithPathOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>,
      public virtual IPullInstancesWithPathOperation,
      public virtual PullOperationBase,
      public VelaPropertyListMixin,
      public VelaDeeplyInheritedMixin,
      public VelaClassOriginatedMixin {
  public:
    explicit PullInstancesWithPathOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>(
              context, VELCIMStrings::PULLINSTANCESWITHPATH) {}

    void setOpenedClassName(const VELString& className) override { setClassName(className); }
};
