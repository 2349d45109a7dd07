// IVelaAssociatorsOperation: the interface of the operation Associators: the objects associated
// with the source object, streamed as values holding instances or classes.
#pragma once

#include "vela/IVelaAssociators.h"
#include "vela/IVelaClassOriginatedOperation.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaPropertyListOperation.h"
#include "vela/IVelaValue.h"
#include "vela/VELSmrPtr.h"

class IVelaAssociatorsOperation : public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaValue>>,
                                  public virtual IVelaPropertyListOperation,
                                  public virtual IVelaAssociators,
                                  public virtual IVelaClassOriginatedOperation {
  public:
    // The source object (an instance, or a class when it names one).
    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const = 0;
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
};
