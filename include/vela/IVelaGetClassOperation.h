// IVelaGetClassOperation: the interface of the operation GetClass: the class named by the
// operation's class name.
#pragma once

#include "vela/IVelaClass.h"
#include "vela/IVelaClassOriginatedOperation.h"
#include "vela/IVelaIncludeQualifiersOperation.h"
#include "vela/IVelaLocalOnlyOperation.h"
#include "vela/IVelaOperation.h"
#include "vela/IVelaPropertyListOperation.h"
#include "vela/VELSmrPtr.h"

class IVelaGetClassOperation : public virtual IVelaOperation,
                               public virtual IVelaLocalOnlyOperation,
                               public virtual IVelaIncludeQualifiersOperation,
                               public virtual IVelaClassOriginatedOperation,
                               public virtual IVelaPropertyListOperation {
  public:
    // The class found.
    virtual const VELSmrPtr<IVelaClass>& getClass() const = 0;
    virtual void setClass(const VELSmrPtr<IVelaClass>& value) = 0;
};
