// VelaCreateInstanceOperationBase: holds the request fields and results of CreateInstance; the
// handler fills the results, the adapter's operation class reads the request and writes the
// response.
#pragma once

#include "vela/IVelaCreateInstanceOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaOperationBase.h"

class VelaCreateInstanceOperationBase : public VelaOperationBase,
                                        public virtual IVelaCreateInstanceOperation {
  public:
    explicit VelaCreateInstanceOperationBase(IVelaOperationHandlerContext* context)
        : VelaOperationBase(context, VELCIMStrings::CREATEINSTANCE) {}

    virtual const VELSmrPtr<IVelaObject>& getInstance() const override { return _instance; }
    virtual void setInstance(const VELSmrPtr<IVelaObject>& value) override { _instance = value; }
    virtual const VELSmrPtr<IVelaInstanceName>& getInstanceName() const override {
        return _instanceName;
    }
    virtual void setInstanceName(const VELSmrPtr<IVelaInstanceName>& value) override {
        _instanceName = value;
    }

  private:
    VELSmrPtr<IVelaObject> _instance;
    VELSmrPtr<IVelaInstanceName> _instanceName;
};
