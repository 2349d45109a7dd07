// VelaDeleteInstanceOperationBase: holds the request fields and results of DeleteInstance; the
// handler fills the results, the adapter's operation class reads the request and writes the
// response.
#pragma once

#include "vela/IVelaDeleteInstanceOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaOperationBase.h"

class VelaDeleteInstanceOperationBase : public VelaOperationBase,
                                        public virtual IVelaDeleteInstanceOperation {
  public:
    explicit VelaDeleteInstanceOperationBase(IVelaOperationHandlerContext* context)
        : VelaOperationBase(context, VELCIMStrings::DELETEINSTANCE) {}

    virtual const VELSmrPtr<IVelaInstanceName>& getInstanceName() const override {
        return _instanceName;
    }
    virtual void setInstanceName(const VELSmrPtr<IVelaInstanceName>& value) override {
        _instanceName = value;
    }

  private:
    VELSmrPtr<IVelaInstanceName> _instanceName;
};
