// VelaGetQualifierOperationBase: holds the request fields and results of GetQualifier; the handler
// fills the results, the adapter's operation class reads the request and writes the response.
#pragma once

#include "vela/IVelaGetQualifierOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaOperationBase.h"

class VelaGetQualifierOperationBase : public VelaOperationBase,
                                      public virtual IVelaGetQualifierOperation {
  public:
    explicit VelaGetQualifierOperationBase(IVelaOperationHandlerContext* context)
        : VelaOperationBase(context, VELCIMStrings::GETQUALIFIER) {}

    virtual const VELString& getQualifierName() const override { return _qualifierName; }
    virtual void setQualifierName(const VELString& value) override { _qualifierName = value; }
    virtual const VELSmrPtr<tarn::IQualifierDef>& getQualifierDef() const override {
        return _qualifierDef;
    }
    virtual void setQualifierDef(const VELSmrPtr<tarn::IQualifierDef>& value) override {
        _qualifierDef = value;
    }

  private:
    VELString _qualifierName;
    VELSmrPtr<tarn::IQualifierDef> _qualifierDef;
};
