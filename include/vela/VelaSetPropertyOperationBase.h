// VelaSetPropertyOperationBase: holds the request fields and results of SetProperty; the handler
// fills the results, the adapter's operation class reads the request and writes the response.
#pragma once

#include "vela/IVelaSetPropertyOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaOperationBase.h"

class VelaSetPropertyOperationBase : public VelaOperationBase,
                                     public virtual IVelaSetPropertyOperation {
  public:
    explicit VelaSetPropertyOperationBase(IVelaOperationHandlerContext* context)
        : VelaOperationBase(context, VELCIMStrings::SETPROPERTY) {}

    virtual const VELSmrPtr<IVelaInstanceName>& getInstanceName() const override {
        return _instanceName;
    }
    virtual void setInstanceName(const VELSmrPtr<IVelaInstanceName>& value) override {
        _instanceName = value;
    }
    virtual const VELString& getPropertyName() const override { return _propertyName; }
    virtual void setPropertyName(const VELString& value) override { _propertyName = value; }
    virtual const VELSmrPtr<IVelaValue>& getNewValue() const override { return _newValue; }
    virtual void setNewValue(const VELSmrPtr<IVelaValue>& value) override { _newValue = value; }

  private:
    VELSmrPtr<IVelaInstanceName> _instanceName;
    VELString _propertyName;
    VELSmrPtr<IVelaValue> _newValue;
};
