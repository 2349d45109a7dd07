// IVelaClassOriginatedOperation: mix-in interface of operations that carry the IncludeClassOrigin
// parameter.
#pragma once

#include "vela/IVelaOperation.h"

class IVelaClassOriginatedOperation : public virtual IVelaOperation {
  public:
    virtual bool getClassOrigin() const = 0;
    virtual void setClassOrigin(bool value) = 0;
};
