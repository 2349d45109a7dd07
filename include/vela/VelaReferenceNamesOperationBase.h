// VelaReferenceNamesOperationBase: holds the request fields and results of ReferenceNames; the
// handler fills the results, the adapter's operation class reads the request and writes the
// response.
#pragma once

#include "vela/IVelaReferenceNamesOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaMultiResponseOperationBase.h"
#include "vela/VelaReferencesMixin.h"

class VelaReferenceNamesOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>,
      public virtual IVelaReferenceNamesOperation,
      public VelaReferencesMixin {
  public:
    explicit VelaReferenceNamesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaInstanceName>>(
              context, VELCIMStrings::REFERENCENAMES) {}

    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const override {
        return _objectName;
    }
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& value) override {
        _objectName = value;
    }

  private:
    VELSmrPtr<IVelaInstanceName> _objectName;
};
