// IOpenReferenceInstancePathsOperation: opens an enumeration of the paths of the association
// instances that refer to an instance.
#pragma once

#include "vela/IPulledEnumOpenOperation.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaReferences.h"

class IOpenReferenceInstancePathsOperation
    : public virtual IPulledEnumOpenOperation,
      public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaInstanceName>>,
      public virtual IVelaReferences {
  public:
    virtual const VELSmrPtr<IVelaInstanceName>& getObjectName() const = 0;
    virtual void setObjectName(const VELSmrPtr<IVelaInstanceName>& name) = 0;
};
