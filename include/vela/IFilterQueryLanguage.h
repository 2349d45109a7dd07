// IFilterQueryLanguage: the language of a pulled enumeration's filter.
#pragma once

#include "vela/IVelaOperation.h"

class IFilterQueryLanguage : public virtual IVelaOperation {
  public:
    virtual const VELString& getFilterQueryLanguage() const = 0;
    virtual void setFilterQueryLanguage(const VELString& language) = 0;
};
