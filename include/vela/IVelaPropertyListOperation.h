// IVelaPropertyListOperation: mix-in interface of operations that carry the PropertyList parameter:
// the names of the properties to return, or null for all.
#pragma once

#include "vela/IVelaOperation.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

class IVelaPropertyListOperation : public virtual IVelaOperation {
  public:
    virtual const VELSmrPtr<VELValSlist<VELString>>& getPropertyList() const = 0;
    virtual void setPropertyList(const VELSmrPtr<VELValSlist<VELString>>& value) = 0;
};
