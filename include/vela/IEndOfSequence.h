// IEndOfSequence: whether a pulled enumeration is exhausted.
#pragma once

#include "vela/IVelaOperation.h"

class IEndOfSequence : public virtual IVelaOperation {
  public:
    virtual bool getEndOfSequence() const = 0;
    virtual void setEndOfSequence(bool end) = 0;
};
