// IVelaAssociatorNamesOperation: the interface of the operation AssociatorNames: the names of the
// objects associated with the source object, streamed.
#pragma once

#include "vela/IVelaAssociators.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/VELSmrPtr.h"

class IVelaAssociatorNamesOperation
    : public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaInstanceName>>,
      public virtual IVelaAssociators {
  public:
    // The source object.
    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const = 0;
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& value) = 0;
};
