// IVelaGetQualifierOperation: the interface of the operation GetQualifier: one qualifier
// declaration of the namespace.
#pragma once

#include "tarn/IQualifierDef.h"
#include "vela/IVelaOperation.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"

class IVelaGetQualifierOperation : public virtual IVelaOperation {
  public:
    // The requested name.
    virtual const VELString& getQualifierName() const = 0;
    virtual void setQualifierName(const VELString& value) = 0;
    // The declaration found.
    virtual const VELSmrPtr<tarn::IQualifierDef>& getQualifierDef() const = 0;
    virtual void setQualifierDef(const VELSmrPtr<tarn::IQualifierDef>& value) = 0;
};
