// VelaEnumerateQualifiersOperationBase: holds the request fields and results of
// EnumerateQualifiers; the handler fills the results, the adapter's operation class reads the
// request and writes the response.
#pragma once

#include "vela/IVelaEnumerateQualifiersOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaOperationBase.h"

class VelaEnumerateQualifiersOperationBase : public VelaOperationBase,
                                             public virtual IVelaEnumerateQualifiersOperation {
  public:
    explicit VelaEnumerateQualifiersOperationBase(IVelaOperationHandlerContext* context)
        : VelaOperationBase(context, VELCIMStrings::ENUMERATEQUALIFIERS) {}

    virtual const VELSmrPtr<VELValSlist<VELSmrPtr<tarn::IQualifierDef>>>& getQualifierDefs()
        const override {
        return _qualifierDefs;
    }
    virtual void setQualifierDefs(
        const VELSmrPtr<VELValSlist<VELSmrPtr<tarn::IQualifierDef>>>& value) override {
        _qualifierDefs = value;
    }

  private:
    VELSmrPtr<VELValSlist<VELSmrPtr<tarn::IQualifierDef>>> _qualifierDefs;
};
