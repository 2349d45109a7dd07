// IVelaIncludeQualifiersOperation: mix-in interface of operations that carry the IncludeQualifiers
// parameter.
#pragma once

#include "vela/IVelaOperation.h"

class IVelaIncludeQualifiersOperation : public virtual IVelaOperation {
  public:
    virtual bool getIncludeQualifiers() const = 0;
    virtual void setIncludeQualifiers(bool value) = 0;
};
