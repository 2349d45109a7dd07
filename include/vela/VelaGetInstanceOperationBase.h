// VelaGetInstanceOperationBase: holds the request fields and results of GetInstance; the handler
// fills the results, the adapter's operation class reads the request and writes the response.
#pragma once

#include "vela/IVelaGetInstanceOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaClassOriginatedMixin.h"
#include "vela/VelaOperationBase.h"
#include "vela/VelaPropertyListMixin.h"

class VelaGetInstanceOperationBase : public VelaOperationBase,
                                     public virtual IVelaGetInstanceOperation,
                                     public VelaPropertyListMixin,
                                     public VelaClassOriginatedMixin {
  public:
    explicit VelaGetInstanceOperationBase(IVelaOperationHandlerContext* context)
        : VelaOperationBase(context, VELCIMStrings::GETINSTANCE) {}

    virtual const VELSmrPtr<IVelaInstanceName>& getName() const override { return _name; }
    virtual void setName(const VELSmrPtr<IVelaInstanceName>& value) override { _name = value; }
    virtual const VELSmrPtr<IVelaObject>& getInstance() const override { return _instance; }
    virtual void setInstance(const VELSmrPtr<IVelaObject>& value) override { _instance = value; }

  private:
    VELSmrPtr<IVelaInstanceName> _name;
    VELSmrPtr<IVelaObject> _instance;
};
