// IEnumerationContext: the enumeration context of a pulled enumeration: the text a client presents
// to continue or close it.
#pragma once

#include "vela/IVelaOperation.h"

class IEnumerationContext : public virtual IVelaOperation {
  public:
    virtual const VELString& getEnumerationContext() const = 0;
    virtual void setEnumerationContext(const VELString& context) = 0;
};
