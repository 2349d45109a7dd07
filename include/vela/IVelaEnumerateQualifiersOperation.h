// IVelaEnumerateQualifiersOperation: the interface of the operation EnumerateQualifiers: the
// qualifier declarations of the namespace, as one list.
#pragma once

#include "tarn/IQualifierDef.h"
#include "vela/IVelaOperation.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELValSlist.h"

class IVelaEnumerateQualifiersOperation : public virtual IVelaOperation {
  public:
    // All declarations of the namespace.
    virtual const VELSmrPtr<VELValSlist<VELSmrPtr<tarn::IQualifierDef>>>& getQualifierDefs()
        const = 0;
    virtual void setQualifierDefs(
        const VELSmrPtr<VELValSlist<VELSmrPtr<tarn::IQualifierDef>>>& value) = 0;
};
