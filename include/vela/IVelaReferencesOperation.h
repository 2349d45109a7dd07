// IVelaReferencesOperation: the interface of the operation References: the association objects that
// refer to the target object, streamed as values holding instances or classes.
#pragma once

#include "vela/IVelaClassOriginatedOperation.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaPropertyListOperation.h"
#include "vela/IVelaReferences.h"
#include "vela/IVelaValue.h"
#include "vela/VELSmrPtr.h"

class IVelaReferencesOperation : public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaValue>>,
                                 public virtual IVelaPropertyListOperation,
                                 public virtual IVelaReferences,
                                 public virtual IVelaClassOriginatedOperation {
  public:
    // The target object.
    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const = 0;
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
};
