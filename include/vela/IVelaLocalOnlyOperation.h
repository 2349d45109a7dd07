// IVelaLocalOnlyOperation: mix-in interface of operations that carry the LocalOnly parameter.
#pragma once

#include "vela/IVelaOperation.h"

class IVelaLocalOnlyOperation : public virtual IVelaOperation {
  public:
    virtual bool getLocalOnly() const = 0;
    virtual void setLocalOnly(bool value) = 0;
};
