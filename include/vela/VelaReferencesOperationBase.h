// VelaReferencesOperationBase: holds the request fields and results of References; the handler
// fills the results, the adapter's operation class reads the request and writes the response.
#pragma once

#include "vela/IVelaReferencesOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaClassOriginatedMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"
#include "vela/VelaPropertyListMixin.h"
#include "vela/VelaReferencesMixin.h"

class VelaReferencesOperationBase : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaValue>>,
                                    public virtual IVelaReferencesOperation,
                                    public VelaPropertyListMixin,
                                    public VelaReferencesMixin,
                                    public VelaClassOriginatedMixin {
  public:
    explicit VelaReferencesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaValue>>(context,
                                                                VELCIMStrings::REFERENCES) {}

    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const override {
        return _objectName;
    }
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& value) override {
        _objectName = value;
    }

  private:
    VELSmrPtr<IVelaInstanceName> _objectName;
};
