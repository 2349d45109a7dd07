// VelaAssociatorsOperationBase: holds the request fields and results of Associators; the handler
// fills the results, the adapter's operation class reads the request and writes the response.
#pragma once

#include "vela/IVelaAssociatorsOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaAssociatorsMixin.h"
#include "vela/VelaClassOriginatedMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"
#include "vela/VelaPropertyListMixin.h"

class VelaAssociatorsOperationBase : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaValue>>,
                                     public virtual IVelaAssociatorsOperation,
                                     public VelaPropertyListMixin,
                                     public VelaAssociatorsMixin,
                                     public VelaClassOriginatedMixin {
  public:
    explicit VelaAssociatorsOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaValue>>(context,
                                                                VELCIMStrings::ASSOCIATORS) {}

    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const override {
        return _objectName;
    }
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& value) override {
        _objectName = value;
    }

  private:
    VELSmrPtr<IVelaInstanceName> _objectName;
};
