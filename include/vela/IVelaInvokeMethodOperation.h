// IVelaInvokeMethodOperation: the interface of the operation InvokeMethod: an extrinsic method
// call.
#pragma once

#include "vela/IVelaActualParameter.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaOperation.h"
#include "vela/IVelaValue.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

class IVelaInvokeMethodOperation : public virtual IVelaOperation {
  public:
    // The target: an instance, or a class for a static method.
    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const = 0;
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
    // The method.
    virtual const VELString& getMethodName() const = 0;
    virtual void setMethodName(const VELString& value) = 0;
    // The input parameters in request order.
    virtual const VELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>>& getInParameters()
        const = 0;
    virtual void setInParameters(
        const VELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>>& value) = 0;
    // The return value.
    virtual const VELSmrPtr<IVelaValue>& getReturnValue() const = 0;
    virtual void setReturnValue(const VELSmrPtr<IVelaValue>& value) = 0;
    // The output parameters.
    virtual const VELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>>& getOutParameters()
        const = 0;
    virtual void setOutParameters(
        const VELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>>& value) = 0;
};
