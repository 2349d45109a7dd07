// IVelaReferences: mix-in interface of operations that carry the filters of a reference traversal:
// ResultClass and Role (empty when not given).
#pragma once

#include "vela/IVelaOperation.h"
#include "vela/VELString.h"

class IVelaReferences : public virtual IVelaOperation {
  public:
    virtual const VELString& getResultClass() const = 0;
    virtual void setResultClass(const VELString& value) = 0;
    virtual const VELString& getRole() const = 0;
    virtual void setRole(const VELString& value) = 0;
};
