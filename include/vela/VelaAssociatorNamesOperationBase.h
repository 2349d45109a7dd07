// VelaAssociatorNamesOperationBase: holds the request fields and results of AssociatorNames; the
// handler fills the results, the adapter's operation class reads the request and writes the
// response.
#pragma once

#include "vela/IVelaAssociatorNamesOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaAssociatorsMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"

class VelaAssociatorNamesOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>,
      public virtual IVelaAssociatorNamesOperation,
      public VelaAssociatorsMixin {
  public:
    explicit VelaAssociatorNamesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>(
              context, VELCIMStrings::ASSOCIATORNAMES) {}

    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const override {
        return _objectName;
    }
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& value) override {
        _objectName = value;
    }

  private:
    VELSmrPtr<IVelaInstanceName> _objectName;
};
