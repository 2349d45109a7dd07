// IVelaAssociators: mix-in interface of operations that carry the filters of an associator
// traversal: AssocClass, ResultClass, Role and ResultRole (empty when not given).
#pragma once

#include "vela/IVelaOperation.h"
#include "vela/VELString.h"

class IVelaAssociators : public virtual IVelaOperation {
  public:
    virtual const VELString& getAssocClass() const = 0;
    virtual void setAssocClass(const VELString& value) = 0;
    virtual const VELString& getResultClass() const = 0;
    virtual void setResultClass(const VELString& value) = 0;
    virtual const VELString& getRole() const = 0;
    virtual void setRole(const VELString& value) = 0;
    virtual const VELString& getResultRole() const = 0;
    virtual void setResultRole(const VELString& value) = 0;
};
