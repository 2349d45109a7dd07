// IVelaDeeplyInheritedOperation: mix-in interface of operations that carry the DeepInheritance
// parameter.
#pragma once

#include "vela/IVelaOperation.h"

class IVelaDeeplyInheritedOperation : public virtual IVelaOperation {
  public:
    virtual bool getDeepInheritance() const = 0;
    virtual void setDeepInheritance(bool value) = 0;
};
