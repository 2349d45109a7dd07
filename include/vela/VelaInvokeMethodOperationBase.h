// VelaInvokeMethodOperationBase: holds the request fields and results of InvokeMethod; the handler
// fills the results, the adapter's operation class reads the request and writes the response.
#pragma once

#include "vela/IVelaInvokeMethodOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaOperationBase.h"

class VelaInvokeMethodOperationBase : public VelaOperationBase,
                                      public virtual IVelaInvokeMethodOperation {
  public:
    // The operation name is the name of the method called.
    explicit VelaInvokeMethodOperationBase(IVelaOperationHandlerContext* context)
        : VelaOperationBase(context, VELString()) {}

    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const override {
        return _objectName;
    }
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& value) override {
        _objectName = value;
    }
    virtual const VELString& getMethodName() const override { return _methodName; }
    virtual void setMethodName(const VELString& value) override {
        _methodName = value;
        setOperationName(value);
    }
    virtual const VELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>>& getInParameters()
        const override {
        return _inParameters;
    }
    virtual void setInParameters(
        const VELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>>& value) override {
        _inParameters = value;
    }
    virtual const VELSmrPtr<IVelaValue>& getReturnValue() const override { return _returnValue; }
    virtual void setReturnValue(const VELSmrPtr<IVelaValue>& value) override {
        _returnValue = value;
    }
    virtual const VELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>>& getOutParameters()
        const override {
        return _outParameters;
    }
    virtual void setOutParameters(
        const VELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>>& value) override {
        _outParameters = value;
    }

  private:
    VELSmrPtr<IVelaInstanceName> _objectName;
    VELString _methodName;
    VELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>> _inParameters;
    VELSmrPtr<IVelaValue> _returnValue;
    VELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>> _outParameters;
};
