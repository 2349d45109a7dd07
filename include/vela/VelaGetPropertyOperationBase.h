// VelaGetPropertyOperationBase: holds the request fields and results of GetProperty; the handler
// fills the results, the adapter's operation class reads the request and writes the response.
#pragma once

#include "vela/IVelaGetPropertyOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaOperationBase.h"

class VelaGetPropertyOperationBase : public VelaOperationBase,
                                     public virtual IVelaGetPropertyOperation {
  public:
    explicit VelaGetPropertyOperationBase(IVelaOperationHandlerContext* context)
        : VelaOperationBase(context, VELCIMStrings::GETPROPERTY) {}

    virtual const VELSmrPtr<IVelaInstanceName>& getInstanceName() const override {
        return _instanceName;
    }
    virtual void setInstanceName(const VELSmrPtr<IVelaInstanceName>& value) override {
        _instanceName = value;
    }
    virtual const VELString& getPropertyName() const override { return _propertyName; }
    virtual void setPropertyName(const VELString& value) override { _propertyName = value; }
    virtual const VELSmrPtr<IVelaValue>& getValue() const override { return _value; }
    virtual void setValue(const VELSmrPtr<IVelaValue>& value) override { _value = value; }

  private:
    VELSmrPtr<IVelaInstanceName> _instanceName;
    VELString _propertyName;
    VELSmrPtr<IVelaValue> _value;
};
