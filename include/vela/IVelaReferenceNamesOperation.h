// IVelaReferenceNamesOperation: the interface of the operation ReferenceNames: the names of the
// association objects that refer to the target object, streamed.
#pragma once

#include "vela/IVelaInstanceName.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaReferences.h"
#include "vela/VELSmrPtr.h"

class IVelaReferenceNamesOperation
    : public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaInstanceName>>,
      public virtual IVelaReferences {
  public:
    // The target object.
    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const = 0;
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
};
